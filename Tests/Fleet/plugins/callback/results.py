"""Writes what became of each task on each host to the file RESULTS, as one JSON object in a line."""
import json
import os

from ansible.plugins.callback import CallbackBase

DOCUMENTATION = """
    name: results
    type: stdout
    short_description: results as JSON
    description: results as JSON
"""


class CallbackModule(CallbackBase):
    CALLBACK_VERSION = 2.0
    CALLBACK_TYPE = "stdout"
    CALLBACK_NAME = "results"

    def note(self, result, outcome):
        text = {key: result._result.get(key) for key in ("msg", "stdout", "rc", "changed")}
        with open(os.environ["RESULTS"], "a", encoding="utf-8") as file:
            file.write(json.dumps({"host": result._host.name, "task": result.task_name, "outcome": outcome, **text}) + "\n")

    def v2_runner_on_ok(self, result):
        self.note(result, "ok")

    def v2_runner_on_failed(self, result, ignore_errors=False):
        self.note(result, "failed")

    def v2_runner_on_skipped(self, result):
        self.note(result, "skipped")

    def v2_runner_on_unreachable(self, result):
        self.note(result, "unreachable")

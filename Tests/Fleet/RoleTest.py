"""The Ansible role of the examples, against six private roots that play the hosts of a fleet.

    RoleTest.py BUILD

Without ansible-playbook (Debian: ansible-core) or a private root the exit status is 77.
"""
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True  # the sources stay as they are
import Fleet

BUILD = pathlib.Path()
HERE = pathlib.Path(__file__).resolve().parent
ANSIBLE = Fleet.EXAMPLES / "fleet/ansible"
OLD = "5.1.0.120300"
NEW = Fleet.build_of("Ink")
PREMIERE = "/Applications/Adobe Premiere Pro"
LIBRARY = Fleet.STATUS_FOLDER + "/Runtime/VLRender.dylib"
PAPER = "/Users/Shared/Vorlane/Content/Paper/Smooth Paper.txt"
UNINSTALLER = Fleet.UNINSTALLERS + "/Uninstall Ink.app"
SUITE = {"EMBERINK": "5.0.120101"}
WITH_SUITE = ["studio", "damaged"]
APPLIES = ["studio", "bare", "killed"]  # to which nothing stands in the way at first


class Play:
    """What became of the hosts in a run of ansible-playbook."""

    def __init__(self, results):
        self.results = [json.loads(line) for line in results.read_text(encoding="utf-8").splitlines()]
        self.changed = {r["host"] for r in self.results if r["outcome"] == "ok" and r["changed"]}
        self.failed = {r["host"]: r for r in self.results if r["outcome"] in ("failed", "unreachable")}

    def number_of_changes(self, host):
        return sum(1 for r in self.results if r["host"] == host and r["outcome"] == "ok" and r["changed"])

    def message_of(self, host, task):
        return [str(r["msg"]) for r in self.results if r["host"] == host and r["task"].endswith(task)][-1]


class Role(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="fleet"))
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        cls.fleet = Fleet.Fleet(cls.folder, BUILD)
        suite, _ = cls.fleet.package("EmberAndInk")
        _, cls.old = cls.fleet.package("Ink", OLD, cls.make_older)
        _, cls.new = cls.fleet.package("Ink")
        hosts = [PREMIERE, "/Library/OFX/Plugins", "/Users/Shared"]
        cls.studio = cls.fleet.add("studio", *hosts)
        cls.bare = cls.fleet.add("bare")
        cls.busy = cls.fleet.add("busy", *hosts)
        cls.damaged = cls.fleet.add("damaged", *hosts)
        cls.killed = cls.fleet.add("killed", *hosts)
        cls.blocked = cls.fleet.add("blocked")
        for host in (cls.studio, cls.damaged):
            cls.fleet.install(host, suite)
        cls.write_inventory()

    @staticmethod
    def make_older(files):
        (files / "Content/Paper/Smooth Paper.txt").write_text("An older paper.\n", encoding="utf-8")

    @classmethod
    def write_inventory(cls):
        lines = ["macs:", "  vars:", "    ansible_connection: private_root", "    ansible_remote_tmp: /tmp",
                 f"    vorlane_home: {Fleet.HOME}", "  hosts:"]
        for name, host in cls.fleet.hosts.items():
            lines += [f"    {name}: {json.dumps({'private_root': str(host.root), 'words_to_enter': host.words})}"]
        (cls.folder / "inventory.yml").write_text("\n".join(lines) + "\n", encoding="utf-8")

    def play(self, *arguments, playbook="site.yml", **variables):
        results = self.folder / "results"
        results.write_text("", encoding="utf-8")
        environment = {
            **os.environ, "ANSIBLE_CONNECTION_PLUGINS": str(HERE / "plugins/connection"), "ANSIBLE_STDOUT_CALLBACK": "results",
            "ANSIBLE_CALLBACK_PLUGINS": str(HERE / "plugins/callback"), "ANSIBLE_FORKS": "6", "ANSIBLE_LOCALHOST_WARNING": "0",
            "ANSIBLE_LOCAL_TEMP": str(self.folder / "ansible"), "ANSIBLE_RETRY_FILES_ENABLED": "0",
            "PYTHONDONTWRITEBYTECODE": "1", "HOME": str(self.folder), "RESULTS": str(results)}
        given = {"vorlane_inspector": str(BUILD / "bin/InstallInspector"), **variables}
        done = subprocess.run(["ansible-playbook", "-i", self.folder / "inventory.yml", ANSIBLE / playbook, "-e",
                               json.dumps(given), *arguments],
                              capture_output=True, text=True, check=False, env=environment, stdin=subprocess.DEVNULL)
        play = Play(results)
        self.assertIn(done.returncode, (0, 2), done.stdout + done.stderr)
        self.assertEqual(done.returncode == 2, bool(play.failed), done.stdout + done.stderr)
        for name, host in self.fleet.hosts.items():
            self.assertEqual(host.left_in_tmp(), [], name)
        return play

    def present(self, package, build, *arguments, **variables):
        return self.play(*arguments, vorlane_package=str(package), vorlane_build=build, **variables)

    def files(self):
        return {name: host.files() for name, host in self.fleet.hosts.items()}

    def test_the_life_of_a_product_in_a_fleet(self):
        self.hinder()
        self.check_mode_tells_and_changes_nothing()
        self.install_where_nothing_stands_in_the_way()
        self.the_next_run_repairs_and_leaves_the_others_alone()
        self.upgrade()
        self.survey()
        self.uninstall()

    def hinder(self):
        for host in self.fleet.hosts.values():
            self.ps(host)
        self.ps(self.busy, f"{PREMIERE}/Adobe Premiere Pro.app/Contents/MacOS/Adobe Premiere Pro")
        self.damaged.write(Fleet.RECORD, "<install>")
        # As if it were switched off when the engine comes to this file: nothing of the command is left.
        self.replace_cp(self.killed, "*VLRender.dylib*", "kill -9 0")
        self.blocked.write(Fleet.STATUS_FOLDER + "/Runtime", "a file where a folder is to be")
        self.expected_at_first = {
            "busy": ("Leave hosts alone", "/Adobe Premiere Pro.app/Contents/MacOS/"),
            "damaged": ("Leave a damaged record to a person", "vorlane_rebuild"),
            "blocked": ("Go on only with a plan", "copy-fails")}

    @staticmethod
    def ps(host, line=""):
        host.write("/bin/ps", f"#!/bin/sh\n[ \"$*\" = '-axo args=' ] && echo '/sbin/launchd\n{line}'\n", 0o755)

    @staticmethod
    def replace_cp(host, what, command):
        """Lets the command run in place of each copy whose arguments match."""
        host.outside("/bin/cp").rename(host.outside("/bin/real-cp"))
        host.write("/bin/cp", f"#!/bin/sh\ncase \"$*\" in {what}) {command} ;; esac\nexec real-cp \"$@\"\n", 0o755)

    @staticmethod
    def bring_cp_back(host):
        host.outside("/bin/real-cp").rename(host.outside("/bin/cp"))

    def expect_failures(self, play, expected):
        self.assertEqual(sorted(play.failed), sorted(expected), play.failed)
        for host, (task, text) in expected.items():
            self.assertIn(task, play.failed[host]["task"])
            self.assertIn(text, f"{play.failed[host]['msg']} {play.failed[host]['stdout']}")

    def check_mode_tells_and_changes_nothing(self):
        before = self.files()
        play = self.present(self.old, OLD, "--check", "--diff")
        self.assertEqual(self.files(), before)
        self.assertEqual(play.changed, set(APPLIES))
        self.expect_failures(play, self.expected_at_first)
        told = play.message_of("studio", "a plan that succeeds without danger")
        self.assertRegex(told, r"^copy \d+ \[.*'" + PAPER)
        # The suite has this one, in an older build.
        self.assertRegex(told, r"replace \d+ \[.*'" + LIBRARY)

    def install_where_nothing_stands_in_the_way(self):
        before = self.files()
        play = self.present(self.old, OLD)
        self.assertEqual(play.changed, {"studio", "bare"})
        self.assertEqual([play.number_of_changes(host) for host in ("studio", "bare")], [1, 1])
        self.expect_failures(play, {**self.expected_at_first, "killed": ("Run the package's scripts", "")})
        after = self.files()
        for host in self.expected_at_first:
            self.assertEqual(after[host], before[host], host)
        self.assertFalse(self.killed.exists(LIBRARY) or self.killed.exists(UNINSTALLER))
        self.assertTrue(self.killed.exists("/Library/OFX/Plugins/Vorlane/Ink"))
        self.expect_ink(self.studio, OLD, premiere=True, others=SUITE)
        self.expect_ink(self.bare, OLD, premiere=False)

    def expect_ink(self, host, build, premiere, others=None):
        status = host.status()
        self.assertEqual({p["ID"]: p["build"] for p in status["products"]}, {**(others or {}), "INK": build})
        self.assertEqual([f for f in status["findings"] if f["severity"] == "error"], [])
        files = Fleet.EXAMPLES / "Ink/files"
        self.assertEqual(host.read(LIBRARY), (files / "VorlaneFX/Runtime/VLRender.dylib").read_bytes())
        self.assertEqual(host.read(PAPER), b"An older paper.\n" if build == OLD
                         else (files / "Content/Paper/Smooth Paper.txt").read_bytes())
        self.assertEqual(host.exists("/Library/Application Support/Adobe/Common/Plug-ins/Vorlane/Ink"), premiere)
        self.assertIn(f'build="{build}"'.encode(), host.read(UNINSTALLER + "/Contents/sku.xml"))

    def the_next_run_repairs_and_leaves_the_others_alone(self):
        self.ps(self.busy)
        self.bring_cp_back(self.killed)
        self.blocked.outside(Fleet.STATUS_FOLDER + "/Runtime").unlink()
        before = self.files()
        play = self.present(self.old, OLD, vorlane_rebuild=True)
        self.expect_failures(play, {})
        self.assertEqual(play.changed, {"busy", "damaged", "killed", "blocked"})
        after = self.files()
        for host in ("studio", "bare"):
            self.assertEqual(after[host], before[host], host)
        for host in (self.busy, self.killed):
            self.expect_ink(host, OLD, premiere=True)
        self.expect_ink(self.blocked, OLD, premiere=False)
        # The record has the suite again, and the damaged one is kept.
        self.expect_ink(self.damaged, OLD, premiere=True, others=SUITE)
        kept = [path for path in after["damaged"] if path.startswith("/var/tmp/") and path.endswith("StatusFile.xml")]
        self.assertEqual([self.damaged.read(path) for path in kept], [b"<install>"])

    def upgrade(self):
        upgraded = ["studio", "bare", "damaged"]
        # The engine asks whether to try again, and ends with 0 all the same.
        self.replace_cp(self.busy, "*'Smooth Paper'*", "exit 1")
        play = self.present(self.new, NEW, "--limit", ",".join([*upgraded, "busy"]))
        self.expect_failures(play, {"busy": ("Run the package's scripts", "answer: Cancel, since nobody could be asked")})
        self.bring_cp_back(self.busy)
        self.assertEqual([play.number_of_changes(host) for host in upgraded], [1] * len(upgraded))
        for name in upgraded:
            self.expect_ink(self.fleet.hosts[name], NEW, name != "bare", SUITE if name in WITH_SUITE else {})
        # Other content of the same length, which only the manifest tells.
        before = self.files()
        self.bare.write(PAPER, self.bare.read(PAPER).decode().swapcase())
        play = self.present(self.new, NEW, "--limit", "studio,bare")
        self.expect_failures(play, {})
        self.assertEqual(play.changed, {"bare"})
        self.assertEqual(self.files(), before)

    def survey(self):
        reports = self.folder / "reports"
        reports.mkdir()
        # What it says beside its JSON comes through the same terminal.
        inspector = self.folder / "inspector that shows progress"
        inspector.write_text("#!/bin/sh\necho '1 of 9 files' >&2\nexec /usr/local/bin/InstallInspector \"$@\"\n",
                             encoding="utf-8")
        before = self.files()
        play = self.play("--limit", "studio,bare,busy", playbook="survey.yml", vorlane_reports=str(reports),
                         vorlane_inspector=str(inspector))
        self.assertEqual(self.files(), before)
        self.assertEqual(play.changed, set())
        # The suite has no manifest, so that its files cannot be judged.
        self.expect_failures(play, {"busy": ("all is as it should be", "INK is damaged"),
                                    "studio": ("all is as it should be", "INK is whole")})
        for name, verdict in {"bare": "safe", "busy": "harm", "studio": "cannot tell"}.items():
            report = json.loads((reports / f"{name}.json").read_text(encoding="utf-8"))
            self.assertEqual(report["verdict"], verdict)
            self.assertEqual(report["products"], self.fleet.hosts[name].status()["products"])

    def uninstall(self):
        record = self.killed.outside(Fleet.RECORD)
        kept = record.read_bytes()
        record.unlink()
        # Of the same name as a file of which no target folder is left, and in the way of a plan that is not made with care.
        self.bare.write("/Ink.bundle", "somebody's own")
        before = self.files()
        play = self.play("--check", "--limit", "bare,studio,killed", vorlane_state="absent")
        self.assertEqual(self.files(), before)
        self.expect_failures(play, {"killed": ("Leave a damaged record to a person", "vorlane_rebuild")})
        self.assertEqual(play.changed, {"bare", "studio"})
        # Ink.bundle has no target folder there.
        self.assertEqual(play.message_of("bare", "a plan that succeeds without danger").strip(), "missing 1, remove 5")
        record.write_bytes(kept)
        # Where it is not installed, nothing is to be done.
        self.bare.run(UNINSTALLER + "/Contents/MacOS/UninstallLauncher", "-y")
        before = self.files()
        play = self.play(vorlane_state="absent")
        self.expect_failures(play, {})
        self.assertEqual([play.number_of_changes(host) for host in self.fleet.hosts],
                         [0 if host == "bare" else 1 for host in self.fleet.hosts])
        self.assertEqual(self.bare.files(), before["bare"])
        for name, host in self.fleet.hosts.items():
            self.assertEqual(host.builds(), SUITE if name in WITH_SUITE else {})
            self.assertFalse(host.exists(UNINSTALLER) or host.exists(PAPER), name)


if __name__ == "__main__":
    BUILD = pathlib.Path(sys.argv.pop(1)).resolve()
    if shutil.which("ansible-playbook") is None:
        print("there is no ansible-playbook (Debian: ansible-core)")
        sys.exit(77)
    if why := Fleet.why_no_private_root():
        print(why)
        sys.exit(77)
    unittest.main(verbosity=2)

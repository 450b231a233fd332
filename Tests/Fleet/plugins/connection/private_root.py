"""A connection to a private root folder, which plays a host: runs commands in it, and copies files to it.

Like ssh, it gives a terminal to commands that may ask for a password, which then have one stream for all they print.
"""
import os
import pty
import shutil
import subprocess

from ansible.errors import AnsibleConnectionFailure
from ansible.plugins.connection import ConnectionBase

DOCUMENTATION = """
    name: private_root
    short_description: a private root folder
    description: a private root folder
    options:
      root:
        description: the folder
        vars: [{name: private_root}]
      words_to_enter:
        description: what stands before a command that is to run in it
        type: list
        vars: [{name: words_to_enter}]
"""

ENVIRONMENT = {"PATH": "/bin:/usr/bin:/usr/sbin:/sbin", "HOME": "/var/root"}


class Connection(ConnectionBase):
    transport = "private_root"
    has_pipelining = True

    def _connect(self):
        self._connected = True
        return self

    def close(self):
        self._connected = False

    def exec_command(self, cmd, in_data=None, sudoable=True):
        super().exec_command(cmd, in_data=in_data, sudoable=sudoable)
        command = [*self.get_option("words_to_enter"), "/bin/sh", "-c", cmd]
        if in_data or not sudoable:
            done = subprocess.run(command, env=ENVIRONMENT, input=in_data or b"", capture_output=True, check=False)
            return done.returncode, done.stdout, done.stderr
        return self.on_a_terminal(command)

    @staticmethod
    def on_a_terminal(command):
        ours, theirs = pty.openpty()
        with subprocess.Popen(command, env=ENVIRONMENT, stdin=theirs, stdout=theirs, stderr=theirs,
                              start_new_session=True) as process:
            os.close(theirs)
            printed = b""
            try:
                while part := os.read(ours, 65536):
                    printed += part
            except OSError:  # nobody has the terminal any more
                pass
            os.close(ours)
        return process.returncode, printed, b""

    def put_file(self, in_path, out_path):
        super().put_file(in_path, out_path)
        shutil.copyfile(in_path, self.inside(out_path))

    def fetch_file(self, in_path, out_path):
        super().fetch_file(in_path, out_path)
        shutil.copyfile(self.inside(in_path), out_path)

    def inside(self, path):
        if not path.startswith("/"):
            raise AnsibleConnectionFailure(f"{path} is not absolute")
        return self.get_option("root") + path

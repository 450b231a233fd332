"""Scripts/mac-acceptance in a private root, with the tools of macOS replaced by some that note their arguments.

usage: MacAcceptanceTest.py BUILD SOURCE [TEST...]    BUILD: a build folder of this project that is up to date
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

BUILD = SOURCE = pathlib.Path()
SKIPPED = 77

# Real tools that the private root does not have.
TOOLS = "awk cmp comm cut diff grep sed sort tail xargs xmllint".split()

# Each does the least that the script, the engine and the package's scripts need of it.
STAND_INS = {
    "chown": "",
    "codesign": "",
    "ditto": 'if [ -d "$1" ]; then mkdir -p "$2" && cp -RP "$1/." "$2/"; else mkdir -p "$(dirname "$2")" && cp -P "$1" "$2"; fi',
    "dscl": '[ "$*" = "/Search -read /Users/anna NFSHomeDirectory" ] && echo "NFSHomeDirectory: /Users/anna"',
    "git": "echo 'The sources are those of commit 1234'",
    "id": 'case $* in -un) echo anna ;; *) echo 501 ;; esac',
    "installer": """
        [ "$1 $3 $4" = '-pkg -target /' ] || exit 1
        scripts=$(mktemp -d /tmp/installing.XXXXXX) && cp -R "$2/." "$scripts/" || exit 1
        USER=root HOME=/var/root "$scripts/preinstall" "$2" / / / && USER=root HOME=/var/root "$scripts/postinstall" "$2" / / /
        status=$?
        rm -rf "$scripts"
        exit "$status"
        """,
    "launchctl": """
        case $1 in
        managername) echo Aqua ;;
        asuser) shift 2; exec "$@" ;;
        esac
        """,
    "lipo": "echo 'x86_64 arm64'",
    "open": """
        [ "$1 $2 $3 $5 $8" = '-W -n --stdout --stderr --args' ] || exit 1
        program=$(sed -n '/CFBundleExecutable/{n;s/.*<string>\\(.*\\)<.*/\\1/p;}' "$7/Contents/Info.plist")
        output=$4 errors=$6 app=$7
        shift 8
        "$app/Contents/MacOS/$program" "$@" >"$output" 2>"$errors"
        """,
    "otool": "printf '%s:\\n\\t/usr/lib/libc++.1.dylib (compatibility version 1.0.0, current version 1.0.0)\\n' \"$2\"",
    "pkgbuild": 'for package; do :; done; cp -R "$3" "$package"',
    "pkgutil": "exit 1",
    "plutil": '[ -s "$2" ] && echo "$2: OK"',
    "stat": '[ "$*" = "-f %Su /dev/console" ] && echo anna',
    "sudo": '[ "$1" = -v ] || exec "$@"',
    "sw_vers": "printf 'ProductName:\\t\\tmacOS\\nProductVersion:\\t\\t99.9\\n'",
    "uname": "echo Darwin",
}


def private_root(*arguments, **options):
    return subprocess.run([str(SOURCE / "Scripts/private-root"), *map(str, arguments)], check=False, capture_output=True,
                          text=True, **options)


class PrivateMac:
    """A private root with the stand-ins, this project's scripts and a bundle."""

    def __init__(self, folder):
        self.root = folder / "root"
        self.made("make", self.root)
        repository = self.root / "repository"
        for part in ("Scripts", "Examples"):
            shutil.copytree(SOURCE / part, repository / part)
        bundle = BUILD / "InstallUtility.app"
        shutil.copytree(bundle, self.root / "Bundle/InstallUtility.app")
        program = "Contents/MacOS/InstallUtility"
        self.made("add", self.root, bundle / program, f"/Bundle/InstallUtility.app/{program}")
        for tool in TOOLS:
            self.made("add", self.root, os.path.realpath(shutil.which(tool)), f"/bin/{tool}")
        self.made("add", self.root, "/bin/bash", "/bin/sh")  # as on macOS
        for name, body in STAND_INS.items():
            self.stand_in(name, body)
        for path in ("Library/Application Support", "Users/Shared", "Users/anna/Documents"):
            (self.root / path).mkdir(parents=True, exist_ok=True)
        (self.root / "Library/Application Support").chmod(0o755)

    def made(self, *arguments):
        done = private_root(*arguments)
        if done.returncode != 0:
            raise AssertionError(f"{arguments}: {done.stderr}")

    def stand_in(self, name, body, folder="bin"):
        path = self.root / folder / name
        path.unlink(missing_ok=True)  # it may be a link to a tool of this machine
        path.write_text(f'#!/bin/sh\n{{ printf %s {name}; [ $# = 0 ] || printf " <%s>" "$@"; echo; }} >>/calls\n{body}\n',
                        encoding="utf-8")
        path.chmod(0o755)

    def lacks_proc(self):
        """For a program with the address sanitizer."""
        program = self.root / "Bundle/InstallUtility.app/Contents/MacOS/InstallUtility"
        return b"__asan_init" in program.read_bytes() and \
            private_root("run", self.root, "test", "-e", "/proc/self/maps").returncode != 0

    def run(self, *arguments, **environment):
        variables = {"HOME": "/Users/anna", "PATH": "/usr/bin:/bin", **environment}
        words = [f"{name}={value}" for name, value in variables.items()]
        return private_root("run", self.root, "env", "-i", *words, "/repository/Scripts/mac-acceptance", *arguments,
                            stdin=subprocess.DEVNULL, timeout=120)

    def accept(self, **environment):
        return self.run("--this-machine", "--bundle", "/Bundle/InstallUtility.app", "--report", "/report", **environment)

    def report(self):
        return (self.root / "report").read_text(encoding="utf-8")

    def calls(self):
        """Those that the script itself makes, in order."""
        path = self.root / "calls"
        lines = re.sub(r"/tmp/tmp\.\w+", "WORK", path.read_text(encoding="utf-8")).splitlines() if path.exists() else []
        engine = re.compile("ditto <[^>]*> </|launchctl <asuser>|id <-u> <anna>|dscl|stat")
        return [line for line in lines if not engine.match(line)]

    def tree(self):
        own = {"calls", "report", "bin", "proc", "dev"}
        return sorted(f"{path.relative_to(self.root)} {path.lstat().st_mode:o}"
                      for top in self.root.iterdir() if top.name not in own
                      for path in [top, *top.rglob("*")])


class MacAcceptance(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = pathlib.Path(tempfile.mkdtemp())
        cls.addClassCleanup(shutil.rmtree, folder)
        cls.mac = PrivateMac(folder)
        if cls.mac.lacks_proc():
            raise unittest.SkipTest("the address sanitizer needs /proc, and that cannot be mounted here")

    def setUp(self):
        self.before = self.mac.tree()

    def assert_machine_is_as_before(self):
        self.assertEqual(self.mac.tree(), self.before)

    def failed(self):
        """The titles of what failed, which are the same in the report and on the screen."""
        return re.findall("^FAILED: (.*)$", self.mac.report(), re.MULTILINE)

    def assert_failed(self, done, titles):
        self.assertEqual(self.failed(), titles)
        self.assertEqual(re.findall("^  FAILED  (.*)$", done.stdout, re.MULTILINE), titles)
        self.assertTrue(self.mac.report().endswith(f"\nfailed: {len(titles)}\n"), self.mac.report()[-200:])
        self.assertEqual(done.returncode, 1 if titles else 0)


class Refuses(MacAcceptance):
    """Each time before anything is changed."""

    def assert_refuses(self, reason, *arguments):
        done = self.mac.run(*arguments)
        self.assertIn(reason, done.stderr)
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        self.assertLessEqual(set(self.mac.calls()), {"uname", "id <-u>", "id <-un>", "sudo <-v>"})
        self.assertFalse((self.mac.root / "report").exists())
        self.assert_machine_is_as_before()

    def assert_refuses_this_machine(self, reason, bundle="/Bundle/InstallUtility.app"):
        self.assert_refuses(reason, "--this-machine", "--report", "/report", "--bundle", bundle)

    def test_without_the_word_for_it(self):
        self.assert_refuses("--this-machine allows it")
        self.assert_refuses("--this-machine allows it", "--bundle", "/Bundle/InstallUtility.app", "--report", "/report")

    def test_what_it_does_not_understand(self):
        for arguments in (["--this-machin"], ["--this-machine", "x"], ["--this-machine", "--bundle"]):
            self.assert_refuses("unknown argument" if len(arguments[-1]) != 8 else "needs a path", *arguments)

    def test_what_is_no_bundle(self):
        self.assert_refuses_this_machine("'/nowhere' is no InstallUtility.app", "/nowhere")

    def test_another_system_the_superuser_and_a_user_without_rights(self):
        for tool, body, reason in (("uname", "echo Linux", "this is no Mac"), ("id", "echo 0", "not as the superuser"),
                                   ("sudo", "exit 1", "the rights of an administrator")):
            self.mac.stand_in(tool, body)
            self.assert_refuses_this_machine(reason)
            self.mac.stand_in(tool, STAND_INS[tool])

    def test_a_machine_without_one_of_the_tools(self):
        (self.mac.root / "bin/pkgbuild").unlink()
        self.assert_refuses_this_machine("the tool pkgbuild is missing")
        self.mac.stand_in("pkgbuild", STAND_INS["pkgbuild"])

    def test_a_machine_with_the_family_or_a_host(self):
        for path in ("Library/Application Support/Vorlane", "Applications/Final Cut Pro.app",
                     "Users/anna/Library/Preferences/com.vorlane.some.plist"):
            (self.mac.root / path).mkdir(parents=True)
            self.before = self.mac.tree()
            self.assert_refuses_this_machine(f"'/{path}' is there")
            (self.mac.root / path).rmdir()


class Passes(MacAcceptance):
    def test_and_leaves_the_machine_as_it_was(self):
        done = self.mac.accept()
        self.assert_failed(done, [])
        self.assert_machine_is_as_before()
        self.assert_calls()
        self.assert_report()

    def assert_calls(self):
        quiet = ("id", "chown", "git", "sudo <mkdir>", "sudo <chown>", "sudo <rm", "sudo <rmdir>")
        calls = [line for line in self.mac.calls() if not line.startswith(quiet)]
        app = "WORK/InstallUtility.app"
        program = f"{app}/Contents/MacOS/InstallUtility"
        preferences = "/Users/anna/Library/Preferences/com.vorlane.hosts"
        opened = "open <-W> <-n> <--stdout> <WORK/opened> <--stderr> <WORK/opened> </Applications/Vorlane Uninstallers"
        package = ["sudo <installer> <-pkg> <WORK/product.pkg> <-target> </>",
                   "installer <-pkg> <WORK/product.pkg> <-target> </>"]
        self.assertEqual(calls, [
            "uname", "sudo <-v>", "sw_vers", "uname <-a>", "launchctl <managername>",
            f"ditto </Bundle/InstallUtility.app> <{app}>",
            f"codesign <--force> <--sign> <-> <{app}>", f"codesign <--verify> <--strict> <{app}>",
            f"lipo <-archs> <{program}>", f"otool <-L> <{program}>", f"plutil <-lint> <{app}/Contents/Info.plist>",
            f"otool <-L> <{program}>",
            "sudo <chmod> <g+w> </Library/Application Support>",
            f"plutil <-lint> <{preferences}.mediacomposer.plist>", f"plutil <-lint> <{preferences}.openfx.plist>",
            f"{opened}/Uninstall Ember & Ink.app> <--args> <-y> <-v>", f"{opened}/Uninstall Ink.app> <--args> <-y> <-v>",
            f"ditto <{app}> <WORK/scripts/InstallUtility.app>", "ditto <Examples/Ink> <WORK/scripts/product>",
            "pkgbuild <--nopayload> <--scripts> <WORK/scripts> <--identifier> <com.vorlane.acceptance> <--version> <1.0> "
            "<WORK/product.pkg>",
            *package, *package,
            "sudo <env> <HOME=/Users/anna> "
            "</Applications/Vorlane Uninstallers/Uninstall Ink.app/Contents/MacOS/UninstallLauncher> <-y> <-v>",
            "sudo <chmod> <g-w> </Library/Application Support>",
            "pkgutil <--pkg-info> <com.vorlane.acceptance>"])

    def assert_report(self):
        report = self.mac.report()
        passed = len(re.findall("^  ok  ", report, re.MULTILINE))
        steps = len(re.findall("^exit status 0$", report, re.MULTILINE))
        # The life has 59 claims and 7 runs. The package has 11 claims, and the end 2.
        self.assertEqual(passed, 59 + 11 + 2 + steps)
        self.assertIn(f"\npassed: {passed}\nfailed: 0\n", report)
        for part in ("ProductVersion:\t\t99.9", "The sources are those of commit 1234", "Only what dontdelete keeps is left",
                     "$ 'open' '-W' ", "Delete dir '/Library/OFX/Plugins/Vorlane/Ink/Ink.ofx.bundle'"):
            self.assertIn(part, report)


class Fails(MacAcceptance):
    def test_when_a_tool_fails_or_hangs_a_claim_is_not_true_or_something_is_left_or_missing(self):
        (self.mac.root / "Applications/Own.app").mkdir()
        self.mac.stand_in("codesign", '[ "$1" != --verify ]')
        self.mac.stand_in("open", STAND_INS["open"] + '\ncase $app in *Ember*) exec sleep 60 ;; esac')
        self.mac.stand_in("installer", STAND_INS["installer"].replace('exit "$status"', """
            rm '/Library/Application Support/Vorlane/Runtime/VLRender.dylib'
            mkdir -p /Applications/Forgotten.app /Users/Shared/Vorlane
            echo x >/Users/Shared/Vorlane/forgotten
            rm -rf /Applications/Own.app
            exit "$status"
            """))
        self.mac.stand_in("pkgutil", "echo 'package-id: com.vorlane.acceptance'")
        done = self.mac.accept(MAC_ACCEPTANCE_LIMIT="4")
        self.assert_failed(done, ["Its signature is valid", "Open the uninstaller of Ember & Ink", "Its files are there",
                                  "Its files are there", "Nothing is left, and nothing is missing",
                                  "No receipt of the package is left"])
        self.assertIn("\nleft: /Applications/Forgotten.app/\nleft: /Users/Shared/Vorlane/\n"
                      "left: /Users/Shared/Vorlane/forgotten\nmissing: /Applications/Own.app/\n", self.mac.report())


class Ended(MacAcceptance):
    def test_before_its_end_is_a_failure_and_leaves_the_machine_as_it_was(self):
        """Without a bundle it builds one before."""
        for script in ("bootstrap", "get-source"):
            self.mac.stand_in(script, "", "repository/Scripts")
        self.mac.stand_in("cmake", '[ "$1" != --build ] || { mkdir build-ship && cp -R /Bundle/InstallUtility.app build-ship/; }')
        self.mac.stand_in("pkgbuild", "kill $PPID")
        done = self.mac.run("--this-machine", "--report", "/report")
        self.assert_failed(done, ["This script ran to its end"])
        self.assertEqual([line for line in self.mac.calls() if line.startswith(("bootstrap", "get-source", "cmake"))], [
            "bootstrap", "get-source <tinyxml> <WORK/tinyxml>", "cmake <--preset> <ship> <-DINSTALLUTILITY_TINYXML_SOURCE=WORK/tinyxml>",
            "cmake <--build> <--preset> <ship> <--target> <InstallUtility>"])
        shutil.rmtree(self.mac.root / "repository/build-ship")
        self.assert_machine_is_as_before()


def main():
    global BUILD, SOURCE
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    BUILD, SOURCE = (pathlib.Path(path).resolve() for path in sys.argv[1:3])
    reason = private_root("why-not").stdout.strip()
    if reason:
        print(f"no private root can be had here: {reason}")
        sys.exit(SKIPPED)
    missing = [tool for tool in ["/bin/bash", *TOOLS] if not shutil.which(tool)]
    if missing:
        print(f"not installed here: {', '.join(missing)}")
        sys.exit(SKIPPED)
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])


if __name__ == "__main__":
    main()

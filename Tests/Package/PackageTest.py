"""What cpack makes: checked as a distribution would, unpacked, and installed, used and removed on a bare Debian.

usage: PackageTest.py BUILD [Packages | OnBareDebian]    BUILD: a build folder of this project that is up to date
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

BUILD = pathlib.Path()
VERSION = ""
PARTS = ["bin/InstallInspector", "libexec/InstallUtility.app/Contents/MacOS/InstallUtility",
         "libexec/InstallUtility.app/Contents/MacOS/UninstallLauncher", "libexec/InstallUtility.app/Contents/Info.plist",
         "share/InstallUtility/Schemas/sku.xsd", "share/InstallUtility/Examples/Ink/sku.xml",
         "share/InstallUtility/Examples/packaging/postinstall", "share/bash-completion/completions/InstallInspector",
         "share/fish/vendor_completions.d/InstallInspector.fish", "share/doc/installutility/Docs/support.md",
         "share/doc/installutility/Licenses/TinyXML.txt"]


def run(*command, status=0, **options):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, check=False, **options)
    if done.returncode != status:
        raise AssertionError(f"{command} ends with {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout


class Made(unittest.TestCase):
    """Both packages, made once."""

    @classmethod
    def setUpClass(cls):
        if not (BUILD / "bin/InstallInspector").exists():
            raise unittest.SkipTest("InstallInspector is not built here")
        cls.folder = pathlib.Path(tempfile.mkdtemp())
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        run("cpack", "--config", BUILD / "CPackConfig.cmake", "-B", cls.folder)
        cls.archives = list(cls.folder.glob("*.tar.gz"))
        cls.debs = list(cls.folder.glob("*.deb"))

    def deb(self):
        if not shutil.which("dpkg-shlibdeps"):
            self.skipTest("Debian packages are made with dpkg-dev, which is not here")
        self.assertEqual(len(self.debs), 1)
        return self.debs[0]


class Packages(Made):
    def test_the_archive_is_used_where_it_is_unpacked(self):
        self.assertEqual(len(self.archives), 1)
        run("tar", "xzf", self.archives[0], "-C", self.folder)
        root = self.folder / self.archives[0].name.removesuffix(".tar.gz")
        for part in PARTS + ["share/man/man1/InstallInspector.1", "share/doc/installutility/CHANGELOG.md"]:
            self.assertTrue((root / part).is_file(), part)
        self.assertFalse((root / "include").exists() or (root / "lib").exists(), "the libraries are for another package")
        self.assertEqual(run(root / "bin/InstallInspector", "--version"), f"InstallInspector {VERSION}\n")

    def test_the_debian_package_holds_the_same(self):
        listed = run("dpkg-deb", "--contents", self.deb()).splitlines()
        files = {line.split(None, 5)[5].removeprefix("./usr/") for line in listed if line.startswith("-")}
        self.assertEqual(set(PARTS) - files, set())
        self.assertIn("share/man/man1/InstallInspector.1.gz", files)
        self.assertIn("share/zsh/vendor-completions/_InstallInspector", files)
        self.assertEqual({line.split()[1] for line in listed}, {"root/root"})

    def test_lintian_finds_no_error(self):
        if not shutil.which("lintian"):
            self.skipTest("lintian is not here")
        run("lintian", "--fail-on", "error", self.deb())


class OnBareDebian(Made):
    def test_a_bare_debian_installs_uses_and_removes_it(self):
        if os.geteuid() != 0 or not shutil.which("mmdebstrap") or subprocess.call(["unshare", "--mount", "true"]) != 0:
            self.skipTest("a bare Debian is made with mmdebstrap by the superuser, who must be allowed to mount")
        release = dict(line.split("=", 1) for line in pathlib.Path("/etc/os-release").read_text().splitlines() if line)
        root = self.folder / "debian"
        run("mmdebstrap", "--variant=essential", "--hook-dir=/usr/share/mmdebstrap/hooks/file-mirror-automount",
            f"--include={self.deb()}", release["VERSION_CODENAME"], root)

        def inside(*command, **options):
            return run("chroot", root, *command, env={"HOME": "/root", "PATH": "/usr/bin:/usr/sbin:/bin"}, **options)

        examples = "/usr/share/InstallUtility/Examples"
        ink = [f"{examples}/Ink/sku.xml", f"{examples}/Ink/target_path.xml"]
        engine = "/usr/libexec/InstallUtility.app/Contents/MacOS/InstallUtility"
        inside("InstallInspector", "check", *ink, "--source", f"{examples}/Ink/files")
        inside("InstallInspector", "plan", f"{examples}/Ink/files", *ink)
        inside(engine, f"{examples}/Ink/files", *ink)
        self.assertIn("Uninstall Ink.app", os.listdir(root / "Applications/Vorlane Uninstallers"))
        inside("InstallInspector", "status")
        inside(engine, "-uninstall", *ink)
        self.assertIn("Nothing is installed.", inside("InstallInspector", "status"))
        self.assertEqual(inside("bash", "-c", ". /usr/share/bash-completion/completions/InstallInspector; "
                                "COMP_WORDS=(InstallInspector sta); COMP_CWORD=1; _InstallInspector; echo $COMPREPLY"),
                         "status\n")

        inside("dpkg", "--purge", "installutility")
        left = [path for path in run("find", root, "-xdev", "-ipath", "*installutility*").splitlines()
                if "/var/lib/dpkg" not in path and "/var/log" not in path]
        self.assertEqual(left, [])


if __name__ == "__main__":
    BUILD = pathlib.Path(sys.argv[1]).resolve()
    VERSION = re.search(r"^CMAKE_PROJECT_VERSION:\w+=(.*)$", (BUILD / "CMakeCache.txt").read_text(), re.MULTILINE).group(1)
    unittest.main(argv=[sys.argv[0], *sys.argv[2:]], verbosity=2)

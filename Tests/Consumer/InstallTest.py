"""What "cmake --install" places can be used, and the libraries by other projects: installed, and as a folder.

usage: InstallTest.py BUILD SOURCE VERSION COMPILER [TEST...]    BUILD: a build folder of this project that is up to date
"""

import os
import pathlib
import plistlib
import re
import shutil
import stat
import subprocess
import sys
import tempfile
import unittest

BUILD = SOURCE = pathlib.Path()
VERSION = COMPILER = ""
APPLE = sys.platform == "darwin"
CONSUMER = pathlib.Path(__file__).resolve().parent / "Project"


def cache():
    text = (BUILD / "CMakeCache.txt").read_text(encoding="utf-8")
    return dict(re.findall(r"^(\w+):\w+=(.*)$", text, re.MULTILINE))


def run(*command, status=0, **options):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, check=False, **options)
    if done.returncode != status:
        raise AssertionError(f"{command} ends with {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout


class Installed(unittest.TestCase):
    """One installation for all tests, in a folder of its own."""

    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp())
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        cls.prefix = cls.folder / "A prefix"
        run("cmake", "--install", BUILD, "--prefix", cls.prefix)
        cls.data = cls.prefix / "share/InstallUtility"
        cls.documents = cls.prefix / "share/doc/installutility"
        cls.bundle = cls.prefix / "libexec/InstallUtility.app/Contents"

    def skip_without_the_companion(self):
        if not (BUILD / "bin/InstallInspector").exists():
            self.skipTest("InstallInspector is not built here")


class Places(Installed):
    def test_the_bundle_whole_and_ready_to_run(self):
        self.assertEqual({str(path.relative_to(self.bundle)) for path in self.bundle.rglob("*") if path.is_file()},
                         {"Info.plist", "MacOS/InstallUtility", "MacOS/UninstallLauncher",
                          "Resources/de.lproj/Uninstaller.strings", "Resources/en.lproj/Uninstaller.strings"})
        for program in (self.bundle / "MacOS").iterdir():
            self.assertEqual(stat.S_IMODE(program.stat().st_mode), 0o755, program)
        self.assertIn("Not enough arguments.", run(self.bundle / "MacOS/InstallUtility", status=1))

    def test_the_companion_ready_to_run(self):
        self.skip_without_the_companion()
        examples = self.data / "Examples/Ink"
        run(self.prefix / "bin/InstallInspector", "check", examples / "sku.xml", examples / "target_path.xml",
            "--source", examples / "files")

    def test_examples_and_schemas_as_they_are_in_the_repository(self):
        for name in ("Examples", "Schemas"):
            if name == "Schemas" and not (SOURCE / name).is_dir():
                continue
            run("diff", "-r", SOURCE / name, self.data / name)
        self.assertTrue(os.access(self.data / "Examples/packaging/postinstall", os.X_OK))
        self.assertTrue(os.access(self.data / "Examples/packaging/preinstall", os.X_OK))

    def test_each_document_and_man_page(self):
        for document in [*(SOURCE / "Docs").glob("*.md"), *(SOURCE / "Docs/images").glob("*.png"), SOURCE / "README.md",
                         SOURCE / "CHANGELOG.md"]:
            self.assertTrue(list(self.documents.rglob(document.name)), document)
        for page in (SOURCE / "Docs/man").iterdir():
            self.assertTrue((self.prefix / "share/man/man1" / (page.name.split(".")[0] + ".1")).is_file(), page)

    def test_licences_of_what_is_linked_and_no_others(self):
        self.skip_without_the_companion()
        expected = {"TinyXML.txt", "CLI11.txt", "nlohmann-json.txt", "utf8proc.txt"}
        expected |= set() if APPLE else {"libplist.txt", "OpenSSL.txt"}
        self.assertEqual({path.name for path in (self.documents / "Licenses").iterdir()}, expected)

    def test_headers_that_include_only_what_is_placed(self):
        root = self.prefix / "include/InstallUtility"
        headers = list(root.rglob("*.h"))
        self.assertGreater(len(headers), 10)
        for header in headers:
            for name in re.findall(r'^#include "(.*)"', header.read_text(encoding="utf-8"), re.MULTILINE):
                self.assertTrue((root / name).is_file(), f"{header} includes {name}")

    def test_nothing_that_names_the_folder_of_the_build(self):
        for path in (self.prefix / "lib").rglob("*.cmake"):
            self.assertNotIn(str(SOURCE), path.read_text(encoding="utf-8"), path)

    def test_below_another_root_when_a_packager_asks_for_it(self):
        root = self.folder / "root"
        run("cmake", "--install", BUILD, "--prefix", "/usr", "--component", "Runtime",
            env=dict(os.environ, DESTDIR=str(root)))
        self.assertTrue((root / "usr/libexec/InstallUtility.app/Contents/MacOS/InstallUtility").is_file())
        self.assertEqual([path.name for path in root.iterdir()], ["usr"])


class Version(Installed):
    """One number, shown everywhere."""

    def test_in_the_projects_file_alone(self):
        self.assertIn(f"VERSION {VERSION} ", (SOURCE / "CMakeLists.txt").read_text(encoding="utf-8"))

    def test_in_the_companion(self):
        self.skip_without_the_companion()
        self.assertEqual(run(self.prefix / "bin/InstallInspector", "--version"), f"InstallInspector {VERSION}\n")

    def test_in_the_bundle(self):
        with open(self.bundle / "Info.plist", "rb") as file:
            information = plistlib.load(file)
        self.assertEqual(information["CFBundleShortVersionString"], VERSION)
        self.assertEqual(information["CFBundleVersion"], VERSION)
        self.assertEqual(information["CFBundleIdentifier"], "com.vorlane.InstallUtility")
        self.assertTrue(information["NSHumanReadableCopyright"].startswith("Copyright © "))
        self.assertEqual(information["LSMinimumSystemVersion"], "11.0")
        self.assertTrue((self.bundle / "MacOS" / information["CFBundleExecutable"]).is_file())

    def test_in_each_man_page(self):
        pages = list((self.prefix / "share/man/man1").iterdir())
        self.assertTrue(pages)
        for page in pages:
            self.assertIn(f"\n.Os InstallUtility {VERSION}\n", page.read_text(encoding="utf-8"), page)

    def test_in_the_list_of_changes(self):
        changes = (SOURCE / "CHANGELOG.md").read_text(encoding="utf-8")
        self.assertEqual(re.findall(r"^## (\S+?),", changes, re.MULTILINE)[0], VERSION)

    def test_in_the_package_which_refuses_an_older_and_a_newer_one(self):
        major, minor, _ = (int(part) for part in VERSION.split("."))
        for version in (f"{major + 1}.0", f"{major}.{minor + 1}"):
            with self.assertRaisesRegex(AssertionError, "requested version"):
                configure(self.folder / f"build {version}", f"-DCMAKE_PREFIX_PATH={self.prefix}",
                          f"-DINSTALLUTILITY_VERSION={version}")


def configure(build, *options):
    # What the libraries are built with (a sanitizer, say) has to be linked to them.
    cached = cache()
    more = [f"-D{name}={cached[name]}" for name in ("CMAKE_CXX_FLAGS", "TinyXML_LIBRARY", "TinyXML_INCLUDE_DIR")
            if cached.get(name)]
    run("cmake", "-G", cached["CMAKE_GENERATOR"], "-S", CONSUMER, "-B", build, f"-DCMAKE_CXX_COMPILER={COMPILER}",
        *more, *options)


class Consumer(Installed):
    def build_and_use(self, *options):
        build = pathlib.Path(tempfile.mkdtemp(dir=self.folder))
        configure(build, *options)
        run("cmake", "--build", build, "--parallel", "2", "--target", "UsesFoundation", "UsesEngine")
        preferences = build / "preferences"
        self.assertEqual(run(build / "UsesFoundation", preferences), "from the registry\n")
        self.assertIn("from the registry", (preferences / "com.vorlane.consumer.plist").read_text(encoding="utf-8"))
        self.assertEqual(run(build / "UsesEngine", SOURCE / "Examples/Common/sku.xml"),
                         "Vorlane Common 5.0.0.119000, read with TinyXML 2\n")

    def test_finds_the_package_wherever_it_was_moved(self):
        moved = self.folder / "moved"
        self.prefix.rename(moved)
        self.addCleanup(moved.rename, self.prefix)
        self.build_and_use(f"-DCMAKE_PREFIX_PATH={moved}", f"-DINSTALLUTILITY_VERSION={VERSION}")

    def test_has_the_repository_as_a_folder(self):
        self.build_and_use(f"-DINSTALLUTILITY_FOLDER={SOURCE}", "-DCMAKE_UNITY_BUILD=ON", "-DCMAKE_BUILD_TYPE=Debug")


class CheckOfTheBundle(unittest.TestCase):
    """Scripts/check-bundle, with the tools of macOS replaced by some that tell what a test wants."""

    def check(self, libraries="/usr/lib/libc++.1.dylib", processors="x86_64 arm64", plist_status=0):
        with tempfile.TemporaryDirectory() as folder:
            lines = "".join(f"\t{name} (compatibility version 1.0.0, current version 1.0.0)\\n"
                            for name in libraries.split(", ") if name)
            for tool, body in (("lipo", f"echo '{processors}'"),
                               ("otool", f"printf 'Some.app/InstallUtility (architecture arm64):\\n{lines}'"),
                               ("plutil", f"exit {plist_status}")):
                path = pathlib.Path(folder) / tool
                path.write_text(f"#!/bin/sh\n{body}\n", encoding="utf-8")
                path.chmod(0o755)
            return subprocess.run([SOURCE / "Scripts/check-bundle", "Some.app"], check=False, capture_output=True,
                                  env=dict(os.environ, PATH=f"{folder}:{os.environ['PATH']}")).returncode

    def test_takes_one_that_stands_alone(self):
        self.assertEqual(self.check("/System/Library/Frameworks/AppKit.framework/Versions/C/AppKit, /usr/lib/libc++.1.dylib"), 0)

    def test_refuses_libraries_that_not_every_machine_has(self):
        for library in ("/opt/homebrew/lib/libtinyxml.dylib", "@rpath/libtinyxml.dylib", "/usr/local/lib/libtinyxml.dylib"):
            self.assertEqual(self.check(f"/usr/lib/libc++.1.dylib, {library}"), 1, library)
        self.assertEqual(self.check(""), 1)

    def test_refuses_one_processor(self):
        for processors in ("arm64", "x86_64", "arm64e x86_64h"):
            self.assertEqual(self.check(processors=processors), 1, processors)

    def test_refuses_a_malformed_property_list(self):
        self.assertEqual(self.check(plist_status=1), 1)


if __name__ == "__main__":
    BUILD, SOURCE = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
    VERSION, COMPILER = sys.argv[3:5]
    unittest.main(argv=[sys.argv[0], *sys.argv[5:]])

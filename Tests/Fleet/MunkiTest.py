"""The Munki items of the examples: their property lists, and their scripts in a private root.

    MunkiTest.py BUILD

Without a private root the exit status is 77, unless the property lists are wrong.
"""
import os
import pathlib
import re
import shutil
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True  # the sources stay as they are
import Fleet

BUILD = pathlib.Path()
ITEMS = Fleet.property_lists(Fleet.EXAMPLES / "fleet/munki")
INK = next(item for item in ITEMS.values() if item["name"] == "Ink")
COMMON = next(item for item in ITEMS.values() if item["name"] == "VorlaneCommon")
PAPER = "/Users/Shared/Vorlane/Content/Paper/Smooth Paper.txt"


class PropertyLists(unittest.TestCase):
    def test_each_item_has_what_munki_asks_for(self):
        kinds = {"name": str, "version": str, "catalogs": list, "installer_item_location": str, "minimum_os_version": str,
                 "unattended_install": bool, "blocking_applications": list, "uninstallable": bool}
        self.assertEqual(len(ITEMS), 3)
        for file, item in ITEMS.items():
            with self.subTest(file):
                for key, kind in kinds.items():
                    self.assertIsInstance(item[key], kind, key)
                self.assertEqual(file, f"{item['name']}-{item['version']}.plist")
                self.assertEqual(item["installer_item_location"], f"{item['name']}-{item['version']}.pkg")
                self.assertTrue(item["unattended_install"])
                self.assertEqual(item["uninstallable"], "uninstall_method" in item)
                # An item that cannot be uninstalled is not uninstalled unattended either.
                self.assertEqual(item["uninstallable"], item.get("unattended_uninstall", False))
                self.assertLessEqual(set(item.get("requires", [])), {each["name"] for each in ITEMS.values()})

    def test_the_versions_are_those_of_the_examples(self):
        self.assertEqual(INK["version"], Fleet.build_of("Ink"))
        self.assertEqual(COMMON["version"], Fleet.build_of("Common"))
        self.assertIn(f"--want INK={INK['version']} ", INK["installcheck_script"])
        self.assertIn(f"--want COMMON={COMMON['version']} ", COMMON["installcheck_script"])

    def test_no_host_runs_while_the_product_changes(self):
        targets = (Fleet.EXAMPLES / "Ink/target_path.xml").read_text(encoding="utf-8")
        for name in INK["blocking_applications"]:
            self.assertTrue(name.endswith(".app"), name)
            self.assertIn("/Applications/" + name.removesuffix(".app"), targets)
        self.assertEqual(len(INK["blocking_applications"]), 2)
        self.assertEqual(INK["uninstall_method"], "uninstall_script")

    def test_the_scripts_are_clean(self):
        for file, item in ITEMS.items():
            for key in [key for key in item if key.endswith("_script")]:
                with self.subTest(f"{file} {key}"), tempfile.NamedTemporaryFile("w", suffix=".sh") as script:
                    script.write(item[key])
                    script.flush()
                    self.assertTrue(item[key].startswith("#!/bin/sh\n"))
                    Fleet.run("sh", "-n", script.name)
                    if shutil.which("shellcheck"):
                        Fleet.run("shellcheck", script.name)


class Scripts(unittest.TestCase):
    """One machine for all tests of a class, as a Mac on which anna works."""

    @classmethod
    def setUpClass(cls):
        if why := Fleet.why_no_private_root():
            raise unittest.SkipTest(why)
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="munki"))
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        cls.fleet = Fleet.Fleet(cls.folder, BUILD)
        cls.ink, _ = cls.fleet.package("Ink")
        cls.older, _ = cls.fleet.package("Ink", "5.1.0.120300")
        cls.newer, _ = cls.fleet.package("Ink", "5.1.0.120400")
        cls.suite, _ = cls.fleet.package("EmberAndInk")
        cls.common, _ = cls.fleet.package("Common")

    def setUp(self):
        self.mac = self.fleet.add(self.id().rsplit(".", 1)[-1], "/Users/Shared", "/Applications/Final Cut Pro.app")
        self.at_screen("anna")

    def at_screen(self, user):
        self.mac.write("/bin/stat", f"#!/bin/sh\n[ \"$*\" = '-f %Su /dev/console' ] && echo {user}\n", 0o755)
        self.mac.write("/bin/dscl", f"#!/bin/sh\n[ \"$*\" = '/Search -read /Users/{user} NFSHomeDirectory' ] && "
                       f"echo 'NFSHomeDirectory: /Users/{user}'\n", 0o755)

    def script(self, item, key, status):
        """Runs the script as Munki does: as the superuser, without a terminal."""
        self.mac.write("/tmp/script", item[key], 0o755)
        return self.mac.run("/tmp/script", status=status, HOME="/var/root").stdout

    def expect_needed(self, item=INK):
        before = self.mac.files()
        self.script(item, "installcheck_script", 0)
        self.assertEqual(self.mac.files(), before)

    def expect_not_needed(self, item=INK):
        before = self.mac.files()
        self.script(item, "installcheck_script", 1)
        self.assertEqual(self.mac.files(), before)

    def install(self, scripts):
        self.fleet.install(self.mac, scripts)

    def test_installs_what_is_missing_older_or_damaged(self):
        self.expect_needed()
        self.install(self.older)
        self.expect_needed()
        self.install(self.ink)
        self.expect_not_needed()
        self.mac.outside(PAPER).unlink()
        self.expect_needed()
        self.install(self.ink)
        self.mac.outside("/Applications/Vorlane Uninstallers/Uninstall Ink.app/Contents/sku.xml").unlink()
        self.expect_needed()

    def test_leaves_a_newer_build_and_the_faults_of_others_alone(self):
        self.install(self.suite)
        self.install(self.newer)
        self.mac.outside("/Users/Shared/Vorlane/Content/Warm/Sparks.txt").unlink()
        self.expect_not_needed()

    def test_does_not_install_over_a_damaged_record(self):
        self.install(self.suite)
        self.mac.write(Fleet.RECORD, "<install>")
        self.expect_not_needed()
        self.expect_not_needed(COMMON)

    def test_counts_user_folders_of_the_user_at_the_screen(self):
        self.install(self.ink)
        template = "/Users/anna/Movies/Motion Templates/Effects/Vorlane/Ink/Ink Outline/Ink Outline.moef"
        self.assertTrue(self.mac.exists(template))
        # The files stay those of anna: no install follows the others.
        for user in ("anna", "berta", "loginwindow"):
            self.at_screen(user)
            self.expect_not_needed()
        self.at_screen("anna")
        self.mac.outside(template).unlink()
        self.expect_needed()

    def test_without_the_inspector_installs_only_what_is_missing(self):
        # It is shared with the other machines.
        self.mac.outside("/usr/local/bin/InstallInspector").unlink()
        self.expect_needed()
        self.expect_needed(COMMON)
        self.install(self.older)
        self.install(self.common)
        self.expect_not_needed()
        self.expect_not_needed(COMMON)

    def test_the_shared_package_is_looked_at(self):
        self.expect_needed(COMMON)
        self.install(self.common)
        self.install(self.ink)
        self.expect_not_needed(COMMON)
        self.mac.outside("/Applications/Vorlane Application Manager.app").unlink()
        self.expect_needed(COMMON)
        self.expect_not_needed(INK)

    def test_uninstalls_and_asks_nobody(self):
        self.script(INK, "uninstallcheck_script", 1)
        self.install(self.common)
        self.install(self.ink)
        self.script(INK, "uninstallcheck_script", 0)
        self.script(INK, "uninstall_script", 0)
        self.script(INK, "uninstallcheck_script", 1)
        # With the last product the shared package goes, too, and user folders of anna.
        self.assertEqual([path for path in self.mac.files() if "Vorlane" in path and "Logs" not in path
                          and self.mac.outside(path).is_file()], [])

    def test_the_page_has_commands_for_other_tools(self):
        page = (Fleet.SOURCE / "Docs/fleet.md").read_text(encoding="utf-8")
        section = page.split("\n## Other device management\n")[1].split("\n## ")[0]
        commands = re.findall(r"^    (.*\S) +# (\d)", section, re.MULTILINE)
        self.assertEqual(len(commands), 4)
        shutil.copytree(self.ink, self.mac.outside("/tmp/scripts"), symlinks=True)
        for command, status in commands:
            self.mac.run("/bin/sh", "-c", "cd /tmp && " + command, status=int(status), PATH="/bin:/usr/local/bin")

    def test_an_uninstall_that_fails_is_told(self):
        self.install(self.ink)
        self.mac.outside("/Applications/Vorlane Uninstallers/Uninstall Ink.app/Contents/sku.xml").unlink()
        self.script(INK, "uninstall_script", 1)


if __name__ == "__main__":
    BUILD = pathlib.Path(sys.argv.pop(1)).resolve()
    result = unittest.main(verbosity=2, exit=False).result
    sys.exit(1 if not result.wasSuccessful() else 77 if result.skipped else 0)

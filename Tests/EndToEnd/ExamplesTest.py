"""The example products are sound, and together they use all that the two XML formats offer; so does the one example in each
format's document.

Usage: ExamplesTest.py EXAMPLES-FOLDER DOCUMENTS-FOLDER
"""

import pathlib
import re
import sys
import unittest
import xml.etree.ElementTree as ElementTree

EXAMPLES = pathlib.Path()
DOCUMENTS = pathlib.Path()

PRODUCTS = ("Common", "EmberAndInk", "Ink")

# Every element of a product definition, with its attributes.
SKU_FORMAT = {
    "product": set(),
    "sku": {"ID", "name", "build", "prefix"},
    "families": set(),
    "family": {"name"},
    "plugins": set(),
    "plugin": {"name"},
    "contents": set(),
    "content": {"name"},
    "featuresmask": {"name"},
    "contentmask": {"name"},
    "hosts": set(),
    "hostsForBuild": set(),
    "host": {"name", "families", "arch", "compilerOptions"},
    "installFiles": set(),
    "exclude": {"name"},
    "directory": {"fileName", "arch", "dontdelete", "ignoreinstallerrors", "allowdowngrade"},
    "file": {"fileName", "arch", "configuration", "dontdelete", "ignoreinstallerrors", "allowdowngrade",
             "size", "sha256"},
    "shortCut": {"name", "dir"},
    "part": {"path", "size", "sha256", "link"},
}
# What no example has: links in a folder that is copied whole.
NOT_IN_EXAMPLES = {"part": {"link"}}

# The same for a target-paths file.
TARGET_FORMAT = {
    "root": set(),
    "item": {"name"},
    "path": {"value"},
    "condition": {"type", "value"},
}

# The same for the record of what is installed.
RECORD_FORMAT = {
    "install": set(),
    "products": set(),
    "sku": {"ID", "name", "build"},
    "installFiles": set(),
    "directory": {"fileName", "ref"},
    "file": {"fileName", "ref", "build"},
    "shortCut": {"name", "dir"},
}

CONDITION_TYPES = {
    "PathExist", "PathNotExist", "FileExist", "FileNotExist", "RegKeyExist", "RegKeyNotExist", "And", "Or",
}

HOSTS = {
    "Premiere Pro", "Premiere Pro32", "Media Composer", "Media Composer32", "Edius", "Final Cut Pro X", "OpenFX",
}


def read(product, name):
    return ElementTree.parse(EXAMPLES / product / name).getroot()


def definitions():
    return {product: read(product, "sku.xml") for product in PRODUCTS}


def target_paths():
    return {product: read(product, "target_path.xml") for product in PRODUCTS}


def used_format(roots):
    used = {}
    for root in roots:
        for element in root.iter():
            used.setdefault(element.tag, set()).update(element.attrib)
    return used


def tree_files(node, path=""):
    """Paths of what the tree installs: its files, and its directories without children."""
    for child in node:
        if child.tag not in ("directory", "file"):
            continue
        child_path = f"{path}/{child.get('fileName')}".lstrip("/")
        if child.find("directory") is not None or child.find("file") is not None:
            yield from tree_files(child, child_path)
        else:
            yield child_path


def build_number(text):
    """The number by which builds are compared: the fourth, or a third one above 100000."""
    numbers = [int(number) for number in text.split(".")]
    numbers += [0] * (4 - len(numbers))
    return numbers[2] if numbers[2] > 100000 and numbers[3] == 0 else numbers[3]


def find_item(root, *names):
    for name in names:
        root = next((item for item in root.findall("item") if item.get("name") == name), None)
        if root is None:
            return None
    return root


class Examples(unittest.TestCase):
    def test_every_example_is_looked_at(self):
        # These hold no product, but what makes a package of one, plans of runs, and what manages many machines.
        others = ("fleet", "packaging", "plans")
        folders = sorted(path.name for path in EXAMPLES.iterdir() if path.is_dir() and path.name not in others)
        self.assertEqual(folders, sorted(PRODUCTS))

    def test_definitions_use_every_element_and_attribute_and_no_other(self):
        expected = {element: attributes - NOT_IN_EXAMPLES.get(element, set()) for element, attributes in SKU_FORMAT.items()}
        self.assertEqual(used_format(definitions().values()), expected)

    def test_target_paths_use_every_element_and_attribute_and_no_other(self):
        self.assertEqual(used_format(target_paths().values()), TARGET_FORMAT)

    def test_every_kind_of_condition_is_used_and_no_other(self):
        used = {condition.get("type") for root in target_paths().values() for condition in root.iter("condition")}
        self.assertEqual(used, CONDITION_TYPES)

    def test_conditions_are_nested_and_some_paths_have_none(self):
        roots = target_paths().values()
        self.assertTrue(any(root.findall(".//condition[@type='Or']/condition[@type='And']") for root in roots))
        self.assertTrue(any(not len(path) for root in roots for path in root.iter("path")))

    def test_every_placeholder_is_used_and_well_formed(self):
        texts = [element.get("value", "") for root in target_paths().values() for element in root.iter()]
        placeholders = {match for text in texts for match in re.findall("%[^%]*%", text)}
        kinds = {re.sub("REGKEY:[^:%]+::[^:%]+", "REGKEY", placeholder) for placeholder in placeholders}
        self.assertEqual(kinds, {"%FAMILY%", "%USER%", "%REGKEY%"})

    def test_every_host_is_served_and_has_an_item(self):
        served = set()
        for product, definition in definitions().items():
            hosts = definition.findall("installFiles/directory[@fileName='Hosts']/directory")
            for host in (host.get("fileName") for host in hosts):
                served.add(host)
                self.assertIsNotNone(find_item(read(product, "target_path.xml"), "Hosts", host), f"{product}: {host}")
        self.assertEqual(served, HOSTS)

    def test_every_family_in_the_tree_has_plugins(self):
        for product, definition in definitions().items():
            families = {family.get("name") for family in definition.iter("family") if family.find("plugins/plugin") is not None}
            in_tree = {family.get("fileName")
                       for family in definition.findall("installFiles/directory[@fileName='Hosts']/directory/directory")}
            self.assertLessEqual(in_tree, families, product)

    def test_only_the_three_branches_that_are_copied_are_used(self):
        for product, definition in definitions().items():
            branches = {child.get("fileName") for child in definition.findall("installFiles/directory")}
            self.assertLessEqual(branches, {"Hosts", "VorlaneFX", "Content"}, product)

    def test_trees_list_exactly_the_files_that_are_shipped(self):
        for product, definition in definitions().items():
            source = EXAMPLES / product / "files"
            listed = set(tree_files(definition.find("installFiles")))
            for path in listed:
                self.assertTrue((source / path).exists(), f"{product}: {path} is listed but not shipped")
            for file in (path for path in source.rglob("*") if path.is_file()):
                path = file.relative_to(source)
                covered = {str(path), *(str(parent) for parent in path.parents)}
                self.assertTrue(covered & listed, f"{product}: {path} is shipped but not listed")

    def test_a_folder_is_installed_as_one_piece_in_both_ways(self):
        kinds = set()
        for product, definition in definitions().items():
            for path in tree_files(definition.find("installFiles")):
                if (EXAMPLES / product / "files" / path).is_dir():
                    name = path.rsplit("/", 1)[-1]
                    kinds.update(element.tag for element in definition.find("installFiles").iter()
                                 if element.get("fileName") == name)
        self.assertEqual(kinds, {"directory", "file"})

    def test_all_products_keep_one_status_folder(self):
        folders = {find_item(root, "VorlaneFX").find("path").get("value") for root in target_paths().values()}
        self.assertEqual(folders, {"/Library/Application Support/Vorlane"})

    def test_builds_can_be_compared_and_the_sharing_product_is_newer(self):
        builds = {product: build_number(root.find("sku").get("build")) for product, root in definitions().items()}
        self.assertTrue(all(builds.values()), builds)
        self.assertGreater(builds["Ink"], builds["EmberAndInk"])

    def test_two_products_share_files_in_every_branch(self):
        trees = {product: set(tree_files(root.find("installFiles"))) for product, root in definitions().items()}
        shared = trees["EmberAndInk"] & trees["Ink"]
        self.assertEqual({path.split("/")[0] for path in shared}, {"Hosts", "VorlaneFX", "Content"})
        self.assertTrue(trees["EmberAndInk"] - shared)
        self.assertTrue(trees["Ink"] - shared)

    def test_the_shared_package_installs_its_own_definition(self):
        common = EXAMPLES / "Common"
        self.assertEqual(read("Common", "sku.xml").find("sku").get("ID"), "COMMON")
        self.assertEqual((common / "files/VorlaneFX/SKU/COMMON.xml").read_bytes(), (common / "sku.xml").read_bytes())
        self.assertTrue((common / "files/VorlaneFX/Common/ApplicationManager.app").is_dir())


class FormatDocuments(unittest.TestCase):
    FORMATS = {"definition-format.md": SKU_FORMAT, "target-paths-format.md": TARGET_FORMAT,
               "status-file-format.md": RECORD_FORMAT}

    @staticmethod
    def text(document):
        return (DOCUMENTS / document).read_text(encoding="utf-8")

    def example(self, document):
        blocks = re.findall(r"^```xml\n(.*?)^```$", self.text(document), re.MULTILINE | re.DOTALL)
        self.assertEqual(len(blocks), 1, document)
        return ElementTree.fromstring(blocks[0])

    def test_the_example_uses_every_element_and_attribute_and_no_other(self):
        for document, expected in self.FORMATS.items():
            self.assertEqual(used_format([self.example(document)]), expected, document)

    def test_the_example_uses_every_kind_of_condition_and_placeholder(self):
        root = self.example("target-paths-format.md")
        self.assertEqual({condition.get("type") for condition in root.iter("condition")}, CONDITION_TYPES)
        texts = " ".join(element.get("value", "") for element in root.iter())
        for placeholder in ("%FAMILY%", "%USER%", "%REGKEY:"):
            self.assertIn(placeholder, texts)

    def test_the_table_says_what_each_element_and_attribute_does(self):
        for document, expected in self.FORMATS.items():
            element, rows = set(), {}
            for cells in re.findall(r"^\| (.*?) *\| (.*?) *\| (.+) \|$", self.text(document), re.MULTILINE):
                if cells[0] == "both":
                    element = {"directory", "file"}
                elif cells[0]:
                    element = set(re.findall("`(\\w+)`", cells[0])[:1])
                for name in element:
                    rows.setdefault(name, set()).update(re.findall("`(\\w+)`", cells[1]))
            for name, attributes in expected.items():
                self.assertIn(name, rows, document)
                self.assertLessEqual(attributes, rows[name], f"{document}: {name}")


class Links(unittest.TestCase):
    @staticmethod
    def anchors(document):
        """As they are made of headings: small letters and digits, blanks as hyphens."""
        headings = re.findall(r"^#+ (.*)$", document.read_text(encoding="utf-8"), re.MULTILINE)
        return {re.sub(r"[^\w -]", "", heading.lower()).replace(" ", "-") for heading in headings}

    def test_each_leads_to_a_file_and_a_heading(self):
        repository = DOCUMENTS.parent
        documents = [*repository.glob("*.md"), *DOCUMENTS.glob("*.md"), EXAMPLES / "README.md"]
        self.assertGreater(len(documents), 8)
        for document in documents:
            for target, anchor in re.findall(r"\]\(([^)#:]*)(?:#([^)]*))?\)", document.read_text(encoding="utf-8")):
                file = document.parent / target if target else document
                self.assertTrue(file.exists(), f"{document}: {target}")
                if anchor:
                    self.assertIn(anchor, self.anchors(file), f"{document}: {target}#{anchor}")


if __name__ == "__main__":
    EXAMPLES = pathlib.Path(sys.argv.pop(1))
    DOCUMENTS = pathlib.Path(sys.argv.pop(1))
    unittest.main()

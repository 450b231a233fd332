"""Pages about the examples, and about names and numbers of files that no example has."""
import os
import pathlib
import subprocess
from xml.sax.saxutils import quoteattr

PROJECT = pathlib.Path(__file__).resolve().parents[2]
EXAMPLES = PROJECT / "Examples"


class NoRoot(Exception):
    """No private root is possible here."""


def inspect(program, *arguments, allowed=(0, 1)):
    done = subprocess.run([str(program), *map(str, arguments)], cwd=EXAMPLES, text=True, capture_output=True)
    assert done.returncode in allowed, done.stderr
    return done


def plan(program, page, product, machine, uninstall=False):
    files = [f"{product}/sku.xml", f"{product}/target_path.xml"]
    source = ["--uninstall"] if uninstall else [f"{product}/files"]
    inspect(program, "plan", "--html", page, "--machine", f"plans/{machine}.json", *source, *files)
    return page


def large_plan(program, folder, page):
    """The plan of a product with 10,000 files."""
    files = folder / "files/VorlaneFX"
    for number in range(10000):
        below = files / f"part {number // 100}"
        if number % 100 == 0:
            below.mkdir(parents=True)
        (below / f"a file with number {number}.txt").touch()
    product = [folder / "sku.xml", folder / "target_path.xml"]
    inspect(program, "new", folder / "files", "--id", "L", "--name", "Large", "--build", "1.0.0.1",
            "-o", product[0], "--targets", product[1])
    inspect(program, "plan", "--html", page, "--machine", "plans/new.json", folder / "files", *product)
    return page


class Root:
    """A private root with the programs, in which products can be installed."""
    engine = "/Engine/InstallUtility.app/Contents/MacOS/InstallUtility"

    def __init__(self, folder, build):
        self.path = pathlib.Path(folder) / "root"
        self.script = PROJECT / "Scripts/private-root"
        if subprocess.run([self.script, "make", self.path], capture_output=True).returncode != 0:
            raise NoRoot
        bundle = pathlib.Path(build) / "InstallUtility.app"
        self.call("add", bundle / "Contents/MacOS/InstallUtility", self.engine)
        subprocess.run(["cp", "-R", bundle, self.path / "Engine/"], check=True)
        self.call("add", pathlib.Path(build) / "bin/InstallInspector", "/bin/InstallInspector")
        subprocess.run(["cp", "-R", EXAMPLES, self.path / "Examples"], check=True)

    def call(self, action, *arguments):
        subprocess.run([self.script, action, self.path, *arguments], check=True, capture_output=True)

    def run(self, *command, allowed=(0,)):
        done = subprocess.run([self.script, "run", self.path, *command], capture_output=True, text=True,
                              env={**os.environ, "HOME": "/Users/anna"})
        assert done.returncode in allowed, done.stdout + done.stderr

    def install(self, product):
        folder = f"/Examples/{product}"
        self.run(self.engine, f"{folder}/files", f"{folder}/sku.xml", f"{folder}/target_path.xml")

    def status(self, name):
        self.run("/bin/InstallInspector", "status", "--html", f"/{name}", allowed=(0, 1))
        return self.path / name


def installed_examples(folder, build):
    root = Root(folder, build)
    for path in ("Applications/Adobe Premiere Pro", "Applications/Final Cut Pro.app", "Library/OFX/Plugins"):
        (root.path / path).mkdir(parents=True, exist_ok=True)
    for product in ("Common", "EmberAndInk", "Ink"):
        root.install(product)
    return root


def record(file, names):
    """A record of one product with these files in VorlaneFX."""
    files = "".join(f'<file fileName={quoteattr(name)} ref="1" build="1.0.0.1"/>' for name in names)
    file.write_text(f"""<?xml version="1.0" encoding="UTF-8"?>
<install><products><sku ID="A" name={quoteattr(names[0])} build="1.0.0.1"/></products>
<installFiles><directory fileName="VorlaneFX" ref="1">{files}</directory></installFiles></install>
""", encoding="utf-8")
    return file

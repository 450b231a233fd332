#!/usr/bin/env python3
"""Makes the pictures of Docs/images.

    Pictures.py BUILD
"""
import os
import pathlib
import shutil
import sys
import tempfile

sys.dont_write_bytecode = True  # the sources stay as they are
import Browser
import ExamplePages

WIDTH = 860


def make(build, folder):
    inspector = build / "bin/InstallInspector"
    root = ExamplePages.installed_examples(folder, build)
    os.remove(root.path / "Users/Shared/Vorlane/Content/Paper/Rough Paper.txt")
    shutil.rmtree(root.path / "Library/OFX/Plugins/Vorlane/Ink")
    pages = {
        "plan-install": (ExamplePages.plan(inspector, folder / "i.html", "EmberAndInk", "new"), "light", 840),
        "plan-danger": (ExamplePages.plan(inspector, folder / "d.html", "Ink", "suite", uninstall=True), "dark", 800),
        "status-missing": (root.status("status.html"), "light", 760),
    }
    images = ExamplePages.PROJECT / "Docs/images"
    images.mkdir(exist_ok=True)
    with Browser.Browser() as browser:
        for name, (page, scheme, height) in pages.items():
            browser.look(width=WIDTH, scheme=scheme)
            browser.open(page)
            (images / (name + ".png")).write_bytes(browser.picture(WIDTH, height))


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as work:
        make(pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(work))

#!/usr/bin/env python3
"""Opens pages of plan and status in a browser: they look as they should, and ask for nothing.

    PagesTest.py BUILD [TEST...]

Without a browser (Debian: chromium) the exit status is 77.
"""
import os
import pathlib
import re
import shutil
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True  # the sources stay as they are
import Browser
import ExamplePages

BUILD = pathlib.Path()

HOSTILE = ["<script>document.title = 'taken'</script>", "<img src=x onerror=document.title='taken'>", "</code></title>",
           "' onclick='x", '"><a href="http://example.org/">', "&lt;b&gt; &amp;", "exe\u202egpj.bat", "\u2066a\u2069",
           "two  blanks", "\u05d0\u05d1/\u05d2", "\u00a0", "e\u0301t\u00e9", "\U0001f600", "javascript:alert(1)"]

# The contrast of each text with what is behind it; those below the least that is readable.
FAINT = """(() => {
  const parse = c => c.match(/[\\d.]+/g).map(Number);
  const light = c => { const [r, g, b] = parse(c).map(v => { v /= 255;
    return v <= 0.03928 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4; }); return 0.2126 * r + 0.7152 * g + 0.0722 * b; };
  const behind = e => { for (; e; e = e.parentElement) { const c = getComputedStyle(e).backgroundColor;
    if ((parse(c)[3] ?? 1) > 0) return c; } return 'rgb(255, 255, 255)'; };
  const found = [];
  const walk = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
  for (let node; node = walk.nextNode();) {
    if (!node.textContent.trim()) continue;
    const e = node.parentElement, a = light(getComputedStyle(e).color), b = light(behind(e));
    const contrast = (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05);
    if (contrast < 4.5) found.push(e.className + ': ' + node.textContent + ': ' + contrast.toFixed(1));
  }
  return found; })()"""

# What could run or ask for something.
ACTIVE = """[...document.querySelectorAll('*')].filter(e =>
  ['SCRIPT', 'IMG', 'IFRAME', 'OBJECT', 'EMBED', 'FORM'].includes(e.tagName) ||
  [...e.attributes].some(a => a.name.startsWith('on') || a.name == 'src' || a.name == 'style' ||
    (a.name == 'href' && !/^(#|data:,$)/.test(a.value)))).map(e => e.outerHTML)"""

FOLDED = "[...document.querySelectorAll('.tree details')].filter(d => !d.open).length"


class Pages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.browser = Browser.Browser()
        cls.addClassCleanup(cls.browser.__exit__)
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="pages"))
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        cls.inspector = BUILD / "bin/InstallInspector"
        cls.install = ExamplePages.plan(cls.inspector, cls.folder / "install.html", "EmberAndInk", "new")
        # The product is not recorded there: dangerous.
        cls.danger = ExamplePages.plan(cls.inspector, cls.folder / "danger.html", "Ink", "suite", uninstall=True)

    def open(self, page, **look):
        self.browser.look(**look)
        seconds = self.browser.open(page)
        self.assertEqual(self.browser.requests(), ["file://" + str(page)])
        self.assertEqual(self.browser.complaints(), [])
        self.assertEqual(self.browser.evaluate(ACTIVE), [])
        return seconds

    def text(self, selector):
        return self.browser.evaluate(f"[...document.querySelectorAll({selector!r})].map(e => e.innerText)")

    def status_of_record(self, name, names):
        page = self.folder / (name + ".html")
        record = ExamplePages.record(self.folder / (name + ".xml"), names)
        ExamplePages.inspect(self.inspector, "status", record, "--html", page)
        return page

    def test_shows_what_happens_where_and_why(self):
        self.open(self.install)
        self.assertEqual(self.browser.evaluate("document.title"), "Plan: install Ember & Ink 5.0.120101 (EMBERINK)")
        self.assertEqual(self.text("h2"), ["In short", "Where it goes, and why", "Every file", "For support"])
        rows = [re.split(r"\s*\t\s*|\n", row) for row in self.text("tbody tr")]
        self.assertIn(["OpenFX", "Ember", "1 to copy", "/Library/OFX/Plugins/Vorlane/Ember",
                       "/Library/OFX/Plugins is a folder"], rows)
        self.assertIn(["Edius", "Ember", "no", "/Library/Application Support/Edius/Plug-ins/Vorlane/%FAMILY%",
                       "/Applications/Edius.app/Contents/Info.plist is not there"], rows)

    def test_puts_what_is_dangerous_first(self):
        self.open(self.danger)
        self.assertEqual(self.text("h2")[0], "What is dangerous")
        self.assertIn("product-not-recorded", self.text("#dangerous li")[0])
        self.assertTrue(self.browser.evaluate("document.querySelector('#dangerous').getBoundingClientRect().bottom < 800"))

    def test_folds_the_tree_and_opens_it_without_a_script(self):
        self.open(self.install)
        self.assertGreater(self.browser.evaluate(FOLDED), 10)
        height = "document.querySelector('#files').getBoundingClientRect().height"
        before = self.browser.evaluate(height)
        self.browser.evaluate("document.querySelector('.tree summary').click()")
        self.assertGreater(self.browser.evaluate(height), before)

    def test_can_be_read_light_and_dark(self):
        backgrounds = {}
        for scheme in ("light", "dark"):
            for page in (self.install, self.danger):
                self.open(page, scheme=scheme)
                self.browser.evaluate("document.querySelectorAll('details').forEach(d => d.open = true)")
                self.assertEqual(self.browser.evaluate(FAINT), [], scheme)
            backgrounds[scheme] = self.browser.evaluate("getComputedStyle(document.body).backgroundColor")
        self.assertNotEqual(backgrounds["light"], backgrounds["dark"])

    def test_can_be_printed_and_read_on_a_telephone(self):
        wider = "document.documentElement.scrollWidth - document.documentElement.clientWidth"
        self.open(self.install, width=360)
        self.assertLessEqual(self.browser.evaluate(wider), 0)
        self.open(self.install, width=720, scheme="dark", medium="print")
        self.assertEqual(self.browser.evaluate("getComputedStyle(document.body).backgroundColor"), "rgb(255, 255, 255)")
        cut = "[...document.querySelectorAll('.wide')].filter(e => e.scrollWidth > e.clientWidth).length"
        self.assertEqual(self.browser.evaluate(cut), 0)
        self.assertGreater(len(self.browser.pdf()), 10000)

    def test_can_be_heard(self):
        self.open(self.danger)
        nodes = [(node["role"]["value"], node.get("name", {}).get("value"))
                 for node in self.browser.send("Accessibility.getFullAXTree")["nodes"] if not node["ignored"]]
        roles = [role for role, _ in nodes]
        for role in ("main", "navigation", "heading", "table", "columnheader", "rowheader"):
            self.assertIn(role, roles)
        self.assertIn(("region", "What is dangerous"), nodes)
        self.assertIn(("columnheader", "Target folder"), nodes)
        self.assertEqual(self.browser.evaluate("document.documentElement.lang"), "en")
        levels = [int(level) for level in
                  self.browser.evaluate("[...document.querySelectorAll('h1, h2, h3')].map(h => h.tagName[1])")]
        self.assertEqual(levels[0], 1)
        self.assertTrue(all(b - a <= 1 for a, b in zip(levels, levels[1:])), levels)

    def test_takes_no_name_for_anything_but_a_name(self):
        page = self.status_of_record("hostile", HOSTILE)
        self.open(page)
        self.assertEqual(self.browser.evaluate("document.title"), "Installed: " + HOSTILE[0])
        shown = [name.replace("\u202e", "[U+202E]").replace("\u2066", "[U+2066]").replace("\u2069", "[U+2069]")
                 .replace("\u00a0", "[U+00A0]") for name in HOSTILE]
        names = self.browser.evaluate("[...document.querySelectorAll('.tree .leaf code')].map(e => e.textContent)")
        self.assertEqual(sorted(names), sorted(shown))

    def test_opens_ten_thousand_files_within_two_seconds(self):
        record = self.status_of_record("large", [f"a file with number {i}.txt" for i in range(10000)])
        plan = ExamplePages.large_plan(self.inspector, self.folder, self.folder / "large-plan.html")
        for page in (record, plan):
            seconds = min(self.open(page) for _ in range(2))  # the machine may be busy for a moment
            self.assertEqual(self.browser.evaluate("document.querySelectorAll('.leaf').length"), 10000)
            print(f"figures: {page.name} with 10,000 files opens in {seconds:.2f} s, {page.stat().st_size >> 10} KiB")
            self.assertLess(seconds, 2)

    def test_shows_a_machine_where_files_are_missing(self):
        try:
            root = ExamplePages.installed_examples(self.folder, BUILD)
        except ExamplePages.NoRoot:
            self.skipTest("no private root is possible here")
        self.open(root.status("good.html"))
        self.assertEqual(self.text(".verdict"), ["In order. The record and this machine agree."])
        os.remove(root.path / "Users/Shared/Vorlane/Content/Paper/Rough Paper.txt")
        self.open(root.status("bad.html"))
        self.assertEqual(self.text("h2")[0], "What is wrong, and what to do")
        self.assertIn("2 of 3", self.text("td .label.bad"))
        self.assertEqual(self.text(".leaf .label.bad"), ["missing"])  # folders with it are open


if __name__ == "__main__":
    if len(sys.argv) < 2:
        print(__doc__, file=sys.stderr)
        sys.exit(2)
    if Browser.find() is None:
        print("skipped: there is no browser (Debian: apt-get install chromium)")
        sys.exit(77)
    BUILD = pathlib.Path(sys.argv[1]).resolve()
    unittest.main(argv=sys.argv[:1] + sys.argv[2:])

# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

"""check.py DIR: fails if the pages in DIR have a dead link, a page without its title or a figure, a member
without a brief description, or a class of Qt in a header without a link to its documentation."""

import html.parser
import pathlib
import re
import sys
import urllib.parse

from pages import TREE, pages

root = pathlib.Path(sys.argv[1])
errors = []


class Html(html.parser.HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.ids, self.targets = set(), []
        self.members, self.described = set(), set()
        self.title, self.heading, self.sections = "", "", []
        self.reading = None
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attributes):
        attributes = dict(attributes)
        self.ids |= {attributes.get("id"), attributes.get("name")}
        self.targets += [attributes[a] for a in ("href", "src", "data") if attributes.get(a)]
        if tag in ("title", "h1") or attributes.get("class") == "title":
            self.reading, self.text = tag, ""
        kind, _, member = attributes.get("class", "").partition(":")
        if kind == "memitem" and member:
            self.members.add(member)
        elif kind == "memdesc":
            self.described.add(member)

    def handle_endtag(self, tag):
        if tag != self.reading:
            return
        if tag == "title":
            self.title = self.text
        elif tag == "h1":
            self.sections.append(self.text.strip())
        else:
            self.heading = self.text.strip()
        self.reading = None

    def handle_data(self, data):
        if self.reading:
            self.text += data


made = {path.name: Html(path) for path in sorted(root.glob("*.html"))}
links = 0
for name, page in made.items():
    for target in page.targets:
        if re.match(r"[a-z]+:", target):
            continue
        links += 1
        path, _, anchor = urllib.parse.unquote(target).partition("#")
        path = path or name
        if not (root / path).exists() or (anchor and path in made and anchor not in made[path].ids):
            errors.append(f"{name}: the link to {target} is dead")
    for member in sorted(page.members - page.described):
        errors.append(f"{name}: {member} has no brief description")

figures = 0
for page in pages():
    name = page.ref + ".html"
    if name not in made:
        errors.append(f"{name}: is missing; it should be made of {page.path}")
        continue
    html_page = made[name]
    if html_page.heading != page.title or not html_page.title.endswith(": " + page.title):
        errors.append(f"{name}: is titled '{html_page.heading}', not '{page.title}'")
    if page.title in html_page.sections:
        errors.append(f"{name}: has its title twice")
    for image in page.images:
        figures += 1
        if pathlib.Path(image).name not in made[name].targets:
            errors.append(f"{name}: does not show {image}")

# The classes that the documented declarations name, neither in comments nor as the names of headers. Not
# of <tamsel/testing/>, whose headers have the code of the functions too.
targets = {target for page in made.values() for target in page.targets}
tags = dict(re.findall("<name>(.*?)</name>.*<filename>(.*?)</filename>",
                       (TREE / "docs/doxygen/qtcore.tags").read_text(encoding="utf-8")))
classes = set()
for header in set((TREE / "include/tamsel").rglob("*.h")) - set((TREE / "include/tamsel/testing").glob("*")):
    code = re.sub(r"/\*! \\cond.*?\\endcond \*/|^private:.*?^};|/\*.*?\*/|//.*?$|^#.*?$", "",
                  header.read_text(encoding="utf-8"), flags=re.DOTALL | re.MULTILINE)
    classes.update(re.findall(r"\bQ[A-Z][a-z]\w+", code))
for name in sorted(classes):
    if f"https://doc.qt.io/qt-6/{tags.get(name)}" not in targets:
        errors.append(f"{name}: no page links to its documentation; is it in docs/doxygen/qtcore.tags?")

print(f"{len(made)} HTML files with {links} links inside, {figures} figures, {len(classes)} classes of Qt")
if not (links and figures and classes):
    errors.append("no links, no figures or no classes were found to check")
sys.exit("\n".join(errors) or 0)

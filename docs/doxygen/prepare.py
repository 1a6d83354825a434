# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

"""prepare.py DIR: converts the pages for Doxygen and writes them into DIR, with the menus in DIR/layout.xml.

The guides are written for readers of the source tree. In DIR each starts with its title, headings have labels, links
lead to labels, and each page links to the next. Files that they link to become pages. Line numbers stay the same.
"""

import os.path
import pathlib
import re
import shutil
import subprocess
import sys
from xml.sax.saxutils import quoteattr

from pages import HEADING, LINK, TREE, pages, slug

out = pathlib.Path(sys.argv[1])
order = pages()
by_path = {page.path: page for page in order}
files = {}  # linked from a page, with the label of the page made of each
errors = []

for guide in sorted((TREE / "docs").glob("*.md")):
    if f"docs/{guide.name}" not in by_path:
        errors.append(f"docs/{guide.name}: not in docs/doxygen/reading-order")


def resolve(page, target):
    """The label that a link on the page leads to; None if it leads out of the tree."""
    if re.match(r"[a-z]+:", target):
        return None
    name, _, anchor = target.partition("#")
    path = os.path.normpath(os.path.join(os.path.dirname(page.path), name)) if name else page.path
    if (TREE / path).is_dir():
        path += "/README.md"
    if path in by_path:
        if not anchor:
            return by_path[path].ref
        if anchor in by_path[path].anchors:
            return f"{by_path[path].label}-{anchor}"
    elif (TREE / path).is_file() and not path.endswith(".md") and not anchor:
        return files.setdefault(path, "file-" + path.replace("/", "-"))
    errors.append(f"{page.path}: the link to {target} leads to no page and no heading")
    return None


def prepared(page):
    def link(match):
        mark, text, target = match.groups()
        if target is None:
            return match[0]
        lines = "\n" * text.count("\n")
        if mark:
            return f"![{' '.join(text.split())}]({os.path.basename(target)})" + lines
        label = resolve(page, target)
        return f"[{' '.join(text.split())}](@ref {label}){lines}" if label else match[0]

    def heading(match):
        return f"{match[0]} {{#{page.label}-{slug(match[2])}}}"

    parts = list(page.parts)
    for i in range(0, len(parts), 2):
        parts[i] = LINK.sub(link, HEADING.sub(heading, parts[i]))
    text = "".join(parts).replace(f"# {page.title}\n", f"# {page.title} {{#{page.label}}}\n", 1)
    text = re.sub(r"\A<!--.*?-->", lambda licence: "\n" * licence[0].count("\n"), text, flags=re.DOTALL)

    i = order.index(page)
    steps = [f"{word} [{order[j].title}](@ref {order[j].ref})"
             for word, j in (("Previous:", i - 1), ("Next:", i + 1)) if 0 <= j < len(order)]
    return text + '\n<div class="steps">\n\n' + "\n\n".join(steps) + "\n\n</div>\n"


shutil.rmtree(out, ignore_errors=True)
for page in order:
    path = out / page.path
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(prepared(page), encoding="utf-8")
    for image in page.images:
        shutil.copy(TREE / os.path.dirname(page.path) / image, out)

(out / "files.dox").write_text("".join(f"/*! \\page {label} {path}\n * \\include {path}\n */\n"
                                       for path, label in sorted(files.items())), encoding="utf-8")

menus = '<navindex>\n<tab type="mainpage" visible="yes" title=""/>\n'
for menu in dict.fromkeys(page.menu for page in order if page.menu):
    menus += f'<tab type="usergroup" visible="yes" url="[none]" title={quoteattr(menu)}>\n'
    for page in order:
        if page.menu == menu:
            menus += f'<tab type="user" visible="yes" url="@ref {page.ref}" title={quoteattr(page.title)}/>\n'
    menus += "</tab>\n"
menus += """<tab type="usergroup" visible="yes" url="[none]" title="API">
<tab type="classlist" visible="yes" title="Classes" intro=""/>
<tab type="namespacemembers" visible="yes" title="Functions and types" intro=""/>
<tab type="classmembers" visible="yes" title="Members of classes" intro=""/>
<tab type="globals" visible="yes" title="Macros" intro=""/>
<tab type="filelist" visible="yes" title="Headers" intro=""/>
</tab>
</navindex>"""
layout = out / "layout.xml"
subprocess.run(["doxygen", "-l", layout], check=True)
default = layout.read_text(encoding="utf-8")
layout.write_text(re.sub("<navindex>.*</navindex>", lambda _: menus, default, flags=re.DOTALL),
                  encoding="utf-8")

sys.exit("\n".join(errors) or 0)

# SPDX-FileCopyrightText: 2026 The libtamsel developers
# SPDX-License-Identifier: MIT

"""The pages that reading-order lists, for prepare.py and check.py."""

import pathlib
import re
import sys

TREE = pathlib.Path(__file__).resolve().parents[2]

FENCED = re.compile(r"(^ *```.*?^ *```$)", re.DOTALL | re.MULTILINE)
# A link or an image, whose text may span several lines; or inline code, in which there are no links.
LINK = re.compile(r"(!?)\[((?:`[^`]*`|[^]`])*)\]\(([^)\s]+)\)|`[^`\n]*`")
HEADING = re.compile(r"^(##+) (.*)$", re.MULTILINE)


def slug(heading):
    """The anchor of a heading as GitHub and GitLab make it."""
    return re.sub(r"[^\w -]", "", heading.lower()).replace(" ", "-")


class Page:
    def __init__(self, path, menu):
        self.path = path
        self.menu = menu
        name = path.lower().removeprefix("docs/").removesuffix(".md").removesuffix("/readme")
        # The prefix avoids names of Doxygen's own pages, such as files.html.
        self.label = "guide-" + name.replace("/", "-") if menu else "mainpage"
        self.ref = self.label if menu else "index"
        if not (TREE / path).is_file():
            sys.exit(f"{path}: in docs/doxygen/reading-order, but not in the tree")
        text = (TREE / path).read_text(encoding="utf-8")
        title = re.search(r"^# (.*)$", text, re.MULTILINE)
        if not title:
            sys.exit(f"{path}: has no title, a line that begins with '# '")
        self.title = title[1]
        # Prose and fenced code alternate.
        self.parts = FENCED.split(text)
        self.prose = "".join(self.parts[::2])
        self.anchors = {slug(heading) for _, heading in HEADING.findall(self.prose)}
        self.images = [target for mark, _, target in LINK.findall(self.prose) if mark]


def pages():
    """The pages in reading order."""
    menu, result = "", []
    for line in (TREE / "docs/doxygen/reading-order").read_text(encoding="utf-8").splitlines():
        if line.startswith("["):
            menu = line.strip("[]")
        elif line and not line.startswith("#"):
            result.append(Page(line, menu))
    return result

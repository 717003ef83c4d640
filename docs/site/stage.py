#!/usr/bin/env python3
"""Lays out the sources of the site: the pages of docs/, what is generated, and the menu.

    docs/site/stage.py build/docs/source

Pages stay plain Markdown for any viewer; what the site needs besides is added here:

- The menu: each heading of the part "All pages" of docs/index.md is a group of pages, its list.
- `<!-- search: words -->` tells what a newcomer types to find the page.
- A link that leads out of docs/ gets a copy of its file on the site; the changelog and the guide for
  contributors are pages of it, and the tutorials become pages, with their output and pictures.
"""

import json
import pathlib
import re
import shutil
import sys

import tutorial_page
from reference import NO_PAGE

PROJECT = pathlib.Path(__file__).resolve().parents[2]
DOCS = PROJECT / "docs"
# Files outside docs/ that are pages.
PAGES_OUTSIDE = {PROJECT / "CHANGELOG.md": "changelog.md", PROJECT / "CONTRIBUTING.md": "contributing.md"}
NO_PAGES = ("site",)
LINK = re.compile(r"(!?\[[^\]]*\])\(([^)\s#]+)((?:#[^)\s]*)?)\)")
SEARCH = re.compile(r"<!--\s*search:(.*?)-->", re.DOTALL)


def pages():
    """(file, its place on the site) of every written page."""
    for path in sorted(DOCS.rglob("*.md")):
        place = path.relative_to(DOCS)
        if place.parts[0] not in NO_PAGES:
            yield path, place
    for path, place in PAGES_OUTSIDE.items():
        yield path, pathlib.Path(place)
    for path in sorted((PROJECT / "python" / "tutorials").glob("*.py")):
        yield path, pathlib.Path("tutorials") / f"{path.stem}.md"


def reference_page(file):
    """The page of the reference that a header becomes, if it does."""
    headers = PROJECT / "include" / "korrin"
    if headers in file.parents and str(file.relative_to(headers)) not in NO_PAGE:
        return f"reference/cpp/{file.stem}.md"
    return None


class Stage:
    """The directory of sources, with the links turned to it."""

    def __init__(self, out):
        self.out = out
        self.places = {path: place for path, place in pages()}
        self.words = {}

    def turn_links(self, text, path, place):
        """The text with the links of `path`, for a page at `place`."""
        up = "../" * (len(place.parts) - 1)

        def turned(match):
            label, target, anchor = match.groups()
            if re.match(r"[a-z]+:", target):
                return match.group()
            file = (path.parent / target).resolve()
            if file in self.places:
                return f"{label}({up}{self.places[file].as_posix()}{anchor})"
            if DOCS in file.parents and (file.is_file() or file.relative_to(DOCS).parts[0] == "reference"):
                return f"{label}({up}{file.relative_to(DOCS).as_posix()}{anchor})"
            page = reference_page(file)
            if page:
                return f"{label}({up}{page}{anchor})"
            if (self.out / place.parent / target).is_file():
                return match.group()
            if not file.is_file():
                raise SystemExit(f"{path.relative_to(PROJECT)}: {target} is no file")
            copied = self.out / "files" / file.relative_to(PROJECT)
            copied.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(file, copied)
            return f"{label}({up}files/{file.relative_to(PROJECT).as_posix()})"

        parts = re.split(r"(^```.*?^```\n?)", text, flags=re.MULTILINE | re.DOTALL)
        return "".join(part if part.startswith("```") else LINK.sub(turned, part) for part in parts)

    def write(self, path, place):
        text = (tutorial_page.page(path) if path.suffix == ".py" else path.read_text(encoding="utf-8"))
        words = [word for found in SEARCH.findall(text) for word in found.split()]
        if words:
            self.words[place.with_suffix("").as_posix()] = words
            keywords = ", ".join(words)
            text = f"---\nmyst:\n  html_meta:\n    keywords: {json.dumps(keywords)}\n---\n\n" + text
        if place == pathlib.Path("index.md"):
            text = with_menu(text)
        target = self.out / place
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_text(self.turn_links(text, path, place), encoding="utf-8")


def with_menu(text):
    """The first page with a menu of the groups that its part "All pages" lists."""
    body, heading, groups = text.partition("\n## All pages\n")
    out = []
    for title, listed in re.findall(r"^### (.*)\n((?:(?!### ).*\n)*)", groups, flags=re.MULTILINE):
        entries = re.findall(r"^[-*] \[[^\]]*\]\(([^)]*)\.(?:md|py)\)", listed, flags=re.MULTILINE)
        entries = [re.sub(r"^\.\./CHANGELOG$", "changelog", entry) for entry in entries]
        entries = [re.sub(r"^\.\./CONTRIBUTING$", "contributing", entry) for entry in entries]
        entries = [re.sub(r"^\.\./python/tutorials/", "tutorials/", entry) for entry in entries]
        out += ["```{toctree}", ":hidden:", f":caption: {title}", "", *entries, "```", ""]
    return body + heading + groups + "\n" + "\n".join(out)


def main(out):
    stage = Stage(out)
    for path, place in stage.places.items():
        stage.write(path, place)
    shutil.copytree(DOCS / "images", out / "images", dirs_exist_ok=True)
    (out / "search_words.json").write_text(json.dumps(stage.words), encoding="utf-8")


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]).resolve())

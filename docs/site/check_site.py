#!/usr/bin/env python3
"""Checks a built site: links within it and pictures, that no page loads anything from elsewhere, and
what its search knows.

    docs/site/check_site.py build/docs/html
"""

import html.parser
import pathlib
import re
import sys
import urllib.parse

LOADED_BY_STYLE = re.compile(r"(?:@import\s+|url\(|importScripts\()[\"']?((?:https?:)?//[^\"')]+)")
OF_STYLE = re.compile(r"url\([\"']?([^\"')]+)[\"']?\)")


class Page(html.parser.HTMLParser):
    """The anchors of a page and what it refers to."""

    def __init__(self, path):
        super().__init__()
        self.anchors = set()
        self.references = []
        self.loaded = []
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name in ("id", "name"):
                self.anchors.add(value)
            elif name in ("href", "src") or (tag, name) == ("object", "data"):
                self.references.append(value or "")
                if tag != "a" and dict(attributes).get("rel") not in ("canonical", "alternate"):
                    self.loaded.append(value or "")


def broken(site, pages):
    """(page, reference) of everything that leads nowhere."""
    for path, page in pages.items():
        for reference in page.references:
            parts = urllib.parse.urlsplit(reference)
            if parts.scheme or parts.netloc:
                continue
            target = (path.parent / urllib.parse.unquote(parts.path)) if parts.path else path
            target = target.resolve()
            known = pages.get(target)
            if not target.is_file() or (parts.fragment and known and
                                        urllib.parse.unquote(parts.fragment) not in known.anchors):
                yield path.relative_to(site), reference


def missing_of_styles(site):
    """(sheet, reference) of every file that a sheet of styles names and the site does not have."""
    for path in site.rglob("*.css"):
        for reference in OF_STYLE.findall(path.read_text(encoding="utf-8")):
            file = urllib.parse.urlsplit(reference).path
            if not reference.startswith(("data:", "#")) and (
                    file.startswith("/") or not (path.parent / file).is_file()):
                yield path.relative_to(site), reference


def from_elsewhere(site, pages):
    """(page, reference) of everything that opening a page would load from another place."""
    for path, page in pages.items():
        for reference in page.loaded:
            if urllib.parse.urlsplit(reference).netloc:
                yield path.relative_to(site), reference
    for path in [*site.rglob("*.css"), *site.rglob("*.js")]:
        for reference in LOADED_BY_STYLE.findall(path.read_text(encoding="utf-8", errors="replace")):
            yield path.relative_to(site), reference


def main(site):
    pages = {path.resolve(): Page(path) for path in site.rglob("*.html")}
    faults = [f"{page}: {reference} leads nowhere" for page, reference in broken(site, pages)]
    faults += [f"{sheet}: {reference} is no file" for sheet, reference in missing_of_styles(site)]
    faults += [f"{page}: {reference} would be loaded from elsewhere"
               for page, reference in from_elsewhere(site, pages)]
    found = (site / "searchindex.js").read_text(encoding="utf-8")
    faults += [f"the search does not know {name}"
               for name in ("OccMapPathFinder", "find_scan_holes", "Changelog") if name not in found]
    print("\n".join(faults) or
          f"{len(pages)} pages, {sum(len(page.references) for page in pages.values())} links")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1]).resolve()))

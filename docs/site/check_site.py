#!/usr/bin/env python3
"""Checks a built site: links within it, pictures, the menu, and what its search knows.

    docs/site/check_site.py build/docs/html
"""

import html.parser
import pathlib
import re
import sys
import urllib.parse


class Page(html.parser.HTMLParser):
    """The anchors of a page and what it refers to."""

    def __init__(self, path):
        super().__init__()
        self.anchors = set()
        self.references = []
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name in ("id", "name"):
                self.anchors.add(value)
            elif name in ("href", "src") or (tag, name) == ("object", "data"):
                self.references.append(value or "")


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
    for url in re.findall(r'url:"([^"#]*)', (site / "menudata.js").read_text(encoding="utf-8")):
        if not (site / url).is_file():
            yield "menudata.js", url


def main(site):
    pages = {path.resolve(): Page(path) for path in site.rglob("*.html")}
    faults = [f"{page}: {reference} leads nowhere" for page, reference in broken(site, pages)]
    found = "".join(path.read_text(encoding="utf-8") for path in (site / "search").glob("*.js"))
    faults += [f"the search does not know {name}"
               for name in ("OccMapPathFinder", "findScanHoles", "Recipes") if name not in found]
    print("\n".join(faults) or
          f"{len(pages)} pages, {sum(len(page.references) for page in pages.values())} links")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1]).resolve()))

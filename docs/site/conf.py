"""The documentation site, built by scripts/docs from build/docs/source."""

import json
import os
import pathlib
import re
import sys

SITE = pathlib.Path(__file__).resolve().parent
PROJECT = SITE.parents[1]
sys.path.insert(0, str(SITE))

project = "korrin"
author = "the authors of korrin"
copyright = author  # noqa: A001
release = version = re.search(r"project\(korrin VERSION ([0-9.]+)",
                              (PROJECT / "CMakeLists.txt").read_text(encoding="utf-8")).group(1)

extensions = [
    "breathe",
    "myst_parser",
    "sphinx.ext.autodoc",
    "sphinx_copybutton",
    "sphinx_inline_tabs",
    "tabs",
    "names",
    "python_names",
    "theme",
]
# Neither of both languages is the one that is meant where none is named.
primary_domain = None
highlight_language = "none"
default_role = "literal"
exclude_patterns = ["files"]
nitpicky = False
myst_heading_anchors = 4
suppress_warnings = []

breathe_projects = {"korrin": str(PROJECT / "build" / "docs" / "xml")}
breathe_default_project = "korrin"
breathe_order_parameters_first = False

autodoc_member_order = "bysource"
autodoc_typehints = "signature"
add_module_names = False

html_theme = "furo"
html_title = f"korrin {version}"
html_static_path = [str(SITE / "static")]
html_css_files = ["korrin.css"]
html_copy_source = False
html_show_sphinx = False
html_show_copyright = False
html_theme_options = {
    "light_css_variables": {
        "color-brand-primary": "#9a4d00",
        "color-brand-content": "#9a4d00",
        "color-admonition-background": "#faf6f1",
    },
    # The theme of Debian 12 has these for those alone who choose dark by hand; here they hold for
    # readers whose system is dark, too.
    "dark_css_variables": {
        "color-problematic": "#ee5151",
        "color-foreground-primary": "#ffffffcc",
        "color-foreground-secondary": "#9ca0a5",
        "color-foreground-muted": "#81868d",
        "color-foreground-border": "#666666",
        "color-background-primary": "#131416",
        "color-background-secondary": "#1a1c1e",
        "color-background-hover": "#1e2124ff",
        "color-background-hover--transparent": "#1e212400",
        "color-background-border": "#303335",
        "color-background-item": "#444",
        "color-announcement-background": "#000000dd",
        "color-announcement-text": "#eeebee",
        "color-highlighted-background": "#083563",
        "color-guilabel-background": "#08356380",
        "color-guilabel-border": "#13395f80",
        "color-api-keyword": "var(--color-foreground-secondary)",
        "color-highlight-on-target": "#333300",
        "color-admonition-background": "#18181a",
        "color-card-border": "var(--color-background-secondary)",
        "color-card-background": "#18181a",
        "color-card-marginals-background": "var(--color-background-hover)",
        "color-brand-primary": "#f0a35e",
        "color-brand-content": "#f0a35e",
    },
    "navigation_with_keys": True,
}
html_search_scorer = str(PROJECT / "build" / "docs" / "scorer.js")

# The search prefers the pages that answer: those whose `<!-- search: ... -->` has the word.
_WORDS = json.loads((PROJECT / "build/docs/source/search_words.json").read_text(encoding="utf-8"))
pathlib.Path(html_search_scorer).write_text(
    (SITE / "scorer.js").read_text(encoding="utf-8").replace("{/* words */}", json.dumps(_WORDS)),
    encoding="utf-8")

os.environ.setdefault("KORRIN_DOCS", "1")

"""Makes the theme as Debian packages it whole: its script imports another, which a page opened from a
file may not, and its styles take one from the root of a web server. Both are put in their place.
"""

import pathlib
import re

IMPORT = re.compile(r'^import .* from "\./gumshoe-patched\.js";\n', re.MULTILINE)
AS_MODULE = re.compile(r'<script type="module"(?= src="[^"]*/furo\.js)')
SERVED = re.compile(r"@import url\((/javascript/[^)]+)\);")


def make_whole(app, exception):
    static = pathlib.Path(app.outdir) / "_static"
    script = static / "scripts" / "furo.js"
    if exception or not script.is_file():
        return
    text = script.read_text(encoding="utf-8")
    if IMPORT.search(text):
        imported = script.with_name("gumshoe-patched.js").read_text(encoding="utf-8")
        script.write_text(imported + IMPORT.sub("", text), encoding="utf-8")
        for page in pathlib.Path(app.outdir).rglob("*.html"):
            text = page.read_text(encoding="utf-8")
            page.write_text(AS_MODULE.sub("<script defer", text), encoding="utf-8")
    for sheet in (static / "styles").glob("*.css"):
        sheet.write_text(SERVED.sub(with_file, sheet.read_text(encoding="utf-8")), encoding="utf-8")


def with_file(match):
    """The text of the sheet that is imported from a server's root."""
    return pathlib.Path("/usr/share" + match.group(1)).read_text(encoding="utf-8")


def setup(app):
    app.connect("build-finished", make_whole)
    return {"parallel_read_safe": True, "version": "1"}

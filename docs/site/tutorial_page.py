#!/usr/bin/env python3
"""Prints a tutorial (a script in cells, `# %%`) as a page: its words as text, its code as code.

    docs/site/tutorial_page.py python/tutorials/where_am_i.py
"""

import pathlib
import re
import sys


def page(path):
    cells = re.split(r"^# %%(.*)\n", path.read_text(encoding="utf-8"), flags=re.MULTILINE)
    out = []
    for kind, text in zip(cells[1::2], cells[2::2]):
        if kind.strip() == "[markdown]":
            out.append(re.sub(r"^# ?", "", text, flags=re.MULTILINE).strip())
        else:
            out.append(f"```{{.py}}\n{text.strip()}\n```")
    title, _, rest = "\n\n".join(out).partition("\n")
    return f"{title} {{#{path.stem}}}\n\nThe script is `{path}`; the tests run it.\n{rest}\n"


if __name__ == "__main__":
    print(page(pathlib.Path(sys.argv[1])), end="")

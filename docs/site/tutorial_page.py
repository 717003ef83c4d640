#!/usr/bin/env python3
"""Prints a tutorial (a script in cells, `# %%`) as a page: its words as text, its code as code, and
below each cell what it printed and the pictures it left, all from running it.

    docs/site/tutorial_page.py python/tutorials/where_am_i.py PICTURES
"""

import contextlib
import io
import pathlib
import re
import sys

PICTURES = pathlib.Path("build/docs/source/tutorials")


def cells(path):
    """(is text, content) of each cell of a tutorial."""
    parts = re.split(r"^# %%(.*)\n", path.read_text(encoding="utf-8"), flags=re.MULTILINE)
    for kind, content in zip(parts[1::2], parts[2::2]):
        if kind.strip() == "[markdown]":
            yield True, re.sub(r"^# ?", "", content, flags=re.MULTILINE).strip()
        else:
            yield False, content.strip()


def run(code, names, pictures):
    """What a cell prints, and the pictures that are new."""
    before = {path: path.stat().st_mtime_ns for path in pictures.glob("*.png")}
    printed = io.StringIO()
    with contextlib.redirect_stdout(printed):
        exec(compile(code, names["__file__"], "exec"), names)  # noqa: S102
    new = [path for path in sorted(pictures.glob("*.png"))
           if before.get(path) != path.stat().st_mtime_ns]
    return printed.getvalue(), new


def page(path, pictures=PICTURES):
    pictures = pictures / path.stem
    pictures.mkdir(parents=True, exist_ok=True)
    names = {"__name__": "__main__", "__file__": str(path)}
    arguments, sys.argv = sys.argv, [str(path), str(pictures)]
    out = []
    for is_text, content in cells(path):
        if is_text:
            out.append(content)
            continue
        out.append(f"```python\n{content}\n```")
        printed, new = run(content, names, pictures)
        out += [f"```text\n{printed.rstrip()}\n```"] if printed else []
        out += [f"![What the cell drew]({path.stem}/{picture.name})" for picture in new]
    sys.argv = arguments
    title, _, rest = "\n\n".join(out).partition("\n")
    link = f"[python/tutorials/{path.name}]({path.name})"
    return f"{title}\n\nThe script is {link}; the tests run it.\n{rest}\n"


if __name__ == "__main__":
    print(page(pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2])), end="")

"""The blocks of code of a page of Markdown, and how they are run.

What stands on a page is what is run, in the order of the page, in a scratch directory that all
blocks of the page share (with a copy of examples/'s maps):

- ```cpp  A block with `main` is a program. All others of a page are the parts of one more program, in
          order, each in the middle of the same `main`.
- ```python  The blocks of a page share one namespace. A block of `>>>` is a doctest.
- ```sh   Commands, with the built program, module and libraries as if they were installed. Lines that
          install or build the project itself are of a kind of their own: other tests run them, and
          here it is checked that they do (see COVERED).
- ```cmake  The middle of a CMakeLists.txt, which must find what it asks for and link.
- ```text  What has been printed since the text before: by C++ and Python alike; or, right after
          commands, by these. A line `...` stands for any lines.

A block below a link to a file of examples/ is a part of that example, and what is printed is a part of
what the example prints. Code in a comment `<!-- set-up ... -->` is run, too, but not shown: in C++ it
stands outside `main`.
"""

import re
from dataclasses import dataclass

FENCE = re.compile(r"^(\s*)(`{3,})\s*([\w+-]*)\s*$")
EXAMPLE = re.compile(r"\]\((?:\.\./)*examples/([\w.]+\.(?:cpp|py))\)")
KINDS = ("cpp", "python", "sh", "cmake", "text")


@dataclass
class Block:
    """A block of code as it stands on a page."""

    kind: str
    text: str
    line: int  # of its first line of text, from 1
    is_hidden: bool = False
    example: str = ""  # the file of examples/ that it is a part of
    has_label: bool = False  # it is a tab


class PageFault(Exception):
    """What is wrong with a page; the message names page and line."""


def blocks(page, text):
    """The blocks of a page in order."""
    lines = text.split("\n")
    found, at, is_hidden, before = [], 0, False, []
    while at < len(lines):
        line = lines[at]
        match = FENCE.match(line)
        if not match:
            is_hidden = hidden_after(line, is_hidden)
            if line.startswith("    ") and not (before and before[-1].strip()) and not in_list(lines, at):
                raise PageFault(f"{page}:{at + 1}: code by indentation; give it a fence and a language")
            before.append(line)
            at += 1
            continue
        end = closing(page, lines, at, match.group(2))
        kind = match.group(3)
        if kind not in KINDS:
            raise PageFault(f"{page}:{at + 1}: a block of {kind or 'no language'}; known are "
                            + ", ".join(KINDS))
        above = [text for text in before if text.strip()]
        last = above[-1].strip() if above else ""
        example = EXAMPLE.search(last)
        code = "\n".join(line[len(match.group(1)):] for line in lines[at + 1:end])
        found.append(Block(kind, code + "\n" if code else "", at + 2, is_hidden,
                           example.group(1) if example and kind != "text" else "",
                           last in ("**C++**", "**Python**", "**Program**")))
        before = []
        at = end + 1
    return found


def hidden_after(line, is_hidden):
    """Whether what follows a line stands in a comment of set-up."""
    if "<!-- set-up" in line:
        is_hidden = True
    return is_hidden and "-->" not in line


def in_list(lines, at):
    """Whether an indented line continues a list."""
    while at > 0 and (lines[at].startswith("  ") or not lines[at].strip()):
        at -= 1
    return re.match(r"\s*([-*]|\d+\.) ", lines[at]) is not None


def closing(page, lines, at, fence):
    """The line of the fence that closes the one at `at`."""
    for end in range(at + 1, len(lines)):
        if lines[end].strip() == fence:
            return end
    raise PageFault(f"{page}:{at + 1}: a block without an end")


def agrees(expected, printed):
    """Whether a text is what was printed; a line `...` stands for any lines."""
    pattern = "".join(r"(?:.*\n)*?" if line.strip() == "..." else re.escape(line.rstrip()) + r"[ \t]*\n"
                      for line in expected.rstrip("\n").split("\n"))
    return re.fullmatch(pattern, printed.rstrip("\n") + "\n") is not None


def contains(whole, part):
    """Whether a text stands in another, whatever its indentation."""
    def squeeze(text):
        return [line.strip() for line in text.strip("\n").split("\n")]

    lines, wanted = squeeze(whole), squeeze(part)
    return any(lines[at:at + len(wanted)] == wanted for at in range(len(lines) - len(wanted) + 1))


def is_program(block):
    return block.kind == "cpp" and re.search(r"^int main\(", block.text, flags=re.MULTILINE) is not None


MARK = "\x1e"


def joined_program(page, parts):
    """One program of the parts of a page; it prints MARK behind what each shown part prints."""
    includes, outside, inside = [], [], []
    for part in parts:
        code = []
        for line in part.text.split("\n"):
            (includes if line.startswith("#include") else code).append(line)
        place = f'#line {part.line} "{page}"\n'
        if part.is_hidden:
            outside.append(place + "\n".join(code))
        else:
            inside.append(place + "\n".join(code) + f"\nstd::cout << '\\x1e' << std::flush;")
    standard = ["#include <iostream>", "#include <korrin/io/io.hpp>", "#include <korrin/korrin.hpp>",
                "#include <korrin/mapping/mapping.hpp>"]
    return "\n".join([*dict.fromkeys(standard + includes), *outside, "int main() {", *inside, "}", ""])

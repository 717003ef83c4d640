#!/usr/bin/env python3
"""Prints a header as Doxygen wants it: our plain // comments become documentation comments.

    docs/site/filter.py include/korrin/obstacle_dilater.hpp

The first comment of a header describes the header. A comment right above declarations describes
each of them, up to the next blank line; one behind a declaration describes that. A comment with a
blank line below it opens a section. Indented lines keep their layout, unless they are a list.
"""

import re
import sys

COMMENT = re.compile(r"(\s*)// ?(.*)")
BEHIND = re.compile(r"(\s*[^\s/}#].*[;,{\w])\s+// (.*)")
LIST_ITEM = re.compile(r"\s*(-|\d+\.) ")
# Lines of a chunk of declarations that open none, or none that wants words of its own.
NO_DECLARATION = re.compile(r"\s*(}|#|(virtual )?~)|.*= delete;")
TYPE = re.compile(r"\s*(struct|class|enum)\b")
END_OF_SECTION = re.compile(r"(private:|struct|class|}  // namespace|};)")


def layout(lines, indented_as):
    """The text of a comment; indented paragraphs, unless they are lists, set off by commands."""
    begin, end = indented_as
    out, paragraph = [], []
    for line in lines + [""]:
        if line:
            paragraph.append(line)
            continue
        out += lay_out_paragraph(paragraph, begin, end) + [""]
        paragraph = []
    return join_blocks(out[:-1], begin, end)


def lay_out_paragraph(paragraph, begin, end):
    out, block, in_list = [], [], False
    for line in paragraph:
        in_list = (in_list and line.startswith("  ")) or LIST_ITEM.match(line) is not None
        if line.startswith("  ") and not in_list:
            block.append(line)
            continue
        out += ([begin] + block + [end] if block else []) + [line]
        block = []
    return out + ([begin] + block + [end] if block else [])


def join_blocks(lines, begin, end):
    """Two indented paragraphs in a row are one."""
    return re.sub(f"\n{re.escape(end)}\n\n{re.escape(begin)}\n", "\n\n", "\n".join(lines))


def documentation(text, indent=""):
    """A comment without marks at the beginnings of lines, which Doxygen would leave in verbatim text."""
    lines = text.split("\n")
    return "\n".join([f"{indent}/** {lines[0]}", *lines[1:], f"{indent}*/"])


def take(lines, at, matches):
    """The index behind the lines from `at` on that match."""
    while at < len(lines) and matches(lines[at]):
        at += 1
    return at


def describe(chunk, doc):
    """The lines of a chunk with `doc` above every declaration in it."""
    indent = re.match(r"\s*", chunk[0]).group()
    text = documentation(doc, indent)
    if TYPE.match(chunk[0]):
        return [text] + [trailing(line) for line in chunk]
    out = []
    for at, line in enumerate(chunk):
        opens = re.match(rf"{indent}\S", line) and not (at > 0 and "template" in chunk[at - 1])
        if opens and not NO_DECLARATION.match(line):
            out.append(text)
        out.append(trailing(line))
    return out


def trailing(line):
    match = BEHIND.fullmatch(line)
    return f"{match.group(1)}  ///< {match.group(2)}" if match else line


def join_continued(lines):
    """Remarks behind declarations that go on below, in the same column, as one line each."""
    out = []
    for line in lines:
        goes_on = re.fullmatch(r"(\s+)// (.*)", line)
        behind = BEHIND.fullmatch(out[-1]) if out else None
        if goes_on and behind and behind.start(2) - len("// ") == len(goes_on.group(1)):
            out[-1] += " " + goes_on.group(2)
        else:
            out.append(line)
    return out


def convert(lines):
    out, at, in_section = [], 0, False
    is_comment = lambda line: COMMENT.fullmatch(line) is not None
    while at < len(lines):
        line = lines[at]
        if in_section and END_OF_SECTION.match(line.strip()):
            out.append("/** @} */")
            in_section = False
        if not is_comment(line):
            out.append(trailing(line))
            at += 1
            continue
        begin, at = at, take(lines, at, is_comment)
        comment = [COMMENT.fullmatch(text).group(2) for text in lines[begin:at]]
        if begin == 0:
            out.append(documentation("\\file\n" + layout(comment, ("\\code{.cpp}", "\\endcode"))))
        elif not lines[at].strip():
            title, _, rest = " ".join(comment).partition(": ")
            out += ["/** @} */"] if in_section else []
            out += [documentation(f"\\name {title.rstrip('.')}\n{rest}"), "/** @{ */"]
            in_section = True
        else:
            behind = take(lines, at, lambda text: text.strip() and not is_comment(text))
            out += describe(lines[at:behind], layout(comment, ("\\verbatim", "\\endverbatim")))
            at = behind
    return out


if __name__ == "__main__":
    with open(sys.argv[1], encoding="utf-8") as header:
        print("\n".join(convert(join_continued(header.read().split("\n")))))

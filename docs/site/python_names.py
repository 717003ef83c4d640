"""What autodoc shows of the Python module: signatures as the stubs have them, and docstrings as
plain text with examples, without what the binding adds for each overload.
"""

import ast
import pathlib
import re

from docutils import nodes

STUBS = pathlib.Path(__file__).resolve().parents[2] / "python" / "korrin" / "__init__.pyi"
OVERLOAD = re.compile(r"^\d+\. (\w+)\(.*\)( -> .*)?$")


def signatures(path=STUBS):
    """The signatures (arguments, result) by dotted name, all overloads in order."""
    found = {}

    def visit(body, prefix):
        for node in body:
            if isinstance(node, ast.ClassDef):
                visit(node.body, f"{prefix}{node.name}.")
            elif isinstance(node, ast.FunctionDef):
                found.setdefault(prefix + node.name, []).append(signature(node))

    visit(ast.parse(path.read_text(encoding="utf-8")).body, "")
    return found


def signature(node):
    arguments = re.sub(r"^self(: \w+)?(, )?", "", ast.unparse(node.args))
    arguments = re.sub(r"^/, ", "", arguments)
    return f"({arguments})", ast.unparse(node.returns) if node.returns else None


SIGNATURES = signatures()


def short(name):
    return re.sub(r"^korrin\.(_korrin\.)?", "", name)


def process_signature(app, what, name, thing, options, arguments, result):
    known = SIGNATURES.get(short(name) + (".__init__" if what == "class" else ""))
    if not known:
        return None
    return known[0][0], None if what == "class" else known[0][1]


def process_docstring(app, what, name, thing, options, lines):
    if any(line.startswith("Members:") for line in lines):
        del lines[next(at for at, line in enumerate(lines) if line.startswith("Members:")):]
    if "Overloaded function." in [line.strip() for line in lines]:
        lines[:] = overloads(lines, SIGNATURES.get(short(name), []))
    lines[:] = [line.rstrip() for line in lines]


def overloads(lines, known):
    """The docstring of each overload under the call it belongs to."""
    out, count = [], 0
    for line in lines:
        if line.strip() == "Overloaded function.":
            continue
        match = OVERLOAD.match(line)
        if not match:
            out.append(line)
            continue
        arguments, result = known[count] if count < len(known) else ("(...)", None)
        count += 1
        call = f"{match.group(1)}{arguments}" + (f" -> {result}" if result else "")
        out += ["", f"**Call {count}:** ``{call}``", ""]
    return out


def colour_examples(app, doctree):
    for node in doctree.findall(nodes.doctest_block):
        node["language"] = "pycon"


def setup(app):
    app.connect("doctree-read", colour_examples)
    app.connect("autodoc-process-signature", process_signature)
    app.connect("autodoc-process-docstring", process_docstring)
    return {"parallel_read_safe": True, "version": "1"}

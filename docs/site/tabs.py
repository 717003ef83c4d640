"""Tabs from plain Markdown: paragraphs that are nothing but **C++**, **Python** or **Program**, each
with blocks of code below it, become the tabs of one container when two or more follow each other.
"""

from docutils import nodes
from sphinx.transforms import SphinxTransform
from sphinx_inline_tabs._impl import TabContainer

LABELS = ("C++", "Python", "Program")


def label_of(node):
    """The label that a paragraph is, or None."""
    if not isinstance(node, nodes.paragraph):
        return None
    # The parser may leave empty text around.
    filled = [child for child in node.children if child.astext()]
    if len(filled) != 1 or not isinstance(filled[0], nodes.strong):
        return None
    text = filled[0].astext()
    return text if text in LABELS else None


class Tabs(SphinxTransform):
    default_priority = 300

    def apply(self, **kwargs):
        for parent in {id(node.parent): node.parent for node in self.document.findall(nodes.paragraph)
                       if label_of(node)}.values():
            self.gather(parent)

    def gather(self, parent):
        children, out, run = parent.children, [], []

        def close():
            if len(run) > 1:
                out.extend(container(*tab, is_first=at == 0) for at, tab in enumerate(run))
            else:
                for paragraph, contents in run:
                    out.extend([paragraph, *contents])
            run.clear()

        for child in children:
            if label_of(child):
                if any(label_of(paragraph) == label_of(child) for paragraph, _ in run):
                    close()
                run.append((child, []))
            elif run and isinstance(child, (nodes.literal_block, nodes.comment)):
                run[-1][1].append(child)
            else:
                close()
                out.append(child)
        close()
        parent.children = []
        parent.extend(out)


def container(paragraph, contents, is_first):
    """What sphinx_inline_tabs makes of a `tab` directive."""
    outer = TabContainer("", type="tab", new_set=is_first)
    outer += nodes.label("", "", nodes.Text(label_of(paragraph)))
    inner = nodes.container("", is_div=True, classes=["tab-content"])
    inner += contents
    outer += inner
    return outer


def setup(app):
    app.add_transform(Tabs)
    return {"parallel_read_safe": True, "version": "1"}

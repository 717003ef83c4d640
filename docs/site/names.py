"""Names of the library in `code` become links to where the reference explains them."""

from docutils import nodes
from sphinx.util.nodes import make_refnode


def targets(env):
    """(page, anchor) by every way in which a name is written; None where two things have it."""
    found = {}

    def enter(name, place):
        found[name] = place if found.get(name, place) == place else None

    for domain in ("cpp", "py"):
        for full, _, kind, page, anchor, _ in env.get_domain(domain).get_objects():
            if kind in ("functionParam", "templateParam", "enumerator", "member", "attribute"):
                continue
            place = (page, anchor)
            if full.startswith("Brin::"):
                parts = full.split("(")[0].split("::")[1:]
                if parts[:1] == ["io"]:
                    enter("::".join(parts), place)
                    parts = parts[1:]
                enter("Brin::" + "::".join(parts), place)
                enter("::".join(parts), place)
            elif full.startswith("korrin."):
                enter(full, place)
                enter(full.partition(".")[2], place)
    return {name: place for name, place in found.items() if place}


def link_names(app, doctree, page):
    env = app.env
    if not hasattr(env, "korrin_names"):
        env.korrin_names = targets(env)
    for node in list(doctree.findall(nodes.literal)):
        if isinstance(node.parent, nodes.reference) or any(
                isinstance(parent, nodes.title) for parent in ancestors(node)):
            continue
        place = env.korrin_names.get(node.astext().removesuffix("()"))
        if place and place[0] != page:
            reference = make_refnode(app.builder, page, place[0], place[1], [node.deepcopy()])
            node.replace_self(reference)


def ancestors(node):
    while node.parent is not None:
        node = node.parent
        yield node


def setup(app):
    app.connect("doctree-resolved", link_names)
    return {"parallel_read_safe": True, "version": "1"}

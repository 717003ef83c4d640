#!/usr/bin/env python3
"""Makes the pages of the reference from Doxygen's XML, the headers' first comments and the stubs.

    docs/site/reference.py build/docs/xml build/docs/source/reference

A page of a header opens with what it is for, its short use and its main call: the last call of the
use that is a member of the header's class. Classes come next, with their sections in this order:
the main call, making one, what the header itself sets apart, other calls, and last, under "Steps and
state", calls named `x...` and, but for plain structs, public data. The page of the same name in
`python/` has what the Python module makes of the header.
"""

import copy
import pathlib
import re
import sys
import xml.etree.ElementTree as xml

from filter import COMMENT, LIST_ITEM

PROJECT = pathlib.Path(__file__).resolve().parents[2]
HEADERS = PROJECT / "include" / "korrin"
NO_PAGE = {"core/export.hpp", "korrin.hpp", "io/io.hpp", "mapping/mapping.hpp"}
STEPS = "Steps and state"
# Main calls with which the short use does not end.
MAIN_CALLS = {"OccupancyMapper": "updateMap", "PreparedMap": "occMapSimulateScan"}
ENDS_WITH_STEPS = ("the steps of", "what works below")


def header_comment(path):
    """The paragraphs of a header's first comment, each a list of lines."""
    lines = path.read_text(encoding="utf-8").split("\n")
    paragraphs = [[]]
    for line in lines:
        match = COMMENT.fullmatch(line)
        if not match:
            break
        if match.group(2).strip():
            paragraphs[-1].append(match.group(2))
        else:
            paragraphs.append([])
    return [paragraph for paragraph in paragraphs if paragraph]


def markdown(paragraphs):
    """The paragraphs as Markdown: indented ones that are no lists become blocks of code."""
    out, block, in_list = [], [], False

    def close():
        if block:
            language = "cpp" if re.search(r"Brin::|\);", "".join(block)) else "none"
            indent = min(len(line) - len(line.lstrip()) for line in block if line)
            out.extend([f"```{language}", *(line[indent:] for line in block), "```", ""])
            block.clear()

    for paragraph in paragraphs:
        starts_list = LIST_ITEM.match(paragraph[0]) is not None
        in_list = starts_list or (in_list and paragraph[0].startswith("  "))
        if paragraph[0].startswith("  ") and not in_list:
            block += ([""] if block else []) + paragraph
            continue
        close()
        for line in paragraph:
            is_code = line.startswith("  ") and not in_list and not LIST_ITEM.match(line)
            if LIST_ITEM.match(line) and not in_list:
                in_list = True
                out.append("")
            if is_code:
                block.append(line)
            else:
                close()
                out.append(line[2:] if in_list and line.startswith("  ") else line)
        out.append("")
    close()
    return "\n".join(out).strip() + "\n"


def opening(paragraphs):
    """(what it is for and its short use, all the rest)."""
    for at, paragraph in enumerate(paragraphs[:3]):
        if at and paragraph[0].startswith("  ") and not LIST_ITEM.match(paragraph[0]):
            end = at + 1
            while end < len(paragraphs) and paragraphs[end][0].startswith("  ") and not LIST_ITEM.match(
                    paragraphs[end][0]):
                end += 1
            return paragraphs[:end], paragraphs[end:]
    return paragraphs[:1], paragraphs[1:]


def name_of(member):
    return member.findtext("name")


class Reference:
    """What Doxygen found, by header."""

    def __init__(self, directory):
        self.directory = directory
        self.members = {}
        self.trees = {}
        for path in sorted(directory.glob("*.xml")):
            if path.stem in ("index", "Doxyfile"):
                continue
            tree = xml.parse(path)
            for member in tree.iter("memberdef"):
                self.members.setdefault(member.get("id"), member)
            compound = tree.getroot().find("compounddef")
            if compound is not None:
                self.trees[path] = tree

    def compounds(self, *kinds):
        for path, tree in self.trees.items():
            compound = tree.getroot().find("compounddef")
            if compound.get("kind") in kinds:
                yield path, tree, compound

    def classes_of(self, header):
        """The outer classes of a header, in its order."""
        found = [compound for _, _, compound in self.compounds("class", "struct")
                 if compound.find("location").get("file").endswith(f"korrin/{header}")]
        found.sort(key=lambda compound: int(compound.find("location").get("line")))
        names = {compound.findtext("compoundname") for compound in found}
        return [compound for compound in found
                if compound.findtext("compoundname").rpartition("::")[0] not in names]

    def loose_of(self, header):
        """Functions, variables, types and macros outside classes, in the header's order."""
        inside = {member.get("id") for _, _, compound in self.compounds("class", "struct")
                  for member in compound.iter("memberdef")}
        found = [member for id_, member in self.members.items()
                 if id_ not in inside and member.find("location") is not None
                 and member.find("location").get("file").endswith(f"korrin/{header}")
                 and member.get("kind") != "define" and not name_of(member).startswith("hash")]
        return sorted(found, key=lambda member: int(member.find("location").get("line")))


def main_call(use, compound):
    """The member of the class that the short use ends with."""
    names = {name_of(member) for member in compound.iter("memberdef")
             if member.get("kind") == "function"}
    name = compound.findtext("compoundname").rpartition("::")[2]
    if MAIN_CALLS.get(name) in names:
        return MAIN_CALLS[name]
    called = [name for name in re.findall(r"(?:\.|->|::)(\w+)\(", use) if name in names]
    return called[-1] if called else None


def section_of(member, title, compound, main):
    """(order, title) of the section in which a member of a class stands."""
    name, kind = name_of(member), member.get("kind")
    class_name = compound.findtext("compoundname").rpartition("::")[2]
    if name == main:
        return 0, "Main call"
    if re.match(r"x[A-Z]", name) or (title or "").lower().startswith(ENDS_WITH_STEPS):
        return 9, STEPS
    if kind == "variable":
        return (1, "Fields") if compound.get("kind") == "struct" else (9, STEPS)
    if kind in ("enum", "typedef"):
        return 3, "Types"
    if name in (class_name, f"~{class_name}", "operator="):
        return 2, "Making one"
    return (4, title) if title else (5, "Calls")


def regroup(compound, main):
    """Puts the members of a class into the sections of its page."""
    sections = {}
    order = 0
    for section in compound.findall("sectiondef"):
        for member in section.findall("memberdef"):
            order += 1
            key = section_of(member, section.findtext("header"), compound, main)
            sections.setdefault(key, []).append(member)
        compound.remove(section)
    place = next((at for at, child in enumerate(compound)
                  if child.tag in ("briefdescription", "detaileddescription")), len(compound))
    # Steps that are calls come before the data they work on.
    for at, key in enumerate(sorted(sections, key=lambda key: key[0])):
        # Of overloads, the one on the world's poses is what most look for.
        members = sorted(sections[key], key=lambda member: (
            key[1] == STEPS and member.get("kind") == "variable",
            key[1] == "Main call" and "Pose2Di" in member.findtext("argsstring")))
        compound.insert(place + at, section_element(key[1], members))


def section_element(title, members):
    section = xml.Element("sectiondef", kind="user-defined")
    xml.SubElement(section, "header").text = title
    section.extend(members)
    return section


def loose_sections(members):
    """Functions first, then their steps, then the rest."""
    titles = {"function": "Calls", "variable": "Values", "typedef": "Types", "enum": "Types"}
    sections = {}
    for member in members:
        is_step = re.match(r"x[A-Z]", name_of(member))
        title = STEPS if is_step else titles[member.get("kind")]
        sections.setdefault(title, []).append(copy.deepcopy(member))
    return [section_element(title, sections[title])
            for title in ("Types", "Calls", "Values", STEPS) if title in sections]


def write_group(reference, index, name, members):
    """A group of Doxygen's own kind that holds what a header has outside classes."""
    root = xml.Element("doxygen")
    group = xml.SubElement(root, "compounddef", id=f"group__{name}", kind="group")
    xml.SubElement(group, "compoundname").text = name
    xml.SubElement(group, "title").text = name
    group.extend(loose_sections(members))
    xml.SubElement(group, "briefdescription")
    xml.SubElement(group, "detaileddescription")
    xml.ElementTree(root).write(reference.directory / f"group__{name}.xml", encoding="utf-8",
                                xml_declaration=True)
    entry = xml.SubElement(index, "compound", refid=f"group__{name}", kind="group")
    xml.SubElement(entry, "name").text = name
    for member in members:
        known = xml.SubElement(entry, "member", refid=member.get("id"), kind=member.get("kind"))
        xml.SubElement(known, "name").text = name_of(member)


def use_of(header):
    """The short use that a header opens with."""
    first, _ = opening(header_comment(HEADERS / header))
    return "\n".join("\n".join(paragraph) for paragraph in first[1:])


def page(reference, index, header):
    """(title, text) of a header's page."""
    stem = pathlib.PurePath(header).stem
    first, rest = opening(header_comment(HEADERS / header))
    use = use_of(header)
    classes = reference.classes_of(header)
    loose = reference.loose_of(header)
    names = [compound.findtext("compoundname").rpartition("::")[2] for compound in classes]
    own = next((name for name in names if name.lower() == stem.replace("_", "")), None)
    title = own or (names[0] if len(names) == 1 and not loose else stem)
    if own:
        classes.sort(key=lambda compound: compound.findtext("compoundname").rpartition("::")[2] != own)
    out = [f"# {title}", "", f"`#include <korrin/{header}>`", "", markdown(first)]
    if rest:
        out += ["The rules in full: [in detail](#in-detail). "
                f"The same [in Python](../python/{stem}.md).", ""]
    else:
        out += [f"The same [in Python](../python/{stem}.md).", ""]
    for compound in classes:
        main = main_call(use, compound)
        regroup(compound, main)
        full = compound.findtext("compoundname")
        out += [f"## {full.rpartition('::')[2]}", ""]
        out += ["```{eval-rst}", f".. doxygenclass:: {full}" if compound.get("kind") == "class"
                else f".. doxygenstruct:: {full}", "   :members:", "```", ""]
    if loose:
        write_group(reference, index, f"korrin_{stem}", loose)
        out += ["## Functions and values" if classes else "## Functions", "", "```{eval-rst}",
                f".. doxygengroup:: korrin_{stem}", "   :content-only:", "   :members:", "```", ""]
    if rest:
        out += ["", "## In detail", "", markdown(rest)]
    return title, "\n".join(out)


def headers():
    found = [str(path.relative_to(HEADERS)) for path in sorted(HEADERS.rglob("*.hpp"))]
    return [header for header in found if header not in NO_PAGE]


def write_indexes(out):
    """The lists of all pages, in both languages, with the first sentence of each."""
    rows = {}
    for header in headers():
        text = (out / "cpp" / f"{pathlib.PurePath(header).stem}.md").read_text(encoding="utf-8")
        title, include, what = re.match(r"# (.*)\n\n(.*)\n\n((?:.+\n)+)", text).groups()
        rows[header] = (title, include, re.split(r"(?<=[.?])\s|:\s", what.replace("\n", " "))[0])
    lists = {"cpp": ("C++ reference", "Every header, its classes and functions. The text is the headers' own.", ""),
             "python": ("Python reference", "Every name of the module `korrin`, with an example that is tested.",
                        " in Python")}
    for directory, (title, what, of) in lists.items():
        stems = [pathlib.PurePath(header).stem for header in headers()]
        lines = [f"# {title}", "", what, "", "| | |", "|---|---|"]
        for header in headers():
            stem = pathlib.PurePath(header).stem
            lines.append(f"| [{rows[header][0]}]({directory}/{stem}.md) | {rows[header][2].rstrip('.:')} |")
        if directory == "python":
            stems += ["mapping", "fleet", "plot", "ros"]
            lines.append("| [korrin.mapping](python/mapping.md) | From raw logs to maps |")
            lines.append("| [korrin.fleet](python/fleet.md) | Many requests at once |")
            lines.append("| [korrin.plot](python/plot.md) | Pictures with matplotlib |")
            lines.append("| [korrin.ros](python/ros.md) | Messages of ROS, and bags |")
        lines += ["", "```{toctree}", ":hidden:", "", *(f"{directory}/{stem}" for stem in stems), "```", ""]
        (out / f"{directory}.md").write_text("\n".join(lines), encoding="utf-8")


def main(xml_directory, out):
    reference = Reference(xml_directory)
    index_path = xml_directory / "index.xml"
    index = xml.parse(index_path)
    (out / "cpp").mkdir(parents=True, exist_ok=True)
    for header in headers():
        _, text = page(reference, index.getroot(), header)
        (out / "cpp" / f"{pathlib.PurePath(header).stem}.md").write_text(text, encoding="utf-8")
    write_indexes(out)
    for path, tree, _ in reference.compounds("class", "struct"):
        tree.write(path, encoding="utf-8", xml_declaration=True)
    index.write(index_path, encoding="utf-8", xml_declaration=True)


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]))

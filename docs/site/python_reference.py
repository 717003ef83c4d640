#!/usr/bin/env python3
"""Writes the pages of the Python reference: a page for each header, with the names the module has of
it, and one each for what Python alone has. PYTHONPATH must have the built module.

    docs/site/python_reference.py build/docs/xml build/docs/source/reference
"""

import enum
import inspect
import pathlib
import re
import sys

import korrin
import korrin.fleet
import korrin.mapping
import korrin.plot
import korrin.ros

import reference

# Where names stand that no header has, or has otherwise.
PYTHON_ONLY = {"load_map": "map_file", "save_map": "map_file", "read_log": "laser_log",
               "write_log": "laser_log", "LaserLog": "laser_log", "LoggedScan": "laser_log",
               "read_path": "path_file", "write_path": "path_file", "k_pi": "geometry",
               "Scan": "scan", "RangeReading": "scan", "ScanHole": "scan", "set_log_sink": "log"}


def snake(name):
    """The Python name of a C++ function or value."""
    name = re.sub(r"(?<=[a-z0-9])(?=[A-Z][a-z])|(?<=[a-z])(?=[A-Z0-9])", "_", name)
    return name.lower()


def squeezed(name):
    return name.replace("_", "").lower()


def homes(reference_):
    """The header's stem for every public name of the module."""
    by_squeezed = {}
    for header in reference.headers():
        stem = pathlib.PurePath(header).stem
        for member in reference_.loose_of(header):
            by_squeezed.setdefault(squeezed(reference.name_of(member)), stem)
        for compound in reference_.classes_of(header):
            by_squeezed.setdefault(
                squeezed(compound.findtext("compoundname").rpartition("::")[2]), stem)
    found = {}
    for name in korrin.__all__:
        stem = PYTHON_ONLY.get(name) or by_squeezed.get(squeezed(name))
        if not stem:
            raise SystemExit(f"the reference has no page for korrin.{name}")
        found[name] = stem
    return found


def main_calls(reference_):
    """The C++ name of the main call of each class."""
    found = {}
    for header in reference.headers():
        use = reference.use_of(header)
        for compound in reference_.classes_of(header):
            name = compound.findtext("compoundname").rpartition("::")[2]
            found[squeezed(name)] = reference.main_call(use, compound)
    return found


def class_lines(full, thing, main, depth):
    """A class with its members in the order of the C++ page: the main call, calls, types, and last
    the steps and the state; the fields of a plain record come first.
    """
    indent = "   " * depth
    groups = {}
    for member, value in vars(thing).items():
        if not member.startswith("_"):
            groups.setdefault(group_of(member, value, main, thing), []).append(member)
    is_record = set(groups) <= {"Fields", "Types"}
    lines = [f"{indent}.. autoclass:: {full}", ""]
    for title in ORDER:
        members = groups.get(title, [])
        if not members:
            continue
        shown = title if title != "Fields" or is_record else "Steps and state"
        if depth == 0 and not (shown == title == "Fields") and not lines[-2:] == [shown, ""]:
            rubric = f"{indent}   .. rubric:: {shown}"
            if rubric not in lines:
                lines += [rubric, ""]
        for member in members:
            value = vars(thing)[member]
            path = f"{full}.{member}"
            if inspect.isclass(value):
                lines += class_lines(path, value, None, depth + 1)
            else:
                lines += [f"{indent}   .. {directive(value)}:: {path}", ""]
    return lines


ORDER = ("Main call", "Calls", "Types", "Values", "Steps and state", "Fields")


def group_of(member, value, main, owner):
    if main and squeezed(member) == squeezed(main):
        return "Main call"
    if re.match("x_", member):
        return "Steps and state"
    if inspect.isclass(value):
        return "Types"
    if is_call(value):
        return "Calls"
    return "Values" if isinstance(value, (int, owner)) or hasattr(type(value), "__members__") else "Fields"


def is_call(value):
    return inspect.isroutine(value) or isinstance(value, (staticmethod, classmethod))


def directive(value):
    if is_call(value):
        return "automethod"
    return "autoproperty" if isinstance(value, property) else "autoattribute"


def entry(name, main):
    thing = getattr(korrin, name)
    lines = [f"## {name}", "", "```{eval-rst}"]
    if inspect.isclass(thing):
        lines += class_lines(f"korrin.{name}", thing, main, 0)
    elif callable(thing):
        lines += [f".. autofunction:: korrin.{name}"]
    else:
        lines += [f".. py:data:: korrin.{name}", "", f"   ``{type(thing).__name__}``; "
                  f"see the C++ page."]
    return lines + ["```", ""]


def entry_of(module, name):
    """A name of a module of the package; of its classes the calls, as the docstring tells of the fields."""
    thing = getattr(module, name)
    full = f"{module.__name__}.{name}"
    lines = [f"## {full.partition('.')[2]}", "", "```{eval-rst}"]
    if not inspect.isclass(thing):
        return lines + [f".. autofunction:: {full}", "```", ""]
    lines += [f".. autoclass:: {full}", ""]
    for member, value in vars(thing).items():
        if not member.startswith("_") and inspect.isfunction(value):
            lines += [f"   .. automethod:: {full}.{member}", ""]
    return lines + ["```", ""]


def order(name):
    """Classes first, then functions, then steps, then values."""
    thing = getattr(korrin, name)
    kind = 0 if inspect.isclass(thing) else 2 if name.startswith("x_") else 1 if callable(thing) else 3
    return kind, issubclass(thing, enum.Enum) if inspect.isclass(thing) else False, name


def write_page(path, title, lines):
    path.write_text("\n".join([f"# {title}", "", *lines]), encoding="utf-8")


def main(xml_directory, out):
    directory = out / "python"
    directory.mkdir(parents=True, exist_ok=True)
    cpp_reference = reference.Reference(xml_directory)
    found = homes(cpp_reference)
    mains = main_calls(cpp_reference)
    for header in reference.headers():
        stem = pathlib.PurePath(header).stem
        names = sorted((name for name in found if found[name] == stem), key=order)
        cpp = (out / "cpp" / f"{stem}.md").read_text(encoding="utf-8").split("\n")[0][2:]
        lines = [f"What is said [of C++](../cpp/{stem}.md) holds here; this is what Python adds, with an "
                 "example of every name.", ""]
        if header.startswith("mapping/"):
            lines = [f"What is said [of C++](../cpp/{stem}.md) holds here, too; the names are those of "
                     "[korrin.mapping](mapping.md).", ""]
        elif not names:
            lines = [f"The module has no names of its own for this; what it is about is told "
                     f"[on the C++ page](../cpp/{stem}.md).", ""]
        for name in names:
            lines += entry(name, mains.get(squeezed(name)))
        write_page(directory / f"{stem}.md", f"{cpp} in Python", lines)
    lines = ["From raw logs to maps: `import korrin.mapping`. What is said of C++, in "
             "[log_alignment](../cpp/log_alignment.md), [scan_aligner](../cpp/scan_aligner.md), "
             "[pose_graph](../cpp/pose_graph.md), [grid_builder](../cpp/grid_builder.md) and "
             "[track_file](../cpp/track_file.md), holds here.", ""]
    for name in korrin.mapping.__all__:
        lines += entry_of(korrin.mapping, name)
    write_page(directory / "mapping.md", "korrin.mapping: from a log to a map", lines)
    lines = ["Many requests on threads or on a cluster: `import korrin.fleet`. How to use it, and when it "
             "pays: [plan for many robots at once](../../tasks/plan_for_many_robots.md).", "",
             "```{eval-rst}", ".. automodule:: korrin.fleet", "   :no-members:", "```", ""]
    for name in korrin.fleet.__all__:
        lines += entry_of(korrin.fleet, name)
    write_page(directory / "fleet.md", "korrin.fleet: many requests at once", lines)
    lines = ["Messages of ROS, and bags: `import korrin.ros`. How they are used, and nodes: "
             "[With ROS](../../tasks/ros.md).", ""]
    for name in korrin.ros.__all__:
        lines += entry_of(korrin.ros, name)
    write_page(directory / "ros.md", "korrin.ros: messages of ROS, and bags", lines)
    lines = ["Pictures with matplotlib: `import korrin.plot`. Every function draws on `axes`, or on the "
             "current ones, and returns them.", ""]
    for name in korrin.plot.__all__:
        lines += [f"## plot.{name}", "", "```{eval-rst}",
                  f".. autofunction:: korrin.plot.{name}", "```", ""]
    write_page(directory / "plot.md", "korrin.plot: drawing", lines)


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]))

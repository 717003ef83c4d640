"""What is wrong with a call that fits no form of a function of the extension module.

The forms are read from the function's own docstring, so nothing is to be registered here.
"""

import functools
import operator
import os
import re
from typing import NamedTuple

import numpy as np

from . import _korrin


class _Parameter(NamedTuple):
    name: str
    kind: str
    optional: bool
    by_name: bool  # and in no other way


class _Form(NamedTuple):
    function: str
    has_self: bool
    parameters: tuple[_Parameter, ...]

    @property
    def by_name(self):
        return any(parameter.by_name for parameter in self.parameters)


class _Fault(NamedTuple):
    wanted: str
    found: str
    error: type[Exception]


# The least and the most numbers that make one, and how many of them are whole.
_RECORDS = {"Pose2D": (2, 3, 0), "Pose2Di": (2, 3, 2), "Point2D": (2, 2, 0), "Point2Di": (2, 2, 2)}


def fault(doc, attribute, args, kwargs):
    """The exception for a call of the function with that docstring.

    `attribute` is the property that the function sets, or empty.
    """
    forms = _forms(doc, attribute)
    found = [_first_fault(form, args, kwargs) for form in forms]
    found = [item for item in found if item]
    if not found:
        return TypeError(_no_form(forms, args, kwargs))
    # The form that the arguments fit longest; and a wrong shape is nearer than a wrong type.
    _, name, told = max(found, key=lambda item: (item[0], item[2].error is ValueError))
    return told.error(f"{name}: wanted {told.wanted}, found {told.found}")


def _first_fault(form, args, kwargs):
    """(how many fit, name, fault) of the first argument that does not fit; None without one."""
    given = _bound(form, args[form.has_self :], kwargs)
    for i, (parameter, value) in enumerate(given or ()):
        told = _fault_of(parameter.kind, value)
        if told:
            return i, parameter.name, told
    return None


def _bound(form, args, kwargs):
    """Each argument with its parameter, in order; None unless numbers and names agree."""
    late = form.parameters[len(args) :]
    if len(args) > sum(not parameter.by_name for parameter in form.parameters) or not set(kwargs) <= {parameter.name for parameter in late}:
        return None
    if not all(parameter.optional or parameter.name in kwargs for parameter in late):
        return None
    by_name = [(parameter, kwargs[parameter.name]) for parameter in late if parameter.name in kwargs]
    return [*zip(form.parameters, args), *by_name]


def _no_form(forms, args, kwargs):
    shown = []
    for form in forms:
        names = [item.name + "=..." * item.optional for item in form.parameters]
        first = [item.by_name for item in form.parameters].index(True) if form.by_name else len(names)
        shown.append(f"({', '.join(names[:first] + ['*'] * form.by_name + names[first:])})")
    given = [_described(value) for value in args[forms[0].has_self :]]
    given += [f"{name}={_described(value)}" for name, value in kwargs.items()]
    return f"{forms[0].function}(): wanted {' or '.join(shown)}, found ({', '.join(given)})"


@functools.lru_cache(maxsize=None)
def _forms(doc, attribute):
    lines = doc.splitlines()
    if "Overloaded function." in lines:
        lines = [line for line in lines if re.match(r"\d+\. ", line)]
    matches = (re.match(r"(?:\d+\. )?(\w*)\((.*)\) -> ", line) for line in lines)
    return [_form(*match.groups(), attribute) for match in matches if match]


def _form(function, arguments, attribute):
    texts = _split(arguments)
    star = texts.index("*") if "*" in texts else len(texts)
    parts = [_parameter(text, i > star) for i, text in enumerate(texts) if i != star]
    has_self = bool(parts) and (parts[0].name == "self" or bool(attribute))
    if function == "__init__":
        function = parts[0].kind
        # A record of any sequence of its numbers.
        parts = [part._replace(kind=function) if part.name == "numbers" else part for part in parts]
    if attribute:
        parts = [parts[0], parts[1]._replace(name=attribute)]
    return _Form(function, has_self, tuple(parts[has_self:]))


def _parameter(text, by_name):
    name, _, rest = text.partition(": ")
    kind, equals, _ = rest.partition(" = ")
    return _Parameter(name, kind.replace("korrin._korrin.", ""), bool(equals), by_name)


def _split(text):
    """The parts between the commas that no bracket encloses."""
    parts, depth = [""], 0
    for letter in text:
        depth += (letter in "([{<") - (letter in ")]}>")
        if letter == "," and depth == 0:
            parts.append("")
        else:
            parts[-1] += letter
    return [part.strip() for part in parts if part.strip()]


def _fault_of(kind, value):
    """What is wrong with a value for a parameter of that kind; None when it fits."""
    optional = re.fullmatch(r"Optional\[(.*)\]", kind)
    if optional:
        told = value is not None and _fault_of(optional[1], value)
        return told._replace(wanted=told.wanted + " or None") if told else None
    rows = re.fullmatch(r"numpy\.ndarray\[numpy\.(float\d+)\[n, (\d)\]\]", kind)
    if rows:
        return _fault_of_rows(int(rows[2]), rows[1] == "float64", value)
    if kind in _RECORDS:
        return _fault_of_record(kind, value)
    if kind in _PLAIN:
        wanted, fits = _PLAIN[kind]
        return None if fits(value) else _Fault(wanted, _described(value), TypeError)
    return _fault_of_object(kind, value)


def _fault_of_record(kind, value):
    least, most, whole = _RECORDS[kind]
    classes = (_korrin.Point2D, _korrin.Pose2D) if kind == "Point2D" else getattr(_korrin, kind)
    if isinstance(value, classes):
        return None
    wanted = f"{least} or {most} numbers" if least < most else f"{least} numbers"
    wanted += ", column and row whole" * bool(whole)
    numbers = _numbers(value)
    if numbers is None:
        return _Fault(wanted, _described(value), TypeError)
    if numbers.ndim != 1 or not least <= numbers.size <= most:
        return _Fault(wanted, _described(value), ValueError)
    return _fault_of_cells(numbers[np.newaxis, :whole], wanted)


def _fault_of_rows(columns, whole, value):
    wanted = f"N x {columns} numbers" + ", columns and rows whole" * whole
    if not isinstance(value, (np.ndarray, list, tuple)):
        return _Fault(wanted, _described(value), TypeError)
    try:
        rows = np.asarray(value)
    except ValueError:
        return _Fault(wanted, "rows of different lengths", ValueError)
    if rows.size == 0 and rows.ndim == 1:
        return None
    if rows.dtype.kind not in "fiu":
        return _Fault(wanted, f"elements of {rows.dtype}", TypeError)
    if rows.ndim != 2 or rows.shape[1] != columns:
        return _Fault(wanted, _described(value), ValueError)
    return _fault_of_cells(rows[:, :2], wanted) if whole else None


def _fault_of_cells(cells, wanted):
    fine = (np.abs(cells) < 2**31) & (cells == np.floor(cells))
    return None if fine.all() else _Fault(wanted, str(cells[~fine][0]), ValueError)


def _fault_of_object(kind, value):
    type_ = functools.reduce(lambda owner, name: getattr(owner, name, None), kind.split("."), _korrin)
    if not isinstance(type_, type) or isinstance(value, type_):
        return None  # what is wrong is not known
    if hasattr(type_, "__members__"):
        wanted = "one of " + ", ".join(map(repr, type_.__members__))
        error = ValueError if isinstance(value, str) else TypeError
        return _Fault(wanted, _described(value), error)
    return _Fault(_with_article(kind.rpartition(".")[2]), _described(value), TypeError)


def _numbers(value):
    """A tuple, a list or an array as an array of numbers; None when it is no such thing."""
    if not isinstance(value, (np.ndarray, list, tuple)):
        return None
    try:
        array = np.asarray(value)
    except ValueError:
        return None
    return array if array.dtype.kind in "fiub" else None


def _described(value):
    if value is None or isinstance(value, (str, bool)):
        return repr(value)
    if isinstance(value, np.ndarray):
        return f"an array of shape {value.shape}"
    if isinstance(value, (int, float, np.number)):
        return str(value)
    numbers = _numbers(value)
    if numbers is not None and numbers.ndim == 1:
        return f"{numbers.size} numbers" if numbers.size != 1 else "1 number"
    if numbers is not None:
        return f"{_with_article(type(value).__name__)} of shape {numbers.shape}"
    return _with_article(type(value).__name__)


def _with_article(name):
    return ("an " if name[0] in "aeiouAEIO" else "a ") + name


def _is_number(value):
    try:
        float(value)
    except (TypeError, ValueError, OverflowError):
        return False
    return not isinstance(value, (str, bytes))


def _is_int(value):
    try:
        return -(2**31) <= operator.index(value) < 2**31
    except TypeError:
        return _is_number(value) and not isinstance(value, float)


_PLAIN = {
    "float": ("a number", _is_number),
    "int": ("a whole number of 32 bits", _is_int),
    "bool": ("True or False", lambda value: hasattr(value, "__bool__") or value is None),
    "os.PathLike": ("a path", lambda value: isinstance(value, (str, bytes, os.PathLike))),
    "str": ("a text", lambda value: isinstance(value, (str, bytes))),
    "list": ("a list", lambda value: isinstance(value, list)),
    "dict": ("a dict", lambda value: isinstance(value, dict)),
    "sequence": ("a sequence", lambda value: hasattr(value, "__getitem__")),
    "Sequence": ("a sequence", lambda value: hasattr(value, "__getitem__")),
    "Iterable": ("an iterable", lambda value: hasattr(value, "__iter__")),
    "numpy.ndarray": ("an array", lambda value: isinstance(value, np.ndarray)),
    "numpy.ndarray[RangeReading]": (
        "an array like the readings of a Scan",
        lambda value: isinstance(value, np.ndarray) and value.dtype.names is not None,
    ),
}

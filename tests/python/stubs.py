"""Prints the type stub of the package korrin, made from the extension module's own signatures."""

import dataclasses
import inspect
import re

import korrin

HEADER = '''\
"""What type checkers know of korrin; scripts/update-stubs writes this file."""

import os
from collections.abc import Callable, Iterable, Iterator, Sequence
from typing import Any, ClassVar, Generic, Literal, TypeVar, overload

import numpy as np
from numpy.typing import ArrayLike, DTypeLike, NDArray

__version__: str
__all__: list[str]
k_pi: float

_Given = TypeVar("_Given", covariant=True)
_Taken = TypeVar("_Taken", contravariant=True)

class _Field(Generic[_Given, _Taken]):
    """An attribute that takes more than it gives."""
    def __get__(self, owner: object, type: type | None = None) -> _Given: ...
    def __set__(self, owner: object, value: _Taken) -> None: ...

PoseLike = Pose2D | tuple[float, float] | tuple[float, float, float] | list[float] | NDArray[Any]
CellLike = Pose2Di | tuple[int, int] | tuple[int, int, float] | list[float] | NDArray[Any]
PointLike = Point2D | Pose2D | tuple[float, float] | list[float] | NDArray[Any]
ShiftLike = Point2Di | tuple[int, int] | list[int] | NDArray[Any]
ScanLike = Scan | NDArray[np.void]
RowsLike = ArrayLike | Sequence[Pose2D] | Sequence[Pose2Di] | Sequence[Point2D]
'''

# What converts to an argument of these types.
ACCEPTED = {
    "Pose2D": "PoseLike",
    "Pose2Di": "CellLike",
    "Point2D": "PointLike",
    "Point2Di": "ShiftLike",
    "Scan": "ScanLike",
}

# What the signatures leave open: results, properties and, as name.argument, arguments. What a
# property takes is its argument `value`.
TOLD = {
    "BlockedEnd.nearest_free": "Pose2D | None",
    "LogRecord.level": "NavLogLevel",
    "OccMapPathFinder.__init__.map": "OccupancyMap | None",
    "OccMapPathFinder.cell_nodes": "NDArray[np.int32] | None",
    "OccMapPathFinder.cell_states": "NDArray[np.int32] | None",
    "OccMapPathFinder.neighborhood_type": "OccMapPathFinder.NeighborhoodType",
    "OccMapPathFinder.occ_map": "OccupancyMap | None",
    "OccMapPathFinder.set_occ_map.map": "OccupancyMap | None",
    "OccMapPathFinder.x_find_node": "OccMapPathFinder.Node | None",
    "ObstacleDilater.char_image": "NDArray[np.uint8]",
    "ObstacleDilater.dist_image": "NDArray[np.float32]",
    "OccupancyMap.__copy__": "OccupancyMap",
    "OccupancyMap.__deepcopy__": "OccupancyMap",
    "OccupancyMap.__deepcopy__.memo": "dict[int, Any]",
    "OccupancyMap.__array__": "NDArray[Any]",
    "OccupancyMap.__array__.copy": "bool | None",
    "OccupancyMap.__array__.dtype": "DTypeLike",
    "OccupancyMap.from_array.array": "ArrayLike",
    "OccupancyMap.image": "NDArray[np.float32]",
    "OccupancyMap.image.value": "ArrayLike",
    "OccupancyMap.second_image": "NDArray[np.float32] | None",
    "OccupancyMap.second_image.value": "ArrayLike",
    "OccupancyMap.shape": "tuple[int, int]",
    "OccupancyMap.to_char_ipl_image": "NDArray[np.uint8]",
    "OccupancyMapper.__init__.map": "OccupancyMap | None",
    "OccupancyMapper.map": "OccupancyMap | None",
    "Plan.blocked": "BlockedEnd | None",
    "Point2D.__getitem__": "float",
    "Point2D.__init__.numbers": "PointLike",
    "Point2D.__iter__": "Iterator[float]",
    "Point2Di.__getitem__": "int",
    "Point2Di.__init__.numbers": "ShiftLike",
    "Point2Di.__iter__": "Iterator[int]",
    "Pose2D.__getitem__": "float",
    "Pose2D.__init__.numbers": "PoseLike",
    "Pose2D.__iter__": "Iterator[float]",
    "Pose2Di.__getitem__": "Any",
    "Pose2Di.__init__.numbers": "CellLike",
    "Pose2Di.__iter__": "Iterator[Any]",
    "Scan.__init__.ranges": "ArrayLike",
    "Scan.__init__.readings": "NDArray[np.void] | list[RangeReading]",
    "Scan.readings": "NDArray[np.void]",
    "ScanDistMap.distance_map": "NDArray[np.float32] | None",
    "ScanDistMap.laser_image": "NDArray[np.uint8] | None",
    "build_laser_distance": "tuple[NDArray[np.uint8], NDArray[np.float32]]",
    "build_laser_distance.laser_image": "NDArray[np.uint8] | None",
    "compute_coarser_map": "OccupancyMap | None",
    "create_flipped_image": "NDArray[Any]",
    "create_flipped_image.size": "tuple[int, int]",
    "draw_laser": "NDArray[np.uint8]",
    "draw_laser.image": "NDArray[np.uint8] | None",
    "find_first_cell_with_cond.condition": (
        "FreeCellCondition | GrayCellCondition | Callable[[float], bool]"
    ),
    "merge_images2": "NDArray[Any] | None",
    "merge_images2.images": "Iterable[ImageToMerge]",
    "save_map.mode": 'Literal["trinary", "scale", "raw"]',
    "set_log_sink": "Callable[[LogRecord], object] | None",
    "set_log_sink.sink": "Callable[[LogRecord], object] | None",
    "x_find_first_cell.at_start": "Callable[[float], bool]",
    "x_find_first_cell.on_ray": "Callable[[], Callable[[float], bool]]",
}

SHOWN_SPECIALS = (
    *("__init__", "__call__", "__copy__", "__deepcopy__"),
    *("__array__", "__getitem__", "__iter__", "__len__"),
)
ENUM_BODY = """\
def __init__(self, value: int) -> None: ...
def __int__(self) -> int: ...
@property
def name(self) -> str: ...
@property
def value(self) -> int: ...
__members__: ClassVar[dict[str, {name}]]"""


def enumerations(owner, prefix):
    for name, member in vars(owner).items():
        if inspect.isclass(member) and not name.startswith("_"):
            if hasattr(member, "__members__"):
                yield prefix + name, member
            yield from enumerations(member, prefix + name + ".")


ENUMERATIONS = dict(sorted(enumerations(korrin, "")))


def like(enumeration):
    return enumeration.rpartition(".")[2] + "Like"


def like_lines():
    """A member of an enumeration, or how it is usually written as a text."""
    for name, type_ in ENUMERATIONS.items():
        texts = {}
        for member in type_.__members__:
            short = member.lower().partition("_")[2]
            texts.update(dict.fromkeys(text for text in (short, member.lower(), member) if text))
        shown = ", ".join(f'"{text}"' for text in texts)
        yield f"{like(name)} = {name} | Literal[{shown}]"


def split_arguments(text):
    """The parts between the commas that no bracket encloses."""
    parts, depth, start = [], 0, 0
    for i, letter in enumerate(text):
        depth += (letter in "([{<") - (letter in ")]}>")
        if letter == "," and depth == 0:
            parts.append(text[start:i])
            start = i + 1
    return [part.strip() for part in [*parts, text[start:]] if part.strip()]


def type_text(text, is_argument):
    text = text.replace("korrin._korrin.", "")
    if is_argument:
        text = re.sub(r"numpy\.ndarray\[numpy\.float\d+\[n, \d\]\]", "RowsLike", text)
        if text in ACCEPTED:
            return ACCEPTED[text]
        if text in ENUMERATIONS:
            return like(text)
    text = re.sub(r"numpy\.ndarray\[numpy\.(\w+)(\[n, \d\])?\]", r"NDArray[np.\1]", text)
    text = re.sub(r"numpy\.ndarray\[[\w.]+\]", "NDArray[np.void]", text)
    text = text.replace("numpy.ndarray", "NDArray[Any]")
    text = text.replace("os.PathLike", "str | os.PathLike[str]")
    text = re.sub(r"Optional\[(.*)\]", r"\1 | None", text)
    return re.sub(r"\b(List|Tuple|Dict)\b", lambda match: match[0].lower(), text)


def default_text(text):
    return text if re.fullmatch(r"None|True|False|-?\d+(\.\d+)?", text) else "..."


def argument_text(text, function):
    name, _, rest = text.partition(":")
    if not rest or name == "self":
        return name
    kind, _, default = rest.partition("=")
    told = TOLD.get(f"{function}.{name}") or type_text(kind.strip(), True)
    return f"{name}: {told}" + (f" = {default_text(default.strip())}" if default else "")


def signatures(function):
    """(arguments, result) of each overload, as the docstring tells them."""
    pattern = r"^(?:\d+\. )?\w+\((.*)\) -> (.+)$"
    lines = function.__doc__.splitlines()
    is_overloaded = "Overloaded function." in lines
    found = [re.match(pattern, line) for line in lines if line[:1].isdigit() or not is_overloaded]
    return [match.groups() for match in found if match]


def function_lines(name, function, qualified, is_method=False, is_static=False):
    found = signatures(function)
    assert found or name == "__init__", f"{qualified} has no signature"
    overloads = []
    for arguments, result in found:
        parts = split_arguments(arguments)
        if is_method:
            parts[0] = "self"
        shown = ", ".join(argument_text(part, qualified) for part in parts)
        told = TOLD.get(qualified) or type_text(result, False)
        overloads.append(f"def {name}({shown}) -> {told}: ...")
    overloads = list(dict.fromkeys(overloads))
    for overload in overloads:
        yield from ["@overload"] * (len(overloads) > 1)
        yield from ["@staticmethod"] * is_static
        yield overload


def property_lines(name, value, qualified):
    [result] = re.findall(r"-> (.+)", value.fget.__doc__)
    told = TOLD.get(qualified) or type_text(result, False)
    if value.fset is None:
        yield "@property"
        yield f"def {name}(self) -> {told}: ..."
        return
    [kind] = re.findall(r", \w+: (.+)\) ->", value.fset.__doc__)
    accepted = TOLD.get(f"{qualified}.value") or TOLD.get(qualified) or type_text(kind, True)
    # Before release 1.16 mypy expects of a setter what the property gives; of these it does not.
    yield f"{name}: {told}" if accepted == told else f"{name}: _Field[{told}, {accepted}]"


def member_lines(name, value, owner, qualified):
    if inspect.isclass(value):
        yield from class_lines(name, value, qualified)
    elif isinstance(value, staticmethod):
        yield from function_lines(name, getattr(owner, name), qualified, is_static=True)
    elif type(value).__name__ == "pybind11_static_property":
        yield f"{name}: ClassVar[float]"
    elif isinstance(value, property):
        yield from property_lines(name, value, qualified)
    elif inspect.isroutine(value):
        yield from function_lines(name, value, qualified, is_method=True)
    else:  # a member of an enumeration that lies in the same class
        yield f"{name}: ClassVar[{qualified.rpartition('.')[0]}.{type(value).__name__}]"


def class_lines(name, type_, qualified):
    yield f"class {name}:"
    if hasattr(type_, "__members__"):
        lines = ENUM_BODY.format(name=qualified).splitlines()
        lines += [f"{member}: ClassVar[{qualified}]" for member in type_.__members__]
    else:
        lines = []
        for member, value in vars(type_).items():
            if not member.startswith("_") or member in SHOWN_SPECIALS:
                lines += member_lines(member, value, type_, f"{qualified}.{member}")
        if type_.__hash__ is None:
            lines.append("__hash__: ClassVar[None]  # type: ignore[assignment]")
    yield from ("    " + line for line in lines)


def dataclass_lines(name, type_):
    """Fields give what they are and take what converts to it; what may be None is filled in."""
    yield f"class {name}:"
    arguments = []
    for field in dataclasses.fields(type_):
        given = field.type.replace("_korrin.", "")
        yield f"    {field.name}: {given.removesuffix(' | None')}"
        taken = given.replace("Pose2D", "PoseLike")
        default = "" if field.default is dataclasses.MISSING else " = ..."
        arguments.append(f"{field.name}: {taken}{default}")
    yield f"    def __init__(self, {', '.join(arguments)}) -> None: ..."
    yield "    __hash__: ClassVar[None]  # type: ignore[assignment]"


def stub_text():
    lines = [HEADER + "\n".join(like_lines()), ""]
    for name in korrin.__all__:
        thing = getattr(korrin, name)
        if dataclasses.is_dataclass(thing):
            lines += [*dataclass_lines(name, thing), ""]
        elif inspect.isclass(thing):
            lines += [*class_lines(name, thing, name), ""]
        elif inspect.isfunction(thing):
            shown = str(inspect.signature(thing)).replace("'", "").replace("korrin.", "")
            lines += [f"def {name}{shown}: ...", ""]
        elif getattr(thing, "__module__", None) == "korrin._korrin":
            lines += [*function_lines(name, thing, name), ""]
    return "\n".join(lines)


if __name__ == "__main__":
    print(stub_text(), end="")

"""What good engineers get wrong, as small changes to a line of C++, each operator with its kind.

  borders   values exactly on a border: comparisons, bounds of loops, halves, roundings
  failures  checks before something fails, and what is given back or put right again afterwards
  caches    what is remembered: not renewed, renewed too late, or trusted without asking
  promises  how often something is called, and what is said when
  plain     everything else

Relies on the project's formatting: binary operators stand between spaces, template brackets and
pointer marks do not, and a statement fills its line.
"""
import re
from dataclasses import dataclass, field

KINDS = ("borders", "failures", "caches", "promises", "plain")

BESIDE = {"<": ["<="], "<=": ["<"], ">": [">="], ">=": [">"]}
OPPOSITE = {
    "<": [">="], "<=": [">"], ">": ["<="], ">=": ["<"],
    "==": ["!="], "!=": ["=="], "&&": ["||"], "||": ["&&"],
    "+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "%": ["*"],
    "+=": ["-="], "-=": ["+="], "*=": ["/="], "/=": ["*="],
    "<<": [">>"], ">>": ["<<"], "&": ["|"], "|": ["&"],
}
ROUNDINGS = {
    "std::floor": ["std::trunc", "std::round"], "std::trunc": ["std::floor"],
    "std::round": ["std::trunc"], "std::nextafter": ["std::max"],
    "_mm_cvttps_epi32": ["_mm_cvtps_epi32"], "_mm256_cvttps_epi32": ["_mm256_cvtps_epi32"],
}
OPERATOR = re.compile(r"(?<= )(?:" + "|".join(
    re.escape(op) for op in sorted(OPPOSITE, key=len, reverse=True)) + r")(?= )")
INTEGER = re.compile(r"(?<![\w.])\d+(?![\w.'])")
DECIMAL = re.compile(r"(?<![\w.])(\d+\.\d+)(f?)(?![\w.])")
HALF = re.compile(r"(?<![\w.])0\.5(f?)(?![\w.])")
CONDITION = re.compile(r"\b(?:if|while) \(")
LOOP = re.compile(r"\bfor \([^;]*; ([^;]*[<>]=? [^;]*?)(?: && [^;]*)?; ")
GUARD = re.compile(r"^ *(?:\} else )?if \(.*\) (?:return|throw|continue|break|goto)\b|nullptr")
# A statement on a line of its own that declares nothing: an assignment, a call, a step, a return.
STATEMENT = re.compile(
    r"^ +((?:[\w.\[\]()*:+-]|->)+ (?:=|\+=|-=|\*=|/=|\|=|&=) [^{]*(?:\{[^{}]*\})?;"
    r"|(?!return\b|delete\b|throw\b)[\w.:\[\]>-]+\([^{]*\);"
    r"|(?:\+\+|--)[\w.\[\]>-]+;|return;)$")
CALL = re.compile(r"^ +((?!return\b|delete\b|throw\b|if\b|for\b|while\b)[\w.:\[\]>-]+\([^{]*\));$")
GIVES_BACK = re.compile(r"[Rr]elease|reset\(|clear\(|munmap|std::free|shrink|pop_back|erase\(")
PUTS_RIGHT = re.compile(r" = (?:0|nullptr|false|-1|\{0, 0\}|0\.0f|kHighest);$")
CHECKS = re.compile(r"^ +require\w*\(")
REMEMBERS = re.compile(r"^ +(?:[\w.]+(?:->|\.))?[\w.\[\]()]*_(?:\[.*\])? [-+|&*/]?= "
                       r"|^ +(?:note|remember|refresh|lowerTo|setCount|swap|store)\w*\("
                       r"|^ +(?:\+\+|--)\w+_;|std::swap\(|\.swap\(|\.resize\(|\.assign\(")
SAYS = re.compile(r"\b(?:completeLog|log\w+|add\w*|records_\.\w+)\(")
LOCAL = re.compile(r"^ +(const (?:auto|bool|float|double|std::\w+|Point2D\w*|Pose2D\w*) \w+ = )"
                   r"(?!\[)[^{]*;$")
ASKED = re.compile(r"(?<![\w.>])(?:accepts_|atStart|onRay|newCondition|condition|visit|visitAt|use|handle|"
                   r"literal|lineTo|stepsTo|isFree|sink|fill)\(")
TWICE_IS_ONCE = re.compile(
    r"\b(?:require|store|lowerTo|fill|set|note|remember|reserve|resize|assign|clear|reset|refresh|"
    r"pad|chamfer|cvReleaseImage|cvSet|memcpy|memmove|startAt|mark|_mm)\w*\(")
LEVELS = {"Info": ["Warning"], "Warning": ["Info", "Error"], "Error": ["Warning"]}
LEVEL = re.compile(r"NavLogLevel::(Info|Warning|Error)\b")


@dataclass(frozen=True)
class Place:
    """A line, without comments and texts, and those beside it."""
    code: str
    before: str
    after: list = field(default_factory=list)

    def statement(self):
        """The statement that fills the line, or None."""
        if not re.search(r"(?:^\s*|[;{}:])$", self.before.rstrip()):
            return None
        return STATEMENT.match(self.code.rstrip())


SAME = "\0"


@dataclass(frozen=True)
class Change:
    begin: int = 0  # columns of what gives way to `text`
    end: int = 0
    text: str = ""  # with SAME for what was there
    lines: int = 1  # how many it concerns
    swapped: bool = False  # two lines change places


def next_comparison(place):
    return (Change(m.start(), m.end(), other) for m in OPERATOR.finditer(place.code)
            for other in BESIDE.get(m.group(), []))


def one_more_or_less(place):
    for match in INTEGER.finditer(place.code):
        value = int(match.group())
        for other in (value + 1, value - 1):
            if other >= 0:
                yield Change(match.start(), match.end(), str(other))


def loop_bound(place):
    for match in LOOP.finditer(place.code):
        yield Change(match.end(1), match.end(1), " - 1")
        yield Change(match.end(1), match.end(1), " + 1")


def other_half(place):
    for match in HALF.finditer(place.code):
        for other in ("0.49", "0.49999997"):
            yield Change(match.start(), match.end(), other + match.group(1))


def other_rounding(place):
    for name, others in ROUNDINGS.items():
        for match in re.finditer(re.escape(name) + r"(?=\()", place.code):
            for other in others:
                yield Change(match.start(), match.end(), other)


def check_dropped(place):
    if CHECKS.match(place.code) and place.statement():
        yield dropped(place.statement())
    if not GUARD.search(place.code):
        return
    for match in CONDITION.finditer(place.code):
        end = closing_parenthesis(place.code, match.end())
        if end:
            yield Change(match.end(), end, "false")


def not_given_back(place):
    match = place.statement()
    if match and GIVES_BACK.search(place.code):
        yield dropped(match)


def not_put_right(place):
    match = place.statement()
    if match and PUTS_RIGHT.search(place.code.rstrip()):
        yield dropped(match)


def not_remembered(place):
    match = place.statement()
    if match and REMEMBERS.search(place.code):
        yield dropped(match)


def part_of_condition_forgotten(place):
    for match in CONDITION.finditer(place.code):
        end = closing_parenthesis(place.code, match.end())
        yield from without_each_part(place.code, match.end(), end or match.end())
    match = re.match(r"^ +return (.*);$", place.code.rstrip())
    if match:
        yield from without_each_part(place.code, match.start(1), match.end(1))


def without_each_part(code, begin, end):
    for mark in (" && ", " || "):
        parts = code[begin:end].split(mark)
        if len(parts) < 2 or any(part.count("(") != part.count(")") for part in parts):
            continue
        for i in range(len(parts)):
            yield Change(begin, end, mark.join(parts[:i] + parts[i + 1:]))


def statements_swapped(place):
    """Two that have to do with each other."""
    match = place.statement()
    after = Place(place.after[0], place.code).statement() if match and place.after else None
    if not after or after.start(1) != match.start(1) or "return;" in (match[1], after[1]):
        return
    if set_by(match[1]) & names(after[1]) or set_by(after[1]) & names(match[1]):
        yield Change(lines=2, swapped=True)


def names(code):
    """The variables; of `a.b` that is b, and of `a.call()` a."""
    return set(re.findall(r"\b[a-z]\w*\b(?!\(|::|(?:\.|->)\w+\b(?!\())", code))


def set_by(statement):
    target = re.match(r"([\w.>-]+)(?:\[.*\])? [-+|&*/]?= |(\w+)(?:\.|->)\w+\(", statement)
    return {re.split(r"\.|->", target[1] or target[2])[-1]} if target else names(statement)


def stale_variable(place):
    """A local that stays what it was when its line was first reached."""
    match = LOCAL.match(place.code.rstrip())
    if match:
        yield Change(match.start(1), match.start(1), "static ")


def called_twice(place):
    match = CALL.match(place.code.rstrip())
    if match and place.statement() and not TWICE_IS_ONCE.search(match[1]):
        yield Change(match.start(1), match.end(), f"{SAME} {SAME}")
    for match in ASKED.finditer(place.code):
        end = closing_parenthesis(place.code, match.end())
        if end and not re.match(r" *(?:const )?\{", place.code[end + 1:]):
            yield Change(match.start(), end + 1, f"({SAME}, {SAME})")


def not_said(place):
    match = place.statement()
    if match and SAYS.search(place.code):
        yield dropped(match)


def other_level(place):
    return (Change(m.start(1), m.end(1), other) for m in LEVEL.finditer(place.code)
            for other in LEVELS[m.group(1)])


def opposite_operator(place):
    return (Change(m.start(), m.end(), other) for m in OPERATOR.finditer(place.code)
            for other in OPPOSITE[m.group()])


def other_decimal(place):
    return (Change(m.start(), m.end(), f"{float(m.group(1)) + 1.0}{m.group(2)}")
            for m in DECIMAL.finditer(place.code))


def condition_turned_round(place):
    for match in CONDITION.finditer(place.code):
        end = closing_parenthesis(place.code, match.end())
        if end:
            yield Change(match.end(), end, f"!({SAME})")


def statement_dropped(place):
    match = place.statement()
    if match:
        yield dropped(match)


def dropped(match):
    return Change(match.start(1), match.end(1), ";")


def closing_parenthesis(code, begin):
    depth = 1
    for i in range(begin, len(code)):
        depth += {"(": 1, ")": -1}.get(code[i], 0)
        if depth == 0:
            return i
    return None


# In this order: what two of them make counts for the first one.
ALL = (
    (next_comparison, "borders"), (one_more_or_less, "borders"), (loop_bound, "borders"),
    (other_half, "borders"), (other_rounding, "borders"),
    (check_dropped, "failures"), (not_given_back, "failures"), (not_put_right, "failures"),
    (not_remembered, "caches"), (part_of_condition_forgotten, "caches"),
    (statements_swapped, "caches"), (stale_variable, "caches"),
    (called_twice, "promises"), (not_said, "promises"), (other_level, "promises"),
    (opposite_operator, "plain"), (other_decimal, "plain"), (condition_turned_round, "plain"),
    (statement_dropped, "plain"),
)

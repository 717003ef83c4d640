"""The mutants of a C++ source: every place where a small change can be made, and the change.

Relies on the project's formatting: binary operators stand between spaces, template brackets and
pointer marks do not, and a statement fills its line.
"""
import hashlib
import re
from dataclasses import dataclass
from pathlib import Path

SWAPS = {
    "<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"],
    "==": ["!="], "!=": ["=="], "&&": ["||"], "||": ["&&"],
    "+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "%": ["*"],
    "+=": ["-="], "-=": ["+="], "*=": ["/="], "/=": ["*="],
    "<<": [">>"], ">>": ["<<"], "&": ["|"], "|": ["&"],
}
OPERATOR = re.compile(r"(?<= )(?:" + "|".join(
    re.escape(op) for op in sorted(SWAPS, key=len, reverse=True)) + r")(?= )")
INTEGER = re.compile(r"(?<![\w.])\d+(?![\w.'])")
DECIMAL = re.compile(r"(?<![\w.])(\d+\.\d+)(f?)(?![\w.])")
CONDITION = re.compile(r"\b(?:if|while) \(")
# A statement on a line of its own that declares nothing: an assignment, a call, a step, a return.
STATEMENT = re.compile(
    r"^ +((?:[\w.\[\]()*:+-]|->)+ (?:=|\+=|-=|\*=|/=|\|=|&=) [^{]*;"
    r"|(?!return\b|delete\b|throw\b)[\w.:\[\]>-]+\([^{]*\);"
    r"|(?:\+\+|--)[\w.\[\]>-]+;|return;)$")
UNTOUCHED = re.compile(
    r"^\s*#|static_assert|\[\[|__attribute__|^\s*(?:template|using|typedef)\b|requireKind|cvError")


@dataclass(frozen=True)
class Mutant:
    file: str  # relative to the root
    number: int  # of the line, from 1
    line: str
    mutated: str

    def as_diff(self):
        return f"{self.file}:{self.number}\n- {self.line.strip()}\n+ {self.mutated.strip()}"

    def rank(self):
        """A number that says nothing about the mutant, and stays when other lines change."""
        text = f"{self.file}\n{self.line}\n{self.mutated}"
        return hashlib.sha256(text.encode()).hexdigest()


def sources(root):
    return sorted(p.relative_to(root) for folder in ("core", "src")
                  for p in (root / folder).glob("*.[ch]pp"))


def choose(root, files, count):
    every = [mutant for file in files for mutant in of_file(root, file)]
    chosen = sorted(every, key=Mutant.rank)[:count]
    return sorted(chosen, key=lambda m: (m.file, m.number, m.mutated))


def of_file(root, file):
    lines = (root / file).read_text().split("\n")
    code = without_comments_and_texts("\n".join(lines)).split("\n")
    found = []
    for i, (line, plain) in enumerate(zip(lines, code)):
        if UNTOUCHED.search(plain):
            continue
        follows_statement = re.search(r"(?:^\s*|[;{}:])$", code[i - 1].rstrip()) if i else False
        for begin, end, replacement in changes(plain, follows_statement):
            mutated = line[:begin] + replacement + line[end:]
            found.append(Mutant(str(file), i + 1, line, mutated))
    return found


def changes(code, follows_statement):
    """Yields (begin, end, replacement) for every change to a line."""
    for match in OPERATOR.finditer(code):
        for other in SWAPS[match.group()]:
            yield match.start(), match.end(), other
    for match in INTEGER.finditer(code):
        value = int(match.group())
        yield match.start(), match.end(), str(value + 1)
        if value > 0:
            yield match.start(), match.end(), str(value - 1)
    for match in DECIMAL.finditer(code):
        yield match.start(), match.end(), f"{float(match.group(1)) + 1.0}{match.group(2)}"
    for match in CONDITION.finditer(code):
        end = closing_parenthesis(code, match.end())
        if end:
            yield match.end(), end, "!(" + code[match.end():end] + ")"
    if follows_statement:
        match = STATEMENT.match(code.rstrip())
        if match:
            yield match.start(1), match.end(1), ";"


def closing_parenthesis(code, begin):
    depth = 1
    for i in range(begin, len(code)):
        depth += {"(": 1, ")": -1}.get(code[i], 0)
        if depth == 0:
            return i
    return None


def without_comments_and_texts(code):
    """The same code with spaces in place of comments, strings and characters."""
    pattern = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])\'', re.S)
    return pattern.sub(lambda m: re.sub(r"[^\n]", " ", m.group()), code)

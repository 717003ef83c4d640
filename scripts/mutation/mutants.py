"""The mutants of a C++ source: every place where a small change can be made, and the change.

The operators that make them are in operators.py.
"""
import hashlib
import re
from dataclasses import dataclass

from . import operators

UNTOUCHED = re.compile(
    r"^\s*#|static_assert|\[\[|__attribute__|^\s*(?:template|using|typedef)\b|cvError")


@dataclass(frozen=True)
class Mutant:
    file: str  # relative to the root
    number: int  # of the first line, from 1
    line: str  # the lines that change; nearly always one
    mutated: str
    kind: str

    def as_diff(self):
        return f"{self.file}:{self.number}\n- {in_one(self.line)}\n+ {in_one(self.mutated)}"

    def key(self):
        """What tells it from all others, also after other lines have changed."""
        return self.file, in_one(self.line), in_one(self.mutated)

    def rank(self):
        """A number that says nothing about the mutant, and stays when other lines change."""
        text = f"{self.file}\n{self.line}\n{self.mutated}"
        return hashlib.sha256(text.encode()).hexdigest()

    def applied_to(self, text):
        lines = text.split("\n")
        first, changed = self.number - 1, self.line.split("\n")
        assert lines[first:first + len(changed)] == changed
        return "\n".join(lines[:first] + [self.mutated] + lines[first + len(changed):])


def in_one(lines):
    return " ".join(line.strip() for line in lines.split("\n"))


def sources(root):
    return sorted(p.relative_to(root) for folder in ("core", "src")
                  for p in (root / folder).glob("*.[ch]pp"))


def choose(root, files, count, kinds):
    every = [mutant for file in files for mutant in of_file(root, file, kinds)]
    chosen = sorted(every, key=Mutant.rank)[:count]
    return sorted(chosen, key=lambda m: (m.file, m.number, m.mutated))


def of_file(root, file, kinds):
    lines = (root / file).read_text().split("\n")
    code = without_comments_and_texts("\n".join(lines)).split("\n")
    found = {}
    for i, (line, plain) in enumerate(zip(lines, code)):
        if UNTOUCHED.search(plain):
            continue
        place = operators.Place(plain, code[i - 1] if i else "", code[i + 1:i + 2])
        for operator, kind in operators.ALL:
            for change in operator(place):
                original = "\n".join(lines[i:i + change.lines])
                text = change.text.replace(operators.SAME, original[change.begin:change.end])
                mutated = original[:change.begin] + text + original[change.end:]
                if change.swapped:
                    mutated = lines[i + 1] + "\n" + lines[i]
                # The same change by two operators counts for the first one.
                found.setdefault((i, mutated), Mutant(str(file), i + 1, original, mutated, kind))
    return [mutant for mutant in found.values() if mutant.kind in kinds]


def without_comments_and_texts(code):
    """The same code with spaces in place of comments, strings and characters."""
    pattern = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])\'', re.S)
    return pattern.sub(lambda m: re.sub(r"[^\n]", " ", m.group()), code)

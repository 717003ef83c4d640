"""What came out of the mutants, for people (a table) and for scripts (JSON)."""
import json
import sys
from collections import Counter

from .operators import KINDS
from .trial import KILLED, NO_BUILD, SAME_CODE, SURVIVED


def progress(results, newest):
    if newest.verdict == SURVIVED:
        print("\nnot noticed: " + newest.mutant.as_diff())
    done = [result for result in results if result]
    counts = Counter(result.verdict for result in done)
    print(f"{len(done)} of {len(results)} mutants: {counts[KILLED]} killed, "
          f"{counts[SURVIVED]} survived", end="\r" if sys.stdout.isatty() else "\n", flush=True)


def read_equivalents(path):
    """The reasons by (file, line, mutated line), from blocks of
    a file's name, "- line", "+ mutated line" and the reason on the lines behind."""
    reasons = {}
    if not path.exists():
        return reasons
    for block in path.read_text().split("\n\n"):
        lines = [line for line in block.strip().split("\n") if not line.startswith("#")]
        if len(lines) >= 4:
            reason = " ".join(line.strip() for line in lines[3:])
            reasons[lines[0].strip(), lines[1][2:].strip(), lines[2][2:].strip()] = reason
    return reasons


def share_noticed(killed, survived):
    return killed / max(1, killed + survived)


def table(results, excused):
    """One line a kind and one for all: killed, survived, equivalent, and the part noticed."""
    lines = [f"{'':10}{'killed':>8}{'survived':>10}{'equivalent':>12}{'noticed':>10}"]
    for name in [*KINDS, "all"]:
        of_kind = [r for r in results if name in (r.mutant.kind, "all")]
        counts = Counter(r.verdict for r in of_kind)
        equivalent = sum(r.verdict == SURVIVED and r.mutant.key() in excused for r in of_kind)
        survived = counts[SURVIVED] - equivalent
        noticed = share_noticed(counts[KILLED], survived)
        if of_kind:
            lines.append(f"{name:10}{counts[KILLED]:8}{survived:10}"
                         f"{equivalent + counts[SAME_CODE]:12}{100 * noticed:8.1f} %")
    return "\n".join(lines)


def summarise(results, excused, folder):
    """Prints the table and returns the part of the mutants that the tests notice."""
    survivors = [r for r in results
                 if r.verdict == SURVIVED and r.mutant.key() not in excused]
    for result in survivors:
        print("\nsurvived: " + result.mutant.as_diff())
    counts = Counter(result.verdict for result in results)
    print(f"\n{table(results, excused)}\n\n{len(results)} mutants, {counts[NO_BUILD]} not valid C++, "
          f"{counts[SAME_CODE]} with the same machine code")
    (folder / "report.json").write_text(json.dumps(
        [{"kind": r.mutant.kind, "file": r.mutant.file, "line": r.mutant.number,
          "before": r.mutant.line.strip(), "after": r.mutant.mutated.strip(),
          "verdict": r.verdict, "by": r.by} for r in results], indent=1))
    return share_noticed(counts[KILLED], len(survivors))

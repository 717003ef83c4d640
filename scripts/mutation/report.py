"""What came out of the mutants, for people (a table) and for scripts (JSON)."""
import json
import sys
from collections import Counter

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


def key(mutant):
    return mutant.file, mutant.line.strip(), mutant.mutated.strip()


def summarise(results, excused, folder):
    """Prints the table and returns the part of the mutants that the tests notice."""
    survivors = [r for r in results if r.verdict == SURVIVED and key(r.mutant) not in excused]
    equivalent = [r for r in results if r.verdict == SURVIVED and key(r.mutant) in excused]
    counts = Counter(result.verdict for result in results)
    noticed = counts[KILLED] / max(1, counts[KILLED] + len(survivors))
    for result in survivors:
        print("\nsurvived: " + result.mutant.as_diff())
    print(f"\n{len(results)} mutants"
          f"\n  killed                        {counts[KILLED]}"
          f"\n  survived                      {len(survivors)}"
          f"\n  equivalent, same machine code {counts[SAME_CODE]}"
          f"\n  equivalent, with a reason     {len(equivalent)}"
          f"\n  not valid C++                 {counts[NO_BUILD]}"
          f"\n  noticed                       {100 * noticed:.1f} %")
    (folder / "report.json").write_text(json.dumps(
        [{"file": r.mutant.file, "line": r.mutant.number, "before": r.mutant.line.strip(),
          "after": r.mutant.mutated.strip(), "verdict": r.verdict, "by": r.by}
         for r in results], indent=1))
    return noticed

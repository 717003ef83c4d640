"""Runs the benchmarks that benchmarks/goals.json names and compares them with the goals.

A row of goals.json:

    work, input   what is measured, for people
    ours          benchmark of the library
    other         benchmark that it is compared with: the literal model or the bare call
    goal          "at least 4" (other / ours) or "at most 1.3" (ours / other)
    per           optional: the counter to compare instead of the time of one run; where one
                  name serves two benchmarks of unlike amounts of work, the time for one unit
    pair          instead of `other`, where `ours` takes both sides in turn: its counters of the
                  library's and the other's milliseconds, and the one that is held to the goal

All figures are medians over the repetitions of one process.
"""

import argparse
import json
import os
import pathlib
import platform
import re
import subprocess
import sys
import tempfile

import growth_plot

HERE = pathlib.Path(__file__).resolve().parent
DOCS_PAGE = HERE.parent / "docs" / "benchmarks.md"
TABLE_BEGIN, TABLE_END = "<!-- table: scripts/bench --write -->", "<!-- end of table -->"


def parse_arguments():
    parser = argparse.ArgumentParser(description="Compare the benchmarks with their goals.")
    parser.add_argument("program", help="the benchmark program")
    parser.add_argument("--only", default="", help="rows whose work or input contains this")
    parser.add_argument("--repetitions", type=int, default=5)
    parser.add_argument("--min-time", type=float, default=0.1, help="seconds for one repetition")
    parser.add_argument("--write", action="store_true", help="renew docs/benchmarks.md and its plot")
    return parser.parse_args()


def chosen_rows(word):
    rows = json.loads((HERE / "goals.json").read_text())
    return [row for row in rows if word.lower() in (row["work"] + " " + row["input"]).lower()]


def run(program, names, repetitions, min_time):
    """Of the named benchmarks the medians (name -> the benchmark's JSON record) and, of those that
    refused to run, what they said (name -> message)."""
    pattern = "^(" + "|".join(re.escape(name) for name in sorted(names)) + ")$"
    with tempfile.TemporaryDirectory() as folder:
        out = os.path.join(folder, "out.json")
        subprocess.run(
            [program, f"--benchmark_filter={pattern}", f"--benchmark_repetitions={repetitions}",
             f"--benchmark_min_time={min_time}", "--benchmark_report_aggregates_only=true",
             # A machine is not always as fast; so what is compared takes turns.
             "--benchmark_enable_random_interleaving=true",
             f"--benchmark_out={out}", "--benchmark_out_format=json"],
            check=True, stdout=sys.stderr)
        report = json.loads(pathlib.Path(out).read_text())
    records = report["benchmarks"]
    medians = {b["run_name"]: b for b in records if b.get("aggregate_name") == "median"}
    refused = {b["run_name"]: b["error_message"] for b in records if b.get("error_occurred")}
    return medians, refused, report["context"]


def nanoseconds(record):
    return record["cpu_time"] * {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}[record["time_unit"]]


def figure(record, counter):
    """Nanoseconds of one run, or the counter's value."""
    return record[counter] if counter else nanoseconds(record)


def benchmarks_of(row):
    return row["ours"], row.get("other", row["ours"])


def measure(row, medians):
    """(ratio, whether the goal is met), or None when a benchmark did not run."""
    if not all(name in medians for name in benchmarks_of(row)):
        return None
    sense, goal = re.fullmatch(r"(at least|at most) ([\d.]+)", row["goal"]).groups()
    if "pair" in row:
        ratio = medians[row["ours"]][row["pair"][2]]
        return ratio, ratio >= float(goal) if sense == "at least" else ratio <= float(goal)
    ours = figure(medians[row["ours"]], row.get("per"))
    other = figure(medians[row["other"]], row.get("per"))
    if sense == "at least":
        return other / ours, other / ours >= float(goal)
    return ours / other, ours / other <= float(goal)


def readable_time(time):
    for unit, scale in (("ns", 1.0), ("us", 1e3), ("ms", 1e6)):
        if time < 1000 * scale:
            return f"{time / scale:.3g} {unit}"
    return f"{time / 1e9:.3g} s"


def both_figures(row, medians):
    """The library's figure and the other's, as the table shows them."""
    if "pair" in row:
        return [readable_time(1e6 * medians[row["ours"]][counter]) for counter in row["pair"][:2]]
    values = [figure(medians[name], row.get("per")) for name in benchmarks_of(row)]
    if not row.get("per"):
        return [readable_time(value) for value in values]
    unit = row["per"].replace("_", " ")
    return [f"{value:.3g} {unit}" for value in values]


def table(rows, medians):
    lines = ["| work | input | library | compared with | goal | measured | met |",
             "|---|---|---|---|---|---|---|"]
    for row in rows:
        result = measure(row, medians)
        cells = [row["work"], row["input"], "-", "-", row["goal"], "not run", "-"]
        if result is not None:
            cells[2:4] = both_figures(row, medians)
            cells[5] = f"{result[0]:.2f}"
            cells[6] = "yes" if result[1] else "**no**"
        cells[3] += " (" + row.get("against", "literal model") + ")"
        lines.append("| " + " | ".join(cells) + " |")
    return "\n".join(lines)


def machine(context):
    model = next((line.split(":", 1)[1].strip() for line in open("/proc/cpuinfo")
                  if line.startswith("model name")), platform.machine())
    compiler = subprocess.run(["c++", "--version"], capture_output=True, text=True, check=True)
    return (f"Machine: {model}, {context['num_cpus']} processors. "
            f"Compiler: {compiler.stdout.splitlines()[0]}, preset `release` "
            "(`-O3 -DNDEBUG -ffp-contract=off`, no `-march`). One thread; medians.")


def write_page(text):
    page = DOCS_PAGE.read_text()
    before, rest = page.split(TABLE_BEGIN)
    after = rest.split(TABLE_END)[1]
    DOCS_PAGE.write_text(before + TABLE_BEGIN + "\n\n" + text + "\n\n" + TABLE_END + after)


def main():
    arguments = parse_arguments()
    rows = chosen_rows(arguments.only)
    if not rows:
        sys.exit("no row of benchmarks/goals.json matches")
    names = {name for row in rows for name in benchmarks_of(row)}
    if arguments.write:
        names |= growth_plot.names()
    medians, refused, context = run(arguments.program, names, arguments.repetitions, arguments.min_time)
    text = machine(context) + "\n\n" + table(rows, medians)
    print(text)
    for name, message in sorted(refused.items()):
        print(f"{name} did not run: {message}", file=sys.stderr)
    missing = sorted(names - set(medians) - set(refused))
    if missing:
        sys.exit("these benchmarks are named but do not exist: " + ", ".join(missing))
    if arguments.write:
        write_page(text)
        growth_plot.draw(lambda name: nanoseconds(medians[name]) / 1e6)


if __name__ == "__main__":
    main()

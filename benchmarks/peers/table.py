"""Prints the comparison with other libraries as Markdown, and renews it on a page.

    table.py FIGURES.json BUILD_DIRECTORY [PAGE.md]

FIGURES.json is what Google Benchmark writes. On the page, what stands between the two markers is
replaced.
"""
import json
import platform
import re
import statistics
import subprocess
import sys

BEGIN = "<!-- figures: written by scripts/bench-peers --write -->"
END = "<!-- end of figures -->"
PACKAGES = ("libmrpt-maps-dev", "libmrpt-nav-dev", "libompl-dev", "libbenchmark-dev",
            "libopencv-core-dev")
PEERS = {"mrpt": "MRPT", "ompl": "OMPL"}


def medians(path):
    """{query: {floor: {library: benchmark entry}}}, in the order of registration."""
    with open(path, encoding="utf-8") as file:
        entries = json.load(file)["benchmarks"]
    failed = [entry["name"] for entry in entries if entry.get("error_occurred")]
    if failed:
        sys.exit("table.py: these failed: " + ", ".join(sorted(set(failed))))
    queries = {}
    for entry in sorted(entries, key=lambda entry: entry["family_index"]):
        if entry.get("aggregate_name") != "median":
            continue
        _, query, library, floor = entry["run_name"].split("/")[:4]
        queries.setdefault(query, {}).setdefault(floor, {})[library] = entry
    return queries


def milliseconds(entry):
    """Of a query; of one that is made of many ways, of the median way."""
    if by_way(entry, "ms"):
        return statistics.median(by_way(entry, "ms"))
    assert entry["time_unit"] == "us"
    return entry["cpu_time"] / 1000.0


def ratios(ours, theirs):
    """How many times as long the peer took on each way of a planner's query."""
    return [t / o for o, t in zip(by_way(ours, "ms"), by_way(theirs, "ms"))]


def ratio(ours, theirs):
    """For many ways, the median of theirs."""
    ways = ratios(ours, theirs)
    return statistics.median(ways) if ways else milliseconds(theirs) / milliseconds(ours)


def figure(value):
    """Three digits that count."""
    return f"{value:.0f}" if value >= 1000 else f"{value:#.3g}".rstrip(".")


def agreement(query, ours, theirs):
    if query == "simulate_scan":
        return (f"ranges differ by {theirs['median_difference_m'] * 100:.1f} cm (median), "
                f"{theirs['p95_difference_m'] * 100:.1f} cm (95 %); "
                f"{theirs['same_verdict_share']:.1%} of the beams alike in hit or no hit")
    if query == "update_map":
        return (f"{theirs['touched_by_both_share']:.0%} of all touched cells touched by both; "
                f"{theirs['same_verdict_share']:.1%} of these lean the same way")
    if query == "score":
        return (f"best pose {ours['off_truth_m']:.2f} m, {ours['off_truth_deg']:.0f}° / "
                f"{theirs['off_truth_m']:.2f} m, {theirs['off_truth_deg']:.0f}° off the true one; "
                f"rank correlation of the poses {theirs['rank_correlation']:.2f}")
    if query == "score_first":
        return "as for score"
    if query.startswith("plan"):
        return planned(ours, theirs)
    return "; ".join(simplified(entry) for entry in (ours, theirs))


def by_way(entry, counter):
    """The counter of every way of a planner's query; empty for other queries."""
    values = []
    while f"{counter}_{len(values)}" in entry:
        values.append(entry[f"{counter}_{len(values)}"])
    return values


def planned(ours, theirs):
    our_lengths, their_lengths = by_way(ours, "length"), by_way(theirs, "length")
    longer = round(sum(their_lengths) / sum(our_lengths) - 1, 3) + 0.0  # never -0.0 %
    ways = len(our_lengths)
    if ways == 1:
        return f"{our_lengths[0]:.2f} m / {their_lengths[0]:.2f} m, {longer:+.1%}"
    times = ratios(ours, theirs)
    wins = sum(value > 1 for value in times)
    most = max(t / o for o, t in zip(our_lengths, their_lengths)) - 1
    return (f"{statistics.median(our_lengths):.2f} m / {statistics.median(their_lengths):.2f} m "
            f"(median); the peer's {ways} ways together {longer:+.1%}, the worst {most:+.0%}; "
            f"korrin faster on {wins} of {ways}, "
            f"peer / korrin from {figure(min(times))} to {figure(max(times))}")


def simplified(entry):
    return (f"{entry['given_poses']:.0f} poses to {entry['left_poses']:.0f}, "
            f"{entry['given_length_m']:.2f} m to {entry['left_length_m']:.2f} m, "
            f"off the given path by {entry['deviation_m']:.2f} m, "
            f"{entry['blocked_segments']:.0f} blocked by our rays")


def pairs(queries):
    for query, floors in queries.items():
        for floor, entries in floors.items():
            ours = entries.get("korrin")
            for library, name in PEERS.items():
                if ours and library in entries:
                    yield query, floor, name, ours, entries[library]


def tables(queries):
    times = ["| query | floor | korrin, ms | peer, ms | | peer / korrin |",
             "|---|---|---:|---:|---|---:|"]
    answers = ["| query | floor | the answers, korrin's / the peer's |", "|---|---|---|"]
    for query, floor, name, ours, theirs in pairs(queries):
        times.append(f"| `{query}` | {floor} | {figure(milliseconds(ours))} "
                     f"| {figure(milliseconds(theirs))} | {name} | {figure(ratio(ours, theirs))} |")
        answers.append(f"| `{query}` | {floor} | {agreement(query, ours, theirs)} |")
    return "\n".join(times) + "\n\n" + "\n".join(answers)


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout.strip()


def cached(build, name):
    with open(f"{build}/CMakeCache.txt", encoding="utf-8") as file:
        found = re.search(rf"^{name}:\w+=(.*)$", file.read(), re.MULTILINE)
    return found.group(1) if found else ""


def processor():
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        found = re.search(r"^model name\s*:\s*(.*)$", file.read(), re.MULTILINE)
    return found.group(1) if found else platform.machine()


def circumstances(build, context):
    compiler = output_of(cached(build, "CMAKE_CXX_COMPILER"), "--version").splitlines()[0]
    flags = " ".join((cached(build, "CMAKE_CXX_FLAGS") + " "
                      + cached(build, "CMAKE_CXX_FLAGS_RELEASE")).split())
    packages = output_of("dpkg-query", "-W", "-f", "${Package} ${Version}, ", *PACKAGES)
    load = ", ".join(f"{value:.1f}" for value in context["load_avg"])
    return (f"- Measured {context['date'][:10]} on {processor()}, {context['num_cpus']} CPUs; "
            f"load average at the start {load}.\n"
            f"- {compiler}, `{flags} -ffp-contract=off`.\n"
            f"- {packages.rstrip(', ')}, as Debian compiled them.")


def renew(page, text):
    with open(page, encoding="utf-8") as file:
        before, rest = file.read().split(BEGIN)
    after = rest.split(END)[1]
    with open(page, "w", encoding="utf-8") as file:
        file.write(f"{before}{BEGIN}\n\n{text}\n\n{END}{after}")


def main():
    figures, build = sys.argv[1:3]
    with open(figures, encoding="utf-8") as file:
        context = json.load(file)["context"]
    text = circumstances(build, context) + "\n\n" + tables(medians(figures))
    print(text)
    for page in sys.argv[3:]:
        renew(page, text)


if __name__ == "__main__":
    main()

"""Measures korrin.fleet: plans a second by threads and by processes, and what a cluster adds to a request.

scripts/bench-fleet builds the module and calls this. The ways take turns, since no machine is always as
fast, and the figures are those of the fastest round of each, of wall-clock time.
"""

import argparse
import pathlib
import platform
import sys
import time

import distributed

import korrin
import korrin.fleet

ROOT = pathlib.Path(__file__).resolve().parent.parent
FLOOR = ROOT.parent / "shared" / "data" / "maps" / "willow-full-0.05.yaml"
PAGE = ROOT / "docs" / "tasks" / "plan_for_many_robots.md"
sys.path[:0] = [str(ROOT / "scripts"), str(ROOT / "tests" / "python")]
from fleet_examples import free_pairs, nothing  # noqa: E402
from judge import table  # noqa: E402


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--plans", type=int, default=1000, help="requests of a round (default: 1000)")
    parser.add_argument("--rounds", type=int, default=7, help="rounds (default: 7)")
    parser.add_argument("--write", action="store_true", help="renew the page's table")
    return parser.parse_args()


def machine():
    model = next((line.split(":", 1)[1].strip() for line in open("/proc/cpuinfo")
                  if line.startswith("model name")), platform.machine())
    return f"{model}, {korrin.fleet.own_processors()} processors as the system counts them"


def workers(count):
    """A client of so many worker processes of one thread on this machine."""
    return distributed.Client(distributed.LocalCluster(
        n_workers=count, threads_per_worker=1, processes=True, dashboard_address=":0"))


def plans_of(planner, requests):
    """By name, what makes all plans in that way; two of them differ in one thing."""
    def by(client, threads=None):
        return lambda: korrin.fleet.plan_all(client, planner, requests, threads=threads)

    one, two = workers(1), workers(2)
    return {
        "a plain loop": lambda: [planner.plan(*request) for request in requests],
        "one thread": by(None, 1),
        "two threads": by(None, 2),
        "a cluster of one worker process": by(one),
        "a cluster of two worker processes": by(two),
    }, (one, two)


def seconds(call):
    began = time.perf_counter()
    call()
    return time.perf_counter() - began


def measured(ways, rounds):
    """The seconds of each way, round by round."""
    found = {name: [] for name in ways}
    for _ in range(rounds):
        for name, call in ways.items():
            found[name].append(seconds(call))
    return found


def rows_of(found, plans):
    for name, times in found.items():
        faster = min(found["one thread"]) / min(times)
        yield (name, f"{plans / min(times):,.0f}", f"{faster:.2f}")


def overheads(client, rounds):
    """Milliseconds of a request that takes no time: of many in a call, and of one alone."""
    count = 20_000
    many = min(seconds(lambda: korrin.fleet.sweep(client, nothing, range(count))) for _ in range(rounds))
    one = min(seconds(lambda: korrin.fleet.sweep(client, nothing, [0])) for _ in range(rounds))
    return 1e3 * many / count, 1e3 * one


def report(options):
    planner = korrin.PathPlanner(korrin.load_map(FLOOR), robot_radius=0.2)
    requests = free_pairs(planner, options.plans)
    ways, clients = plans_of(planner, requests)
    expected = ways["a plain loop"]()
    for name, call in ways.items():
        if call() != expected:
            sys.exit(f"bench-fleet: {name} gives other plans than a plain loop")
    found = measured(ways, options.rounds)
    threads_many, threads_one = overheads(None, options.rounds)
    many, one = overheads(clients[1], options.rounds)
    one_worker, one_thread = (min(found[name]) for name in ("a cluster of one worker process", "one thread"))
    added = 1e3 * (one_worker - one_thread) / options.plans
    for client in clients:
        client.close()
    header = ("way", "plans a second", "times one thread")
    return "\n".join([
        f"Machine: {machine()}; Python {platform.python_version()}, distributed {distributed.__version__}. "
        f"{options.plans:,} random requests on willow (1165 x 945 cells), a radius of 0.2 m; the fastest "
        f"of {options.rounds} rounds in turn, wall clock.",
        "",
        table.columns(header, rows_of(found, options.plans)),
        "",
        f"A worker process instead of a thread adds {added:.2f} ms to a plan of these. A request that does "
        f"nothing takes {many:.3f} ms on two workers and {threads_many:.3f} ms on threads when there are "
        f"20,000 of them; a call with a single one takes {one:.0f} ms and {threads_one:.1f} ms.",
    ])


def main():
    options = arguments()
    if not FLOOR.exists():
        print(f"bench-fleet: {FLOOR} is not there, so nothing was measured", file=sys.stderr)
        return 2
    text = report(options)
    print(text)
    if options.write:
        PAGE.write_text(table.replaced(PAGE.read_text(), "scripts/bench-fleet --write", text))
    return 0


if __name__ == "__main__":
    sys.exit(main())

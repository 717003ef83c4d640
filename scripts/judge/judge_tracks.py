"""Raw odometry, recorded and simulated, corrected, and held to what is known of the true poses."""
import numpy as np

from .correcting import Case, corrected
from .logs import check_same_scans, read_timed, with_poses
from .relations import relation_error
from .reposing import reposed
from .simulate_odometry import simulated_odometry
from .table import Row, columns, span
from .tracks import gaps_at_ends

SIMULATED = ("freiburg-079", "aces", "intel")
HAS_RELATIONS = ("freiburg-079",)

# Scans that are turned in a corrected log, and by how many degrees. A loop to one of them is held
# to the pose where it fits a map of all others (reposing.py), if that is turned by as much.
TURNED_IN_TRUTH = {"intel": {835: -5.5}}
TURNED_WITHIN = 1.5  # degrees


def scans_at_fault(name, scans):
    """Those of TURNED_IN_TRUTH that are indeed turned there, with the evidence."""
    found = {}
    for number, degrees in TURNED_IN_TRUTH.get(name, {}).items():
        evidence = reposed(scans, number)
        better = evidence.likelihood_after > evidence.likelihood_before
        if better and abs(evidence.degrees - degrees) <= TURNED_WITHIN:
            found[number] = evidence
    return found


class TrackJudge:
    """Corrects the logs of `data`, tells of each as it is done, and keeps the rows."""

    def __init__(self, data, out, tell=print):
        self.data, self.out, self.tell = data, out, tell
        self.rows, self.runs, self.at_fault = [], [], {}

    def log(self, name):
        return read_timed(self.data / "logs" / f"{name}.log.gz")

    def relations(self, name):
        return self.data / "benchmarks" / f"{name}.relations"

    def truth_of(self, name):
        """The corrected log, of which scans at fault are found once."""
        log = self.log(f"{name}-corrected")
        if name not in self.at_fault:
            self.at_fault[name] = scans_at_fault(name, log.scans)
        return log

    def run(self, case):
        scans, run = corrected(case, self.out / f"{case.name}-aligned.log.gz")
        self.runs.append(run)
        self.tell(run_line(run))
        return scans, run

    def judge_intel_raw(self):
        raw, truth = self.log("intel-raw"), self.truth_of("intel")
        check_same_scans(raw.scans, truth.scans)
        file = self.relations("intel")
        _, run = self.run(
            Case("intel-raw", raw.scans, raw.no_return, truth.poses, file, self.at_fault["intel"])
        )
        others, own = relation_error(raw.times, truth.poses, file), run.relations_after
        metres, degrees = min(0.04, 1.1 * others.metres), min(0.5, 1.1 * others.degrees)
        self.rows += [
            Row(
                "intel-raw, relations, mean",
                f"{metres:.4f} m, {degrees:.3f}°; of the corrected log {others.metres:.4f} m, "
                f"{others.degrees:.3f}°",
                f"{own.metres:.4f} m, {own.degrees:.3f}°",
                own.metres <= metres and own.degrees <= degrees,
            ),
            Row(
                "intel-raw, likelihood of the map",
                "0.936",
                f"{run.likelihood:.4f}",
                run.likelihood >= 0.936,
            ),
            Row(
                "intel-raw, time of one processor",
                "60 s",
                f"{run.seconds:.1f} s",
                run.seconds <= 60,
            ),
        ]

    def judge_telecom(self):
        log = self.log("telecom_faculty_loop")
        scans, run = self.run(Case("telecom", log.scans, log.no_return))
        gaps = gaps_at_ends(scans)
        self.rows.append(
            Row(
                "telecom, likelihood of the map",
                "0.946",
                f"{run.likelihood:.4f}",
                run.likelihood >= 0.946,
            )
        )
        text = f"{len(gaps)} scans come back"
        if len(gaps) > 0:
            text += f": median {np.median(gaps):.3f} m, at most {gaps.max():.3f} m"
        met = len(gaps) > 0 and bool(gaps.max() <= 0.2)
        self.rows.append(Row("telecom, the loop's two ends apart", "0.2 m", text, met))

    def judge_simulated(self, seeds):
        runs = {name: self.simulated_runs(name, seeds) for name in SIMULATED}
        good = 0
        for name, some in runs.items():
            fine = [run.after.median <= 0.25 and run.after.most <= 0.6 for run in some]
            good += sum(fine)
            medians, most = [run.after.median for run in some], [run.after.most for run in some]
            self.rows.append(
                Row(
                    f"{name}, simulated odometry: off the corrected log, median and 95 %",
                    "0.25 m, 0.6 m",
                    f"{span(medians, 3)} m, {span(most, 3)} m; {sum(fine)} of {len(fine)}",
                    all(fine),
                )
            )
        count = seeds * len(SIMULATED)
        self.rows.append(
            Row("all of these", "14 of 15", f"{good} of {count}", 15 * good >= 14 * count)
        )
        for name in HAS_RELATIONS:
            metres = [run.relations_after.metres for run in runs[name]]
            degrees = [run.relations_after.degrees for run in runs[name]]
            self.rows.append(
                Row(
                    f"{name}, simulated odometry: relations, mean",
                    "0.06 m",
                    f"{span(metres, 4)} m, {span(degrees, 2)}°",
                    max(metres) <= 0.06,
                )
            )

    def simulated_runs(self, name, seeds):
        truth = self.truth_of(name)
        file = self.relations(name) if name in HAS_RELATIONS else None
        runs = []
        for seed in range(1, seeds + 1):
            scans = with_poses(truth.scans, simulated_odometry(truth.poses, seed))
            case = Case(
                f"{name}-{seed}", scans, truth.no_return, truth.poses, file, self.at_fault[name]
            )
            runs.append(self.run(case)[1])
        return runs

    def judge_loops(self):
        """After all others: the loops of all runs with a truth."""
        judged = [run for run in self.runs if run.before is not None]
        dropped = sum(run.dropped for run in judged)
        counting = sum(run.loops for run in judged) - dropped
        wrong = sum(len(run.wrong) for run in judged)
        wrong_dropped = sum(len(run.wrong_dropped) for run in judged)
        excused = sum(len(run.excused) for run in judged)
        text = f"{wrong} of {counting:,}"
        if excused:
            text += f"; {excused} more to a scan that is turned in the corrected log"
        self.rows += [
            Row("wrong loops in the result, all logs with a corrected one", "0", text, wrong == 0),
            Row(
                "wrong loops accepted on the way, and dropped before the end",
                "0",
                f"{wrong_dropped} of {dropped:,} dropped",
                wrong_dropped == 0,
            ),
        ]

    def evidence(self):
        """What is wrong with the corrected logs themselves, in words."""
        return [
            f"Scan {number} of {name}-corrected: on a map of all others of that log, at that log's "
            f"poses, it fits best turned by {found.degrees:.2f}° and moved by {found.metres:.3f} m;"
            f" that map explains it with {found.likelihood_before:.3f} as logged, and with "
            f"{found.likelihood_after:.3f} there."
            for name, scans in self.at_fault.items()
            for number, found in scans.items()
        ]

    def details(self):
        header = (
            "log", "odometry: median, 95 %", "corrected", "relations before", "relations after",
            "likelihood", "loops", "dropped", "wrong in the result, dropped", "seconds",
        )
        return columns(header, [run_cells(run) for run in self.runs])


def run_cells(run):
    def metres(error):
        return f"{error.median:.3f} m, {error.most:.3f} m" if error else ""

    def relation(error):
        return f"{error.metres:.4f} m, {error.degrees:.3f}°" if error else ""

    wrong = f"{len(run.wrong)}, {len(run.wrong_dropped)}" if run.before else ""
    return (
        run.name, metres(run.before), metres(run.after), relation(run.relations_before),
        relation(run.relations_after), f"{run.likelihood:.4f}", f"{run.loops:,}", str(run.dropped),
        wrong, f"{run.seconds:.1f}",
    )


def run_line(run):
    kinds = {"wrong": run.wrong, "wrong, dropped": run.wrong_dropped, "excused": run.excused}
    named = [f"{kind}: {pairs}" for kind, pairs in kinds.items() if pairs]
    return " | ".join([*run_cells(run), *named])

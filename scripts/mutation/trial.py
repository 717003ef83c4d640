"""Builds mutants, each in a copy of the tree, and puts them to the tests."""
import hashlib
import json
import os
import queue
import shutil
import subprocess
import threading
import time
from collections import Counter
from dataclasses import dataclass

from .mutants import Mutant

CONFIGURE = [
    "-G", "Ninja", "-DCMAKE_BUILD_TYPE=None", "-DCMAKE_CXX_FLAGS=-O1",
    # A test need not be linked again for another libkorrin.so.
    "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON", "-DKORRIN_BUILD_IO=OFF",
    "-DKORRIN_BUILD_MAPPING=OFF", "-DKORRIN_BUILD_TOOLS=OFF",
    "-DKORRIN_BUILD_EXAMPLES=OFF", "-DKORRIN_BUILD_BENCHMARKS=OFF", "-DKORRIN_BUILD_PYTHON=OFF",
]
# Scripts that look at the project as a whole.
NOT_ASKED = ("stranger/", "public_headers_test", "exported_symbols_test")
SLOWEST = 10.0  # seconds; a test that takes longer is not asked

KILLED, SURVIVED, SAME_CODE, NO_BUILD = "killed", "survived", "same code", "does not build"


@dataclass
class Result:
    mutant: Mutant
    verdict: str
    by: str = ""


@dataclass
class Test:
    name: str
    command: list
    directory: str
    environment: dict
    seconds: float = 0.0

    def target(self):
        return self.name.replace("/", "_")

    def includes(self, tree, file):
        """Whether its own source has a copy of a private header's code."""
        source = tree / "tests" / f"{self.name}.cpp"
        return source.exists() and f'#include "{file}"' in source.read_text()

    def passes(self, limit):
        # In a session of its own, so that nothing that a mutant starts is left running.
        try:
            done = subprocess.run(self.command, cwd=self.directory, timeout=limit,
                                  env={**os.environ, **self.environment, "GTEST_FAIL_FAST": "1"},
                                  stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                  start_new_session=True)
        except subprocess.TimeoutExpired:
            return False
        return done.returncode == 0


class Workplace:
    """A copy of the tree with a build of its own."""

    def __init__(self, root, place):
        self.tree = place / "tree"
        self.build = place / "build"
        self.copy(root)
        self.run(["cmake", "-S", self.tree, "-B", self.build, *CONFIGURE])
        self.run(["cmake", "--build", self.build])
        self.original = self.digest()
        self.tests = [test for test in self.listed_tests() if not test.name.startswith(NOT_ASKED)]
        self.kills = Counter()
        self.with_copies = []  # targets of tests that were built with the mutant's code in them

    def copy(self, root):
        tracked = subprocess.run(["git", "ls-files", "-z"], cwd=root, check=True,
                                 capture_output=True).stdout.decode().split("\0")
        for name in filter(None, tracked):
            source, target = root / name, self.tree / name
            target.parent.mkdir(parents=True, exist_ok=True)
            if not target.exists() or target.read_bytes() != source.read_bytes():
                shutil.copy(source, target)

    @staticmethod
    def run(command):
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        if done.returncode != 0:
            raise RuntimeError(f"{command} failed:\n{done.stdout[-3000:]}")

    def digest(self):
        return hashlib.sha256((self.build / "libkorrin.so").read_bytes()).digest()

    def listed_tests(self):
        text = subprocess.run(["ctest", "--show-only=json-v1"], cwd=self.build, check=True,
                              capture_output=True).stdout
        for test in json.loads(text)["tests"]:
            properties = {p["name"]: p["value"] for p in test["properties"]}
            environment = dict(e.split("=", 1) for e in properties.get("ENVIRONMENT", []))
            yield Test(test["name"], test["command"], properties["WORKING_DIRECTORY"], environment)

    def measure(self):
        for test in self.tests:
            begin = time.monotonic()
            if not test.passes(600):
                raise RuntimeError(f"{test.name} fails without any mutant")
            test.seconds = time.monotonic() - begin

    def try_out(self, mutant):
        path = self.tree / mutant.file
        original = path.read_text()
        path.write_text(mutant.applied_to(original))
        self.with_copies = []
        try:
            return self.verdict(mutant)
        finally:
            path.write_text(original)
            if self.with_copies:  # they are asked about other mutants next
                self.builds(*self.with_copies)

    def verdict(self, mutant):
        if not self.builds("korrin"):
            return Result(mutant, NO_BUILD)
        if self.digest() == self.original:
            return Result(mutant, SAME_CODE)
        noticed = self.first_failing(mutant)
        return Result(mutant, KILLED, noticed) if noticed else Result(mutant, SURVIVED)

    def first_failing(self, mutant):
        """The name of a test that notices the mutant, or nothing."""
        asked = self.by_promise(mutant)
        copies = [test for test in asked if test.includes(self.tree, mutant.file)]
        near = [test for test in asked if self.is_near(test, mutant) and test not in copies]
        far = [test for test in asked if test not in copies + near]
        for tests in (near, copies, far):
            if tests is copies and copies:
                self.with_copies = [test.target() for test in copies]
                if not self.builds(*self.with_copies):
                    return "a test that does not build"
            for test in tests:
                if not test.passes(10 * test.seconds + 10):
                    self.kills[mutant.file, test.name] += 1
                    return test.name
        return ""

    def builds(self, *targets):
        # One worker, one core: the others have their own mutants.
        done = subprocess.run(["cmake", "--build", self.build, "-j", "1", "--target", *targets],
                              capture_output=True)
        return done.returncode == 0

    def is_near(self, test, mutant):
        stem = mutant.file.split("/")[-1].split(".")[0]
        return self.kills[mutant.file, test.name] > 0 or stem in test.name

    def by_promise(self, mutant):
        """Tests that noticed mutants of this file, then those named like it, then quick ones."""
        asked = [test for test in self.tests if test.seconds < SLOWEST]
        return sorted(asked, key=lambda t: (-self.kills[mutant.file, t.name],
                                            not self.is_near(t, mutant), t.seconds))


def run(root, chosen, jobs, progress):
    """The results of all mutants, in their order."""
    # Mutants of a file stay together, so that a worker learns which tests notice them.
    waiting = queue.SimpleQueue()
    for i, mutant in enumerate(chosen):
        waiting.put((i, mutant))
    results = [None] * len(chosen)
    places = []
    for job in range(jobs):
        places.append(Workplace(root, root / "build/mutate" / str(job)))
        if job == 0:
            places[0].measure()
        for test, measured in zip(places[job].tests, places[0].tests):
            test.seconds = measured.seconds

    def work(place):
        while True:
            try:
                i, mutant = waiting.get_nowait()
            except queue.Empty:
                return
            results[i] = place.try_out(mutant)
            progress(results, results[i])

    threads = [threading.Thread(target=work, args=(place,)) for place in places]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    return results

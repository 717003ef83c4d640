"""A scheduler and workers as processes of their own on this machine, which tests may kill."""

import contextlib
import json
import os
import subprocess
import sys
import tempfile
import time

START_SECONDS = 120


def own_environment():
    """Other processes look for modules where this one does."""
    return {**os.environ, "PYTHONPATH": os.pathsep.join(path for path in sys.path if path)}


class Processes:
    """A scheduler with so many workers of one thread. Each is killed by its own process number."""

    def __init__(self, directory, workers=2):
        self.file = os.path.join(directory, "scheduler.json")
        self.log = open(os.path.join(directory, "log"), "ab")
        self.scheduler = self._start("dask_scheduler", "--host", "127.0.0.1", "--port", "0", "--no-dashboard")
        self.workers = [self.add_worker() for _ in range(workers)]

    def _start(self, program, *arguments):
        return subprocess.Popen(
            [sys.executable, "-m", f"distributed.cli.{program}", "--scheduler-file", self.file, *arguments],
            env=own_environment(),
            cwd=os.path.dirname(self.file),
            stdout=self.log,
            stderr=self.log,
        )

    def add_worker(self):
        return self._start(
            "dask_worker", *("--host", "127.0.0.1", "--nthreads", "1", "--no-nanny", "--no-dashboard")
        )

    @property
    def address(self):
        deadline = time.monotonic() + START_SECONDS
        while True:
            with contextlib.suppress(OSError, ValueError), open(self.file) as file:
                return json.load(file)["address"]
            assert self.scheduler.poll() is None, "the scheduler has ended"
            assert time.monotonic() < deadline, "the scheduler does not come up"
            time.sleep(0.05)

    def connected(self):
        import distributed

        client = distributed.Client(self.address, timeout=START_SECONDS)
        client.wait_for_workers(len(self.workers), timeout=START_SECONDS)
        return client

    def kill(self, process):
        process.kill()
        process.wait()

    def close(self):
        for process in [*self.workers, self.scheduler]:
            self.kill(process)
        self.log.close()


@contextlib.contextmanager
def processes(workers=2):
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as directory:
        running = Processes(directory, workers)
        try:
            yield running
        finally:
            running.close()

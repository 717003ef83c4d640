"""Takes many requests through an engine, which is threads of this process or workers of a cluster."""

from __future__ import annotations

import os
import queue
import sys
import threading
from collections.abc import Callable, Sequence
from concurrent.futures import Future, ThreadPoolExecutor
from typing import Any, Protocol, TextIO

from ._fleet_batches import Again, Answers, Batch, BatchSizes, run_batch

Progress = Callable[[float], object]

WAIT_SECONDS = 0.2  # progress is told at least so often, and what it raises is heard
BATCHES_A_SLOT = 2  # one is worked on while the next one waits beside it


class ProgressBar:
    """A bar on a terminal, to be given as `progress`; to a file or a pipe it writes nothing.

    >>> bar = korrin.fleet.ProgressBar("planning")
    >>> len(korrin.fleet.sweep(None, abs, [-1, 2], progress=bar))
    2
    """

    def __init__(self, label: str = "", stream: TextIO | None = None) -> None:
        self._label, self._stream, self._shown = label, stream, ""

    def __call__(self, share: float) -> None:
        stream = self._stream if self._stream is not None else sys.stderr
        text = f"\r{self._label} [{'#' * int(30 * share):30}] {100 * share:3.0f} %".replace("\r ", "\r")
        if text != self._shown and stream.isatty():
            stream.write(text + "\n" * (share >= 1))
            stream.flush()
        self._shown = text


class ClusterLost(ConnectionError):
    """The scheduler is gone, or its workers are and none comes: no more answers will come.

    >>> issubclass(korrin.fleet.ClusterLost, ConnectionError)
    True
    """


class Engine(Protocol):
    """Where batches are worked on."""

    def slots(self) -> int:
        """How many are worked on at once; at least 1."""

    def submit(self, batch: Batch) -> None:
        """Hands a batch on, and returns at once."""

    def next(self, timeout: float) -> Answers | Again | None:
        """What came of one of them, in any order; None when nothing did within so many seconds.

        ClusterLost when nothing will.
        """

    def close(self) -> None:
        """Whatever has not begun never will. May be called twice, and raises nothing."""


class Threads:
    """Threads of this process. After close() none of them works any more."""

    def __init__(self, task: Callable[[Any], Any], count: int) -> None:
        self._task, self._count = task, count
        self._pool = ThreadPoolExecutor(count, thread_name_prefix="korrin-fleet")
        self._done: queue.SimpleQueue[Future[Answers]] = queue.SimpleQueue()
        self._stop = threading.Event()

    def slots(self) -> int:
        return self._count

    def submit(self, batch: Batch) -> None:
        future = self._pool.submit(run_batch, self._task, batch, self._stop.is_set)
        future.add_done_callback(self._done.put)

    def next(self, timeout: float) -> Answers | Again | None:
        try:
            return self._done.get(timeout=timeout).result()
        except queue.Empty:
            return None

    def close(self) -> None:
        self._stop.set()
        self._pool.shutdown(wait=True, cancel_futures=True)


def own_processors() -> int:
    """Those that this process may run on."""
    if hasattr(os, "sched_getaffinity"):
        return len(os.sched_getaffinity(0))
    return os.cpu_count() or 1


class Run:
    """All requests, through an engine: the answers in the order of the requests."""

    def __init__(self, engine: Engine, requests: Sequence[Any], progress: Progress | None) -> None:
        self._engine, self._requests, self._progress = engine, requests, progress
        self._answers: list[Any] = [None] * len(requests)
        self._sizes = BatchSizes()
        self._again: list[Batch] = []
        self._alone: list[Batch] = []
        self._sent = self._answered = self._under_way = 0

    def finish(self) -> list[Any]:
        """Whatever is raised meanwhile ends all work that has not begun."""
        try:
            while self._answered < len(self._requests):
                self._submit()
                self._take(self._engine.next(WAIT_SECONDS))
                self._tell()
        except ClusterLost as error:
            share = f"{self._answered:,} of {len(self._requests):,}"
            raise ClusterLost(f"{error}; {share} requests were answered") from error.__cause__
        finally:
            self._engine.close()
        return self._answers

    def _submit(self) -> None:
        slots = self._engine.slots()
        while self._under_way < BATCHES_A_SLOT * slots and (batch := self._next_batch(slots)):
            self._engine.submit(batch)
            self._under_way += 1
        if self._alone and self._under_way == 0:
            self._engine.submit(self._alone.pop())
            self._under_way += 1

    def _next_batch(self, slots: int) -> Batch | None:
        if self._again:
            return self._again.pop()
        left = len(self._requests) - self._sent
        if left == 0:
            return None
        first, self._sent = self._sent, self._sent + self._sizes.next(left, slots)
        return Batch(first, self._requests[first : self._sent])

    def _take(self, came: Answers | Again | None) -> None:
        if came is None:
            return
        self._under_way -= 1
        if isinstance(came, Again):
            for batch in came.batches:
                (self._alone if batch.alone else self._again).append(batch)
            return
        self._answers[came.first : came.first + len(came.values)] = came.values
        self._answered += len(came.values)
        if came.seconds > 0:
            self._sizes.learn(len(came.values), came.seconds)

    def _tell(self) -> None:
        if self._progress is not None:
            self._progress(self._answered / len(self._requests))


def run(engine: Engine, requests: Sequence[Any], progress: Progress | None) -> list[Any]:
    return Run(engine, requests, progress).finish()

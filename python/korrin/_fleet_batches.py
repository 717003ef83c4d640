"""Batches of requests: what a request that fails becomes, how one batch is run, how large the next is."""

from __future__ import annotations

import dataclasses
import math
import time
from collections.abc import Callable, Sequence
from typing import Any, NamedTuple

TARGET_SECONDS = 0.5  # of work in a batch: a thousand times what it costs to send one
GROWTH = 8  # a batch is at most so many times as large as the largest that was timed
LARGEST = 10_000
BATCHES_LEFT = 2  # towards the end so many are left for each slot, so that all end together


@dataclasses.dataclass(frozen=True)
class Failure:
    """What stands in the results for a request that failed: its number, from 0 on, the class of what it
    raised, and the message. It is a value, and can be pickled.

    `kind` is "KilledWorker" for a request at which one worker process after the other ended.

    >>> [failure] = korrin.fleet.sweep(None, lambda radius: 1 / radius, [0])
    >>> failure
    Failure(index=0, kind='ZeroDivisionError', message='division by zero')
    >>> print(failure)
    request 0 failed: ZeroDivisionError: division by zero
    """

    index: int
    kind: str
    message: str

    def __str__(self) -> str:
        return f"request {self.index} failed: {self.kind}: {self.message}"


class Unsent(NamedTuple):
    """In the place of a request that cannot be sent to another process, or not be read there."""

    kind: str
    message: str


class Batch(NamedTuple):
    """Requests that are sent together; `first` is the number of the first one.

    One that is `alone`, with a single request, is sent when nothing else is under way, so that a worker
    that ends meanwhile ends of it.
    """

    first: int
    requests: Sequence[Any]
    alone: bool = False


class Answers(NamedTuple):
    """What came of a batch, and the seconds that its requests took."""

    first: int
    values: list[Any]
    seconds: float


class Again(NamedTuple):
    """Batches that are to be sent once more."""

    batches: list[Batch]


def failure_of(index: int, error: BaseException, about: str = "") -> Failure:
    return Failure(index, type(error).__name__, about + (str(error) or repr(error)))


def answer(task: Callable[[Any], Any], index: int, request: Any) -> Any:
    """What the task makes of a request. Whatever it raises is a Failure: no other request is lost."""
    if isinstance(request, Unsent):
        return Failure(index, request.kind, request.message)
    try:
        return task(request)
    except BaseException as error:
        return failure_of(index, error)


def run_batch(
    task: Callable[[Any], Any], batch: Batch, stopped: Callable[[], bool] = lambda: False
) -> Answers:
    """Answers a batch in order. Once `stopped`, it ends after the request at hand, and short."""
    began = time.perf_counter()
    values: list[Any] = []
    for index, request in enumerate(batch.requests, batch.first):
        if stopped():
            break
        values.append(answer(task, index, request))
    return Answers(batch.first, values, time.perf_counter() - began)


class BatchSizes:
    """How many requests the next batch has: as many as take TARGET_SECONDS, by the batches before.

    The first batches have one request. Costs of requests differ, so that the newest batch counts half.
    """

    def __init__(self) -> None:
        self._seconds = math.nan  # of a request
        self._largest = 0

    def learn(self, count: int, seconds: float) -> None:
        """A batch of so many requests, at least 1, took so long."""
        cost = seconds / count
        self._seconds = cost if math.isnan(self._seconds) else (self._seconds + cost) / 2
        self._largest = max(self._largest, count)

    def next(self, left: int, slots: int) -> int:
        """From 1 to `left`, of which there is at least one."""
        if self._largest == 0:
            return 1
        wanted = min(TARGET_SECONDS / max(self._seconds, 1e-9), GROWTH * self._largest, LARGEST)
        share = max(left / (BATCHES_LEFT * slots), wanted / 10)
        return max(1, min(left, int(wanted), math.ceil(share)))

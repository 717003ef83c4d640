"""What a worker of a cluster runs, and the pickles that go to it and back.

Each request and each answer is a pickle of its own, so that one that cannot be pickled, or not be read
on the other side, takes no other along.
"""

from __future__ import annotations

import collections
import importlib
import pickle
import threading
from collections.abc import Callable
from typing import Any, NamedTuple

from ._fleet_batches import Batch, Unsent, failure_of, run_batch

TASKS_KEPT = 4  # prepared ones on a worker, those used last


def pickled(value: object) -> bytes:
    """Functions and classes of a program's own file go along by value."""
    data: bytes = importlib.import_module("cloudpickle").dumps(value, protocol=5)
    return data


def sent(request: Any) -> bytes:
    try:
        return pickled(request)
    except Exception as error:
        return pickled(Unsent(type(error).__name__, f"the request cannot be sent: {error}"))


def received(data: bytes) -> Any:
    try:
        return pickle.loads(data)
    except Exception as error:
        return Unsent(type(error).__name__, f"the request cannot be read on the worker: {error}")


def answered(index: int, value: Any) -> bytes:
    try:
        return pickled(value)
    except Exception as error:
        return pickled(failure_of(index, error, "the result cannot be sent: "))


def read_answer(index: int, data: bytes) -> Any:
    try:
        return pickle.loads(data)
    except Exception as error:
        return failure_of(index, error, "the result cannot be read: ")


_tasks: collections.OrderedDict[str, Callable[[Any], Any]] = collections.OrderedDict()
_tasks_are_mine = threading.Lock()


def task_of(key: str, data: bytes) -> Callable[[Any], Any]:
    """On a worker: what the pickle under that key has in it, prepared once a process."""
    with _tasks_are_mine:
        if key not in _tasks:
            _tasks[key] = pickle.loads(data)
        _tasks.move_to_end(key)
        while len(_tasks) > TASKS_KEPT:
            _tasks.popitem(last=False)
        return _tasks[key]


class Reply(NamedTuple):
    """What a worker gives back for a batch."""

    answers: list[bytes]
    seconds: float


def work(key: str, task: bytes, first: int, requests: bytes) -> Reply:
    """On a worker: answers a batch."""
    ready = task_of(key, task)
    done = run_batch(ready, Batch(first, [received(data) for data in pickle.loads(requests)]))
    answers = [answered(index, value) for index, value in enumerate(done.values, first)]
    return Reply(answers, done.seconds)

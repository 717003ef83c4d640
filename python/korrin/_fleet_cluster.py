"""Batches on the workers of a dask.distributed cluster, which is not imported here: who has a client did."""

from __future__ import annotations

import asyncio
import contextlib
import hashlib
import logging
import pickle
import queue
import sys
import threading
import time
import uuid
from collections.abc import Callable
from concurrent.futures import CancelledError
from typing import Any, NamedTuple, Protocol

from ._fleet_batches import Again, Answers, Batch, Failure
from ._fleet_run import WAIT_SECONDS, ClusterLost
from ._fleet_worker import pickled, read_answer, sent, work

ASK_SECONDS = 5.0  # the scheduler is asked for its workers so often
GATHER_SECONDS = 5.0  # one look at a result that is on its way
SENT_AGAIN = 3  # times that the task may be lost with all workers without any answer in between
LARGE = 500_000  # bytes of a batch beyond which it goes to a worker past the scheduler's list of tasks
CANCELLED = (CancelledError, asyncio.CancelledError)
LOST = (OSError, TimeoutError, asyncio.TimeoutError, *CANCELLED)


class Client(Protocol):
    """What is asked of a dask.distributed Client."""

    @property
    def status(self) -> str: ...

    @property
    def asynchronous(self) -> bool: ...

    def submit(self, func: Callable[..., Any], *args: Any, **kwargs: Any) -> Any: ...

    def scatter(self, data: Any, *, broadcast: bool, hash: bool) -> Any: ...

    def cancel(self, futures: Any) -> Any: ...

    def nthreads(self) -> Any: ...


def check_client(client: object) -> None:
    """TypeError unless it is a client that waits for its answers; ClusterLost when it is closed."""
    distributed = sys.modules.get("distributed")  # who has a client has imported it
    if distributed is None or not isinstance(client, distributed.Client):
        name = type(client).__name__
        raise TypeError(f"client: wanted a dask.distributed Client or None, found {name}")
    if client.asynchronous:
        raise TypeError("client: wanted one that is not asynchronous")
    if client.status != "running":
        raise ClusterLost(f"the client is {client.status}")


class UnderWay(NamedTuple):
    """A batch that has been submitted, and which of the task's sendings it relies on."""

    batch: Batch
    future: Any
    sending: int


class Cluster:
    """The workers of a client: an engine for korrin's own Run.

    The task is pickled once and sent to each worker once, and each worker prepares it once. A batch of
    a worker that ends is sent to another one by the scheduler itself.
    """

    def __init__(self, client: Client, task: Callable[[Any], Any], name: str, argument: str) -> None:
        self._client, self._name = client, f"{name}-{uuid.uuid4().hex}"
        try:
            self._task = pickled(task)
        except Exception as error:
            raise TypeError(f"{argument}: cannot be sent to workers: {error}") from error
        self._key = hashlib.sha256(self._task).hexdigest()
        self._done: queue.SimpleQueue[str] = queue.SimpleQueue()
        self._under_way: dict[str, UnderWay] = {}
        self._submitted = self._sending = self._lost_in_a_row = 0
        self._slots, self._asked, self._seen = 0, -ASK_SECONDS, time.monotonic()
        self._shared = self._scattered()

    def slots(self) -> int:
        now = time.monotonic()
        if now - self._asked > ASK_SECONDS:
            self._slots, self._asked = self._call(lambda: sum(self._client.nthreads().values())), now
            if self._slots > 0:
                self._seen = now
            elif now - self._seen > ASK_SECONDS:
                logging.getLogger("korrin").warning("The scheduler has no worker; waiting for one.")
        return max(1, self._slots)

    def submit(self, batch: Batch) -> None:
        key = f"{self._name}-{self._submitted}"
        self._submitted += 1
        requests = pickle.dumps([sent(request) for request in batch.requests], protocol=5)
        future = None
        while future is None:
            try:
                future = self._call(lambda: self._submitted_as(key, batch.first, requests))
            except ClusterLost as error:
                if not isinstance(error.__cause__, CANCELLED):
                    raise
                self._send_again(self._sending)  # the task has just gone with the last worker that had it
        self._under_way[key] = UnderWay(batch, future, self._sending)
        self._listen(key)

    def next(self, timeout: float) -> Answers | Again | None:
        try:
            key = self._done.get(timeout=timeout)
        except queue.Empty:
            self._check()
            return None
        future = self._under_way[key].future
        if future.status == "finished":
            return self._gathered(key)
        if future.status == "error":
            return self._failed(key, future.exception(timeout=GATHER_SECONDS))
        if future.status == "cancelled":
            return self._lost(key)
        self._listen(key)  # it is computed once more
        return None

    def close(self) -> None:
        futures = [each.future for each in self._under_way.values()]
        self._under_way.clear()
        if futures:
            with contextlib.suppress(ClusterLost):
                self._call(lambda: self._client.cancel(futures))

    def _scattered(self) -> Any:
        return self._call(lambda: self._client.scatter(self._task, broadcast=True, hash=False))

    def _submitted_as(self, key: str, first: int, requests: bytes) -> Any:
        if len(requests) > LARGE:
            requests = self._client.scatter(requests, broadcast=False, hash=False)
        return self._client.submit(work, self._key, self._shared, first, requests, key=key, pure=False)

    def _listen(self, key: str) -> None:
        done = self._done  # and not self, which the client's thread would keep
        self._under_way[key].future.add_done_callback(lambda _: done.put(key))

    def _gathered(self, key: str) -> Answers | None:
        first = self._under_way[key].batch.first
        try:
            reply = self._under_way[key].future.result(timeout=GATHER_SECONDS)
        except LOST:
            self._check()
            self._listen(key)  # the worker that had it has ended: it is computed once more
            return None
        del self._under_way[key]
        self._lost_in_a_row = 0
        values = [read_answer(index, data) for index, data in enumerate(reply.answers, first)]
        return Answers(first, values, reply.seconds)

    def _failed(self, key: str, error: BaseException) -> Answers | Again:
        batch = self._under_way.pop(key).batch
        if type(error).__name__ != "KilledWorker":
            name = type(error).__name__
            raise RuntimeError(f"the workers cannot do this work: {name}: {error}") from error
        if batch.alone:
            ended = "each worker that took it up ended"
            return Answers(batch.first, [Failure(batch.first, "KilledWorker", ended)], 0.0)
        # Some request is at fault, perhaps of a batch that waited on the same worker.
        singles = enumerate(batch.requests, batch.first)
        return Again([Batch(index, [request], alone=True) for index, request in singles])

    def _lost(self, key: str) -> Again:
        """The batch was cancelled: by the scheduler, when the last worker with what it needs ended."""
        self._check()
        batch, _, sending = self._under_way.pop(key)
        self._send_again(sending)
        return Again([batch])

    def _send_again(self, sending: int) -> None:
        """Sends the task once more, unless that has been done since `sending`."""
        if sending != self._sending:
            return
        self._lost_in_a_row += 1
        if self._lost_in_a_row > SENT_AGAIN:
            raise ClusterLost("batches are cancelled again and again, by somebody or with their workers")
        self._shared, self._sending = self._scattered(), sending + 1

    def _check(self) -> None:
        if self._client.status != "running":
            raise ClusterLost(f"the scheduler is gone, and the client is {self._client.status}")

    def _call(self, call: Callable[[], Any]) -> Any:
        """What a call of the scheduler gives; ClusterLost when it does not answer.

        The client waits half a minute for a scheduler that is gone, and longer if told so. Here a thread
        does, which is left alone as soon as the client knows.
        """
        self._check()
        came: queue.SimpleQueue[tuple[Any, BaseException | None]] = queue.SimpleQueue()
        threading.Thread(target=_put_result, args=(call, came), daemon=True).start()
        while True:
            with contextlib.suppress(queue.Empty):
                value, error = came.get(timeout=WAIT_SECONDS)
                break
            self._check()
        if isinstance(error, LOST):
            self._check()
            told = str(error) or type(error).__name__
            raise ClusterLost(f"the cluster does not answer: {told}") from error
        if error is not None:
            raise error
        return value


def _put_result(call: Callable[[], Any], into: queue.SimpleQueue[Any]) -> None:
    try:
        into.put((call(), None))
    except BaseException as error:
        into.put((None, error))

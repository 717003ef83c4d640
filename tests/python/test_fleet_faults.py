"""korrin.fleet when workers and schedulers end: it costs time, or an error says so; nothing hangs."""

import contextlib
import subprocess
import sys
import textwrap
import time
from concurrent.futures import CancelledError

import pytest
from fleet_examples import (
    Marks,
    drawn_floor,
    exit_at_three,
    exit_once,
    free_pairs,
    inverse,
    planned,
    process,
)
from fleet_processes import own_environment, processes

import korrin
from korrin import fleet

distributed = pytest.importorskip("distributed", reason="python3-distributed is not installed")
LIMIT_SECONDS = 60  # half of what these clients themselves wait for a scheduler


class Kill:
    """Progress that ends processes once, beyond a share."""

    def __init__(self, running, doomed, share=0.4, then=lambda: None):
        self.running, self.doomed, self.share, self.then = running, doomed, share, then
        self.at = None

    def __call__(self, share):
        if self.at is None and share > self.share:
            self.at = share
            for process_ in self.doomed:
                self.running.kill(process_)
            self.then()


def closed(client):
    """A client without its scheduler may complain that it cannot say goodbye."""
    with contextlib.suppress(OSError, TimeoutError):
        client.close(timeout=1)


def slow_identity(number):
    time.sleep(0.01)
    return number


@pytest.fixture
def running():
    with processes(workers=2) as some:
        yield some


def test_a_worker_that_is_killed_half_way_costs_time_only(running):
    planner = korrin.PathPlanner(drawn_floor(), robot_radius=0.2, weight=0)
    requests = free_pairs(planner, 600)
    with running.connected() as client:
        kill = Kill(running, running.workers[:1])
        plans = fleet.plan_all(client, planner, requests, progress=kill)
        assert 0.4 < kill.at < 1
        assert len(client.nthreads()) == 1
    assert plans == planned(planner, requests)


def test_a_request_during_which_a_worker_ends_is_done_by_another(running, tmp_path):
    requests = [(str(tmp_path / "mark") if i == 150 else "", i) for i in range(300)]
    with running.connected() as client:
        assert fleet.sweep(client, exit_once, requests) == list(range(300))
        assert len(client.nthreads()) == 1
    assert (tmp_path / "mark").exists()


def test_all_workers_may_be_replaced(running):
    with running.connected() as client:
        kill = Kill(running, list(running.workers), then=lambda: running.workers.append(running.add_worker()))
        assert fleet.sweep(client, slow_identity, range(400), progress=kill) == list(range(400))
        assert kill.at < 1


def test_a_request_at_which_every_worker_ends_is_a_failure(monkeypatch):
    monkeypatch.setenv("DASK_DISTRIBUTED__SCHEDULER__ALLOWED_FAILURES", "0")
    with processes(workers=3) as running, running.connected() as client:
        answers = fleet.sweep(client, exit_at_three, range(40))
        assert len(client.nthreads()) == 1
    assert answers[3] == fleet.Failure(3, "KilledWorker", "each worker that took it up ended")
    assert [answer for i, answer in enumerate(answers) if i != 3] == [i for i in range(40) if i != 3]


def test_a_scheduler_that_is_killed_is_an_error_that_says_so(running):
    client = running.connected()
    began = time.monotonic()
    with pytest.raises(fleet.ClusterLost, match=r"gone.*; [1-9]\d* of 4,000 requests were answered"):
        fleet.sweep(
            client, slow_identity, range(4000), progress=Kill(running, [running.scheduler], share=0.01)
        )
    assert time.monotonic() - began < LIMIT_SECONDS
    began = time.monotonic()
    with pytest.raises(ConnectionError, match="client is"):
        fleet.sweep(client, inverse, [1])
    assert time.monotonic() - began < LIMIT_SECONDS
    assert fleet.sweep(None, inverse, [1]) == [1]
    closed(client)


def test_a_scheduler_that_was_killed_before_is_an_error_that_says_so(running):
    client = running.connected()
    running.kill(running.scheduler)
    began = time.monotonic()
    with pytest.raises(fleet.ClusterLost):
        fleet.sweep(client, inverse, range(100))
    assert time.monotonic() - began < LIMIT_SECONDS
    closed(client)


class Refused:
    """A client's submit() that is cancelled at some of its calls, as when what it relies on is lost."""

    def __init__(self, submit, refuses, meanwhile=lambda: None):
        self.submit, self.refuses, self.meanwhile, self.calls = submit, refuses, meanwhile, 0

    def __call__(self, *arguments, **options):
        self.calls += 1
        if self.refuses(self.calls):
            self.meanwhile()
            raise CancelledError("bytes-1234")
        return self.submit(*arguments, **options)


def test_a_batch_that_comes_when_the_task_is_lost_is_sent_with_it_again(running, monkeypatch):
    with running.connected() as client:
        refused = Refused(client.submit, lambda call: call in (2, 5))
        monkeypatch.setattr(client, "submit", refused)
        assert fleet.sweep(client, slow_identity, range(300)) == list(range(300))
        assert refused.calls > 5


def test_what_is_cancelled_each_time_is_an_error_that_says_so(running, monkeypatch):
    with running.connected() as client:
        monkeypatch.setattr(client, "submit", Refused(client.submit, lambda call: call > 2))
        with pytest.raises(fleet.ClusterLost, match="cancelled again and again"):
            fleet.sweep(client, slow_identity, range(300))


def test_a_scheduler_that_ends_while_a_batch_is_sent_is_told_as_gone(running, monkeypatch):
    client = running.connected()

    def kill():
        running.kill(running.scheduler)
        deadline = time.monotonic() + LIMIT_SECONDS
        while client.status == "running":
            assert time.monotonic() < deadline
            time.sleep(0.01)

    monkeypatch.setattr(client, "submit", Refused(client.submit, lambda call: call == 3, kill))
    with pytest.raises(fleet.ClusterLost, match="the scheduler is gone"):
        fleet.sweep(client, slow_identity, range(300))
    closed(client)


def test_a_client_that_does_not_fit_is_named(running):
    client = running.connected()
    client.close()
    with pytest.raises(fleet.ClusterLost, match="the client is closed"):
        fleet.sweep(client, inverse, [1])
    with pytest.raises(TypeError, match="client: wanted a dask.distributed Client or None, found str"):
        fleet.sweep(running.address, inverse, [1])


class Enough(Exception):
    pass


def test_a_worker_that_joins_later_works_along(running, tmp_path):
    running.kill(running.workers.pop())

    def stop_when_both_work(_):
        if len(list(tmp_path.iterdir())) == 2:
            raise Enough

    with running.connected() as client:
        assert len(set(fleet.sweep(client, process, range(50)))) == 1
        running.workers.append(running.add_worker())
        with pytest.raises(Enough):
            marks = Marks(tmp_path, 0.01)
            fleet.sweep(client, marks, range(6000), progress=stop_when_both_work)


def test_an_interrupt_ends_the_work_on_the_workers(running, tmp_path):
    program = f"""
        import distributed, korrin.fleet
        from fleet_examples import Touch
        client = distributed.Client({running.address!r})
        try:
            korrin.fleet.sweep(client, Touch({str(tmp_path)!r}, 0.02), range(100_000))
        except KeyboardInterrupt:
            print("interrupted", flush=True)
    """
    child = subprocess.Popen(
        [sys.executable, "-c", textwrap.dedent(program)],
        env=own_environment(),
        stdout=subprocess.PIPE,
        text=True,
    )
    deadline = time.monotonic() + 60
    while len(list(tmp_path.iterdir())) < 20:
        assert time.monotonic() < deadline
        time.sleep(0.05)
    child.send_signal(2)
    assert child.communicate(timeout=30)[0] == "interrupted\n"
    time.sleep(2)
    done = len(list(tmp_path.iterdir()))
    time.sleep(0.5)
    assert len(list(tmp_path.iterdir())) == done

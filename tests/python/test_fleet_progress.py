"""korrin.fleet tells its progress, ends when it is to, and chooses how large its batches are."""

import io
import signal
import subprocess
import sys
import textwrap
import threading
import time

import numpy as np
import pytest
from fleet_examples import drawn_floor, free_pairs, nothing
from fleet_processes import own_environment

import korrin
from korrin import fleet
from korrin._fleet_batches import Batch, BatchSizes, run_batch


def test_progress_rises_and_is_complete():
    planner, shares = korrin.PathPlanner(drawn_floor()), []
    fleet.plan_all(None, planner, free_pairs(planner, 200), progress=shares.append)
    assert shares == sorted(shares)
    assert 0 <= shares[0] < 1
    assert shares[-1] == 1
    assert len(set(shares)) > 4
    shares.clear()
    fleet.sweep(None, nothing, [], progress=shares.append)
    assert shares == [1]


def test_progress_is_told_while_nothing_is_done():
    shares = []
    fleet.sweep(None, time.sleep, [1], progress=shares.append)
    assert shares[:-1] == [0] * (len(shares) - 1)
    assert len(shares) > 3


def test_what_progress_raises_ends_the_work():
    calls = []

    def slow(number):
        calls.append(number)
        time.sleep(0.01)

    def stop(share):
        if share > 0.1:
            raise ZeroDivisionError(share)

    with pytest.raises(ZeroDivisionError):
        fleet.sweep(None, slow, range(400), progress=stop, threads=2)
    done = len(calls)
    assert 40 <= done < 200
    time.sleep(0.1)
    assert len(calls) == done, "threads still work"
    assert not [thread for thread in threading.enumerate() if "korrin-fleet" in thread.name]


def test_an_interrupt_ends_the_work_soon():
    program = """
        import time, korrin.fleet
        def slow(number):
            time.sleep(0.02)
        print("begun", flush=True)
        korrin.fleet.sweep(None, slow, range(100_000), threads=2)
    """
    running = subprocess.Popen(
        [sys.executable, "-c", textwrap.dedent(program)],
        env=own_environment(),
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        text=True,
    )
    assert running.stdout.readline() == "begun\n"
    time.sleep(0.5)
    running.send_signal(signal.SIGINT)
    _, told = running.communicate(timeout=20)
    assert told.rstrip().endswith("KeyboardInterrupt")
    assert running.returncode != 0


def test_a_bar_is_drawn_on_terminals_alone():
    class Terminal(io.StringIO):
        def isatty(self):
            return True

    terminal, pipe = Terminal(), io.StringIO()
    for stream in (terminal, pipe):
        bar = fleet.ProgressBar("plans", stream)
        for share in (0, 0.5, 0.5, 1):
            bar(share)
    assert pipe.getvalue() == ""
    drawn = terminal.getvalue().split("\r")
    half, whole = "#" * 15, "#" * 30
    assert drawn == ["", f"plans [{'':30}]   0 %", f"plans [{half:30}]  50 %", f"plans [{whole}] 100 %\n"]


def test_batches_grow_to_half_a_second_and_end_small():
    sizes = BatchSizes()
    assert sizes.next(10_000, 2) == 1
    sizes.learn(1, 0.001)
    assert sizes.next(10_000, 2) == 8
    sizes.learn(8, 0.008)
    assert sizes.next(10_000, 2) == 64
    sizes.learn(64, 0.064)
    assert sizes.next(10_000, 2) == 500
    assert sizes.next(1000, 2) == 250
    assert sizes.next(20, 2) == 20
    sizes.learn(500, 5.0)  # ten times as dear
    assert 80 <= sizes.next(10_000, 2) < 100
    sizes.learn(1, 100)
    assert sizes.next(10_000, 2) == 1
    free = BatchSizes()
    free.learn(1, 0.0)
    assert free.next(10_000, 1) == 8


def test_every_size_of_a_batch_is_from_one_to_what_is_left():
    draw = np.random.default_rng(5)
    for _ in range(2000):
        sizes = BatchSizes()
        for _ in range(draw.integers(4)):
            sizes.learn(int(draw.integers(1, 500)), float(10 ** draw.uniform(-9, 3)))
        left = int(draw.integers(1, 3000))
        assert 1 <= sizes.next(left, int(draw.integers(1, 65))) <= left


def test_a_batch_that_is_stopped_is_short():
    asked = []
    done = run_batch(asked.append, Batch(5, [1, 2, 3]), stopped=lambda: len(asked) == 2)
    assert asked == [1, 2]
    assert (done.first, done.values) == (5, [None, None])

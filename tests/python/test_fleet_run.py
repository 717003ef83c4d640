"""All requests through an engine, which here answers in whatever order, loses batches and blames them."""

import random

import pytest
from fleet_examples import inverse, plain

from korrin import fleet
from korrin._fleet_batches import Again, Batch, run_batch
from korrin._fleet_run import BATCHES_A_SLOT, ClusterLost, Run


class Unruly:
    """Answers batches in a drawn order; some are lost, and one with a `bad` request is under suspicion."""

    def __init__(self, seed, bad=None, slots=3):
        self.draw, self.bad, self.count = random.Random(seed), bad, slots
        self.waiting, self.most, self.closed, self.alone = [], 0, 0, 0

    def slots(self):
        return self.count

    def submit(self, batch):
        assert not any(other.alone for other in self.waiting), "something beside a batch that is alone"
        assert not (batch.alone and self.waiting), "a batch that is alone beside others"
        self.alone += batch.alone
        self.waiting.append(batch)
        self.most = max(self.most, len(self.waiting))

    def next(self, timeout):
        if self.draw.random() < 0.2:
            return None
        batch = self.waiting.pop(self.draw.randrange(len(self.waiting)))
        if self.draw.random() < 0.2:
            return Again([batch])
        if self.bad in batch.requests and not batch.alone:
            singles = enumerate(batch.requests, batch.first)
            return Again([Batch(index, [request], alone=True) for index, request in singles])
        return run_batch(inverse, batch)

    def close(self):
        self.closed += 1


@pytest.mark.parametrize("seed", range(40))
def test_every_request_is_answered_in_its_place(seed):
    requests = [*range(1, 60), 0, *range(60, 200)]
    engine, shares = Unruly(seed, bad=seed), []
    answers = Run(engine, requests, shares.append).finish()
    assert answers == plain(inverse, requests)
    assert shares == sorted(shares)
    assert shares[-1] == 1
    assert engine.most == BATCHES_A_SLOT * engine.count
    assert engine.alone >= 1
    assert engine.closed == 1


def test_an_engine_that_is_lost_is_closed_and_says_how_far_it_came():
    class Lost(Unruly):
        def next(self, timeout):
            if self.draw.random() < 0.1:
                raise ClusterLost("it rains") from OSError("water")
            return super().next(timeout)

    engine = Lost(1)
    with pytest.raises(fleet.ClusterLost, match=r"^it rains; \d+ of 300 requests were answered$") as raised:
        Run(engine, range(1, 301), None).finish()
    assert isinstance(raised.value.__cause__, OSError)
    assert engine.closed == 1

"""The common workload gives the same words in Python as in C++, and so the same digests."""

import os
import subprocess

import numpy as np
import pytest
from conftest import PROJECT
from workload import FAMILIES, Words, make_world

import korrin

STORED = PROJECT / "tests" / "data" / "workload.txt"


@pytest.fixture(scope="module")
def of_python():
    """The words of each family, through the Python module."""
    world = make_world(160, 120, 361)
    previous = korrin.set_log_sink(lambda record: None)
    words = {name: Words() for name in FAMILIES}
    for name, run in FAMILIES.items():
        run(world, words[name])
    korrin.set_log_sink(previous)
    return {name: words[name].all() for name in FAMILIES}


@pytest.fixture(scope="module")
def of_cpp():
    """The words of each family as the C++ program named by the environment prints them."""
    program = os.environ["KORRIN_PRINT_WORKLOAD"]
    printed = subprocess.run([program], capture_output=True, text=True, check=True).stdout
    lines = (line.split("\t") for line in printed.splitlines())
    return {name: np.array(words.split(), np.uint32) for name, words in lines}


def digest_of(words):
    """FNV-1a, 64 bits, over the words' bytes, lowest first."""
    digest = 14695981039346656037
    for byte in words.astype("<u4").tobytes():
        digest = (digest ^ byte) * 1099511628211 & (2**64 - 1)
    return digest


def test_words_are_those_of_cpp(of_python, of_cpp):
    for name, expected in of_cpp.items():
        words = of_python[name]
        assert len(words) == len(expected), name
        different = np.flatnonzero(words != expected)
        assert different.size == 0, f"{name}: word {different[0]}"
    assert len(of_cpp) > 20


def test_digests_are_the_stored_ones(of_python):
    compared = 0
    for line in STORED.read_text().splitlines():
        name, count, digest = line.split("\t")
        if len(digest) == 16:  # digests; samples of words are longer
            words = of_python[name]
            assert (len(words), f"{digest_of(words):016x}") == (int(count), digest), name
            compared += 1
    assert compared >= 15

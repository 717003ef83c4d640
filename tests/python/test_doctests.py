"""Every public name has a docstring with an example, and the examples tell the truth."""

import doctest
import inspect

import numpy as np
import pytest

import korrin
import korrin.fleet
import korrin.mapping
import korrin.plot
import korrin.ros


def public_objects():
    """(name, docstring) of modules, functions, classes and their methods."""
    yield "korrin", korrin.__doc__
    for name in korrin.__all__:
        thing = getattr(korrin, name)
        if inspect.isclass(thing) or callable(thing):
            yield from documented(name, thing)
    yield "mapping", korrin.mapping.__doc__
    for name in korrin.mapping.__all__:
        yield from documented(f"mapping.{name}", getattr(korrin.mapping, name))
    yield "fleet", korrin.fleet.__doc__
    for name in korrin.fleet.__all__:
        yield from documented(f"fleet.{name}", getattr(korrin.fleet, name))
    yield "ros", korrin.ros.__doc__
    for name in korrin.ros.__all__:
        yield from documented(f"ros.{name}", getattr(korrin.ros, name))
    for name in korrin.plot.__all__:
        yield f"plot.{name}", getattr(korrin.plot, name).__doc__


def documented(name, thing):
    yield name, thing.__doc__
    if not inspect.isclass(thing):
        return
    for member, value in vars(thing).items():
        if member.startswith("_"):
            continue
        if inspect.isclass(value) or inspect.isroutine(value):
            yield from documented(f"{name}.{member}", getattr(thing, member))


OBJECTS = dict(public_objects())


@pytest.mark.parametrize("name", OBJECTS)
def test_examples(name):
    globals_ = {"korrin": korrin, "np": np}
    test = doctest.DocTestParser().get_doctest(OBJECTS[name] or "", globals_, name, None, 0)
    assert test.examples, "no example"
    report = []
    doctest.DocTestRunner().run(test, out=report.append)
    assert not report, "".join(report)


def test_all_of_the_module_was_looked_at():
    assert len(OBJECTS) > 160

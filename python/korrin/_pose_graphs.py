"""Pose graphs of korrin.mapping."""

from __future__ import annotations

import dataclasses
import os
from collections.abc import Iterable, Sequence
from typing import Any, NamedTuple

from . import _korrin  # type: ignore[attr-defined]


class GraphPose(NamedTuple):
    """A pose in doubles: metres, metres, radians. Any three numbers serve for one.

    >>> korrin.mapping.GraphPose(1, 2, 0.5).theta
    0.5
    """

    x: float = 0.0
    y: float = 0.0
    theta: float = 0.0


class GraphInformation(NamedTuple):
    """How sure a motion is: the inverse of its covariance, which is symmetric, in 1 / m^2, 1 / (m rad)
    and 1 / rad^2, in the frame of where it begins.

    >>> korrin.mapping.GraphInformation(xx=100, yy=100, theta_theta=400).xy
    0.0
    """

    xx: float = 1.0
    xy: float = 0.0
    x_theta: float = 0.0
    yy: float = 1.0
    y_theta: float = 0.0
    theta_theta: float = 1.0


@dataclasses.dataclass
class GraphEdge:
    """What was measured between two nodes: the motion of `to`, seen from `from_`, and how sure it is.

    `loss_scale` is that of the Cauchy loss; 0 for plain squares.

    >>> korrin.mapping.GraphEdge(0, 1, (1, 0, 0)).motion
    GraphPose(x=1.0, y=0.0, theta=0.0)
    """

    from_: int
    to: int
    motion: GraphPose
    information: GraphInformation = GraphInformation()
    loss_scale: float = 0.0

    def __init__(
        self,
        from_: int,
        to: int,
        motion: Sequence[float] = GraphPose(),
        information: Sequence[float] = GraphInformation(),
        loss_scale: float = 0.0,
    ) -> None:
        self.from_ = from_
        self.to = to
        self.motion = _pose(motion, "motion")
        self.information = GraphInformation(*_numbers(information, 6, "information"))
        self.loss_scale = loss_scale


class GraphSolution(NamedTuple):
    """How a solution came about: whether the last step made the sum smaller by less than 1e-8 of it, the
    steps tried, and half the sum before and after.

    >>> korrin.mapping.PoseGraph().solve()
    GraphSolution(converged=True, iterations=0, cost_before=0.0, cost_after=0.0)
    """

    converged: bool
    iterations: int
    cost_before: float
    cost_after: float


@dataclasses.dataclass
class PoseGraph:
    """Poses tied together by what was measured between them.

    >>> graph = korrin.mapping.PoseGraph([(0, 0, 0), (1.1, 0, 0), (1.9, 0, 0)])
    >>> graph.edges = [korrin.mapping.GraphEdge(i, i + 1, (1, 0, 0)) for i in range(2)]
    >>> graph.solve().converged
    True
    >>> [round(node.x, 3) for node in graph.nodes]
    [0.0, 1.0, 2.0]
    """

    nodes: list[GraphPose]
    edges: list[GraphEdge]

    def __init__(self, nodes: Iterable[Sequence[float]] = (), edges: Iterable[GraphEdge] = ()) -> None:
        self.nodes = [_pose(node, f"nodes[{i}]") for i, node in enumerate(nodes)]
        self.edges = list(edges)

    def solve(self, max_iterations: int = 50) -> GraphSolution:
        """Moves the nodes to where they fit the edges best, in at most so many steps.

        Of nodes that edges join, the first one stays where it is. A number that is not finite, an
        edge to a node that is not there, an information that is none raise ValueError, which names
        the node or the edge; the nodes then stay as they are.

        >>> graph = korrin.mapping.PoseGraph([(0, 0, 0)], [korrin.mapping.GraphEdge(0, 7)])
        >>> graph.solve()
        Traceback (most recent call last):
        ValueError: edge 0: a node that is not there
        """
        nodes, solution = _korrin._solve_graph(graph_fields(self), max_iterations)
        self.nodes = [GraphPose(*node) for node in nodes]
        return GraphSolution(*solution)

    def squared_residual(self, edge: GraphEdge) -> float:
        """The squared residual of an edge at the nodes as they are, whether it is one of the graph's or not.

        >>> graph = korrin.mapping.PoseGraph([(0, 0, 0), (3, 0, 0)])
        >>> graph.squared_residual(korrin.mapping.GraphEdge(0, 1, (1, 0, 0)))
        4.0
        """
        residual: float = _korrin._squared_residual(graph_fields(self), edge_fields(edge))
        return residual


def composed(pose: Sequence[float], rel: Sequence[float]) -> GraphPose:
    """`rel`, given in the frame of `pose`, expressed in the frame of `pose` itself.

    >>> korrin.mapping.composed((1, 2, 0), (3, 0, 0.5))
    GraphPose(x=4.0, y=2.0, theta=0.5)
    """
    return GraphPose(*_korrin._composed(_pose(pose, "pose"), _pose(rel, "rel")))


def seen_from(origin: Sequence[float], pose: Sequence[float]) -> GraphPose:
    """`pose` as seen from `origin`, both given in one frame.

    >>> korrin.mapping.seen_from((1, 2, 0), (4, 2, 0.5))
    GraphPose(x=3.0, y=0.0, theta=0.5)
    """
    return GraphPose(*_korrin._seen_from(_pose(origin, "origin"), _pose(pose, "pose")))


def to_g2o(graph: PoseGraph, name: str = "graph") -> str:
    """The graph as g2o text. A number that is not finite raises ValueError, which names `name`.

    >>> print(korrin.mapping.to_g2o(korrin.mapping.PoseGraph([(1, 2, 0.5)])), end="")
    VERTEX_SE2 0 1 2 0.5
    """
    text: str = _korrin._to_g2o(graph_fields(graph), name)
    return text


def parse_g2o(text: str, name: str = "graph") -> PoseGraph:
    """The graph of a g2o text. A faulty line raises ValueError, which names it.

    >>> korrin.mapping.parse_g2o("VERTEX_SE2 0 1 2 0.5").nodes
    [GraphPose(x=1.0, y=2.0, theta=0.5)]
    """
    return graph_of_fields(_korrin._parse_g2o(text, name))


def read_g2o(path: str | os.PathLike[str]) -> PoseGraph:
    """The graph of a g2o file. One that cannot be read raises OSError, a faulty one ValueError.

    >>> korrin.mapping.read_g2o("nowhere.g2o")
    Traceback (most recent call last):
    FileNotFoundError: [Errno 2] cannot be read: 'nowhere.g2o'
    """
    return graph_of_fields(_korrin._read_g2o(path))


def write_g2o(graph: PoseGraph, path: str | os.PathLike[str]) -> None:
    """Writes a graph as a g2o file; one that cannot be written raises OSError.

    >>> import os, tempfile
    >>> file = os.path.join(tempfile.mkdtemp(), "office.g2o")
    >>> korrin.mapping.write_g2o(korrin.mapping.PoseGraph([(1, 2, 0.5)]), file)
    >>> korrin.mapping.read_g2o(file).nodes
    [GraphPose(x=1.0, y=2.0, theta=0.5)]
    """
    _korrin._write_g2o(graph_fields(graph), path)


def _numbers(values: Sequence[float], count: int, name: str) -> tuple[float, ...]:
    try:
        numbers = tuple(float(value) for value in values)
    except TypeError:
        raise TypeError(f"{name}: wanted {count} numbers, found {values!r}") from None
    if len(numbers) != count:
        raise ValueError(f"{name}: wanted {count} numbers, found {len(numbers)}")
    return numbers


def _pose(values: Sequence[float], name: str) -> GraphPose:
    return GraphPose(*_numbers(values, 3, name))


def edge_fields(edge: GraphEdge) -> tuple[Any, ...]:
    return edge.from_, edge.to, tuple(edge.motion), tuple(edge.information), edge.loss_scale


def graph_fields(graph: PoseGraph) -> tuple[Any, ...]:
    return [tuple(node) for node in graph.nodes], [edge_fields(edge) for edge in graph.edges]


def graph_of_fields(fields: Any) -> PoseGraph:
    nodes, edges = fields
    return PoseGraph(nodes, [GraphEdge(*edge) for edge in edges])

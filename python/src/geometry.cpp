#include "korrin/core/geometry.hpp"

#include "python/src/arrays.hpp"
#include "python/src/bindings.hpp"
#include "python/src/values.hpp"

namespace korrin_python {
namespace {

using Brin::Point2D;
using Brin::Point2Di;
using Brin::Pose2D;
using Brin::Pose2Di;

void bindPoses(py::module_& module) {
  py::class_<Pose2D> pose(module, "Pose2D", R"(A pose in a plane: metres, metres, radians.

In the world frame unless a function says otherwise. A tuple, list or array of its numbers serves
wherever a pose is expected; without theta it heads along x.

>>> x, y, theta = korrin.Pose2D(2, 1, 0.5)
>>> korrin.Pose2D([2, 1, 0.5])
Pose2D(x=2, y=1, theta=0.5)
>>> korrin.Pose2D(2, 1)
Pose2D(x=2, y=1, theta=0)
)");
  pose.def(py::init<>())
      .def(py::init<float, float, float>(), py::arg("x"), py::arg("y"), py::arg("theta") = 0.0f)
      .def("abs_project", &Pose2D::absProject, py::arg("rel"),
           R"(Composition: `rel`, in this pose's own frame, expressed in the frame of this pose.

>>> korrin.Pose2D(2, 1, 0).abs_project((1, 0.5, 0))
Pose2D(x=3, y=1.5, theta=0)
)")
      .def("rel_project", &Pose2D::relProject, py::arg("p"),
           R"(The inverse of abs_project: `p`, in the frame of this pose, seen from this pose.

>>> korrin.Pose2D(2, 1, 0).rel_project((3, 1.5, 0))
Pose2D(x=1, y=0.5, theta=0)
)");
  actsAsTuple(pose, Field{"x", &Pose2D::x, "Metres"}, Field{"y", &Pose2D::y, "Metres"},
              Field{"theta", &Pose2D::theta, "Radians"});

  py::class_<Pose2Di> cell(module, "Pose2Di",
                           R"(A grid cell with a heading in radians. Numbers serve as for Pose2D.

>>> cell = korrin.Pose2Di(12, 7, 0)
>>> cell.x, cell.y
(12, 7)
)");
  cell.def(py::init<>())
      .def(py::init<std::int32_t, std::int32_t, float>(), py::arg("x"), py::arg("y"),
           py::arg("theta") = 0.0f);
  actsAsTuple(cell, Field{"x", &Pose2Di::x, "Column"}, Field{"y", &Pose2Di::y, "Row"},
              Field{"theta", &Pose2Di::theta, "Radians"});
}

void bindPoints(py::module_& module) {
  py::class_<Point2D> point(module, "Point2D", R"(A point in metres. A pose serves as one, too.

>>> korrin.Point2D(korrin.Pose2D(3, 4, 0.5))
Point2D(x=3, y=4)
)");
  point.def(py::init<>())
      .def(py::init<float, float>(), py::arg("x"), py::arg("y"))
      .def(py::init<const Pose2D&>(), py::arg("pose").noconvert());
  actsAsTuple(point, Field{"x", &Point2D::x, "Metres"}, Field{"y", &Point2D::y, "Metres"});

  py::class_<Point2Di> shift(module, "Point2Di", R"(A point on a grid, in cells.

>>> korrin.Point2Di(3, 4)
Point2Di(x=3, y=4)
)");
  shift.def(py::init<>()).def(py::init<std::int32_t, std::int32_t>(), py::arg("x"), py::arg("y"));
  actsAsTuple(shift, Field{"x", &Point2Di::x, "Column"}, Field{"y", &Point2Di::y, "Row"});
}

void bindFormulas(py::module_& module) {
  module.attr("k_pi") = Brin::kPi;
  module.def(
      "canonical_angle", &Brin::canonicalAngle, py::arg("angle"),
      R"(`angle` (radians) wrapped into one turn around 0: above -k_pi, up to and including it.

>>> korrin.canonical_angle(2 * korrin.k_pi + 0.5)
0.5
)");
  module.def("compute_norm", py::overload_cast<int, int>(&Brin::computeNorm), py::arg("x"),
             py::arg("y"), R"(Euclidean length of a cell offset, in cells.

>>> korrin.compute_norm(3, 4)
5.0
)");
  module.def("compute_norm", py::overload_cast<const Point2D&>(&Brin::computeNorm),
             py::arg("point"), R"(Euclidean length of a point seen as a vector, in metres.

>>> korrin.compute_norm((3, 4))
5.0
)");
  module.def("gaussian_value_at", &Brin::gaussianValueAt, py::arg("sigma"), py::arg("x"),
             R"(Density at `x` of the Gaussian of mean 0 and standard deviation `sigma`.

>>> round(korrin.gaussian_value_at(1, 0), 4)
0.3989
)");
  module.def("avg_pose2d", &Brin::avgPose2D, py::arg("poses"),
             R"(The mean pose of an N x 3 array: arithmetic for x and y, circular for theta.

>>> korrin.avg_pose2d([(0, 0, 0), (2, 4, 0)])
Pose2D(x=1, y=2, theta=0)
)");
  module.def("rel_std_dev_pose2d", &Brin::relStdDevPose2D, py::arg("poses"), py::arg("reference"),
             R"(The standard deviation of poses (N x 3) around `reference`, field by field.

>>> korrin.rel_std_dev_pose2d([(0, 0, 0), (2, 4, 0)], (1, 2, 0))
Pose2D(x=1, y=2, theta=0)
)");
}

}  // namespace

void bindGeometry(py::module_& module) {
  bindPoses(module);
  bindPoints(module);
  bindFormulas(module);
}

}  // namespace korrin_python

// The dilater, a part of the family of map processing.
#pragma once

#include <pybind11/pybind11.h>

namespace korrin_python {

void bindObstacleDilater(pybind11::module_& module);

}  // namespace korrin_python

// What callers are told when their arguments fit none of a function's forms.
#pragma once

#include <pybind11/pybind11.h>

namespace korrin_python {

// From now on a call of any function, method, constructor or property of `module` that fits none
// of its forms says which argument is at fault, what was wanted and what was found, by
// korrin._calls. Calls that fit cost nothing more.
void explainCalls(const pybind11::module_& module);

}  // namespace korrin_python

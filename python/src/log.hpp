// Calls without the interpreter's lock, and where their log records go.
#pragma once

#include <pybind11/pybind11.h>

#include <functional>

namespace korrin_python {

// Does `work` while other Python threads run. What it logs is kept and delivered, in order, when
// it is over: a receiver written in Python never runs in the middle of the library's work.
void unlocked(const std::function<void()>& work);

// The same, one at a time in the whole process: for path finders, which share state.
void unlockedAlone(const std::function<void()>& work);

void bindLog(pybind11::module_& module);

}  // namespace korrin_python

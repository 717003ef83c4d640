#include "python/src/calls.hpp"

#include <string>
#include <unordered_map>

namespace korrin_python {
namespace {

namespace py = pybind11;

// A function as pybind11 made it.
struct Explained {
  PyMethodDef* method;
  PyCFunction call;
  std::string property;  // that it sets; empty for all other functions
};

// By what the interpreter passes as `self`, which each function has for its own. Filled while the
// module is made, and only read afterwards.
std::unordered_map<PyObject*, Explained>& explainedFunctions() {
  static auto* functions = new std::unordered_map<PyObject*, Explained>();
  return *functions;
}

PyObject* callWithKeywords(PyCFunction function, PyObject* self, PyObject* args, PyObject* kwargs) {
  // The interpreter's own way to keep functions of both kinds in one field.
  const auto call =
      reinterpret_cast<PyCFunctionWithKeywords>(reinterpret_cast<void (*)()>(function));
  return call(self, args, kwargs);
}

// Whether this is pybind11's own complaint, and not one that came from within the call.
bool saysThatNothingFits(const Explained& function, py::handle error) {
  const std::string text = py::str(error);
  const std::string name = function.method->ml_name == nullptr ? "" : function.method->ml_name;
  const std::string start = name + "(): incompatible ";
  return text.compare(0, start.size(), start) == 0;
}

// Replaces pybind11's list of forms, the present error, by what is wrong. Should that fail, the
// list stays.
void explain(const Explained& function, py::handle args, py::handle kwargs) {
  PyObject* type = nullptr;
  PyObject* value = nullptr;
  PyObject* trace = nullptr;
  PyErr_Fetch(&type, &value, &trace);
  try {
    const py::dict none;
    if (value != nullptr && saysThatNothingFits(function, value)) {
      const py::object fault = py::module_::import("korrin._calls")
                                   .attr("fault")(function.method->ml_doc, function.property, args,
                                                  kwargs ? kwargs : py::handle(none));
      PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(fault.ptr())), fault.ptr());
      Py_XDECREF(type);
      Py_XDECREF(value);
      Py_XDECREF(trace);
      return;
    }
  } catch (py::error_already_set&) {
    PyErr_Clear();
  }
  PyErr_Restore(type, value, trace);
}

extern "C" PyObject* callAndExplain(PyObject* self, PyObject* args, PyObject* kwargs) {
  const Explained& function = explainedFunctions().find(self)->second;
  PyObject* result = callWithKeywords(function.call, self, args, kwargs);
  if (result == nullptr && PyErr_ExceptionMatches(PyExc_TypeError) != 0) {
    explain(function, args, kwargs);
  }
  return result;
}

PyMethodDef* methodOf(py::handle function) {
  return reinterpret_cast<PyCFunctionObject*>(function.ptr())->m_ml;
}

// How pybind11 takes every call.
PyCFunction dispatcher() {
  static const PyCFunction found = methodOf(py::cpp_function([] {}))->ml_meth;
  return found;
}

void explainFunction(py::handle function, const std::string& property) {
  if (PyInstanceMethod_Check(function.ptr())) {
    function = PyInstanceMethod_GET_FUNCTION(function.ptr());
  }
  if (PyCFunction_Check(function.ptr()) == 0) return;
  PyMethodDef* method = methodOf(function);
  if (method->ml_meth != dispatcher()) return;
  explainedFunctions()[PyCFunction_GET_SELF(function.ptr())] = {method, method->ml_meth, property};
  method->ml_meth = reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(&callAndExplain));
}

void explainAllIn(const py::object& scope) {
  const py::handle property(reinterpret_cast<PyObject*>(&PyProperty_Type));
  for (const auto& [name, item] : py::dict(scope.attr("__dict__"))) {
    const py::object value = py::reinterpret_borrow<py::object>(item);
    if (py::isinstance(value, property)) {
      explainFunction(value.attr("fset"), py::str(name));
    } else if (py::isinstance<py::type>(value)) {
      explainAllIn(value);
    } else {
      explainFunction(py::getattr(value, "__func__", value), "");
    }
  }
}

}  // namespace

void explainCalls(const py::module_& module) { explainAllIn(module); }

}  // namespace korrin_python

// Lanes live in core/, which may not include from here.
#pragma once

#include "core/lanes.hpp"  // IWYU pragma: export

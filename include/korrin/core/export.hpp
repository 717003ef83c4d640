// KORRIN_EXPORT marks what libkorrin.so lets its callers link to; all else stays hidden.
#pragma once

#define KORRIN_EXPORT __attribute__((visibility("default")))

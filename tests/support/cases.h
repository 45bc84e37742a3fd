// Table-driven tests: runs the statement that follows once per element `c`
// of a case table, with the element's index in every failure message.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>

#define FOR_EACH_CASE(cases)                                                \
  for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i)               \
    if (const auto &c = cases[i]; false) {                                  \
    } else if (testing::ScopedTrace trace_(__FILE__, __LINE__, i); false) { \
    } else

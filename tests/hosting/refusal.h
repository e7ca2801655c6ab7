// Expecting a refusal that says why.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "hosting/errors.h"

namespace hosting {

/// The line of the Refusal that f throws; fails the test when it throws none.
template <class Refusal = Error, class F>
std::string RefusalOf(F f) {
  try {
    f();
  } catch (const Refusal& error) {
    return error.what();
  }
  ADD_FAILURE() << "nothing was refused";
  return {};
}

#define EXPECT_REFUSED(statement, fragment)                                             \
  EXPECT_NE(::hosting::RefusalOf([&] { statement; }).find(fragment), std::string::npos) \
      << "got: " << ::hosting::RefusalOf([&] { statement; })

}  // namespace hosting

// Expecting a refusal that says why, and many values in one line.
#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "hosting/errors.h"

namespace hosting {

/// The values in a row, as "1 2.5 name".
template <class... Values>
std::string Text(const Values&... values) {
  std::ostringstream out;
  ((out << values << ' '), ...);
  return out.str().substr(0, out.str().size() - 1);
}

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

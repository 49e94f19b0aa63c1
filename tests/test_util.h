// Helpers shared by the test suites.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

namespace fiofla::test {

/// Passes when |a - b| <= tol * max(|a|, |b|); when either value is exactly
/// zero the comparison is absolute, |a - b| <= tol.
inline ::testing::AssertionResult RelClose(double a, double b, double tol) {
  const double diff = std::fabs(a - b);
  const double bound = (a == 0.0 || b == 0.0) ? tol : tol * std::max(std::fabs(a), std::fabs(b));
  if (diff <= bound) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure()
         << a << " and " << b << " differ by " << diff << " (tolerance " << tol << ")";
}

/// Path of a file in the test data folder.
inline std::string TestData(const std::string& name) {
  return std::string(FIOFLA_TEST_DATA_DIR) + "/" + name;
}

/// Path of a file in the shipped data folder.
inline std::string ShippedData(const std::string& name) {
  return std::string(FIOFLA_DATA_DIR) + "/" + name;
}

}  // namespace fiofla::test

#define EXPECT_REL_CLOSE(a, b, tol) EXPECT_TRUE(::fiofla::test::RelClose((a), (b), (tol)))

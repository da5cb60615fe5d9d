// Shared by the JSON library's tests: a tree's compact text and what an
// action writes to standard error.
#ifndef LOOMSTAT_TESTS_JSONTESTSUPPORT_H
#define LOOMSTAT_TESTS_JSONTESTSUPPORT_H

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "JSOM.h"
#include "JSONData.h"

inline std::string compact(const loomstat::JSONData& node) {
  std::string out;
  node.toJsonString(out, false, 6);
  return out;
}

inline std::string compact(const loomstat::JSOM& doc) {
  std::string out;
  return doc.toCompactString(out, 6);
}

inline std::string stderrOf(const std::function<void()>& action) {
  testing::internal::CaptureStderr();
  action();
  return testing::internal::GetCapturedStderr();
}

#endif

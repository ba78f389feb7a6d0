#pragma once

// What every test may use without asking for it: the standard library's everyday parts, GoogleTest
// with its matchers, and the tests' own tools.

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <set>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace fenwright {

namespace testing {}
using namespace testing;

using namespace std::chrono_literals;

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ContainsRegex;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Pair;
using ::testing::SizeIs;
using ::testing::StartsWith;
using ::testing::Test;
using ::testing::TestWithParam;
using ::testing::ValuesIn;

/// Texts in the order in which they came: a trace, a journal, the lines of a file.
using Texts = std::vector<std::string>;

/// Sequences one after the other.
template <typename Sequence>
Sequence Joined(std::initializer_list<Sequence> parts) {
  Sequence all;
  for (const Sequence& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

}  // namespace fenwright

/// A test on a fixture that does not give its suite the name: several suites can share the fixture,
/// and a suite can be called after the function that it is about.
#define TEST_ON(fixture, suite, name) \
  GTEST_TEST_(suite, name, fixture, ::testing::internal::GetTypeId<fixture>())

#pragma once

#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "platform/single_instance.h"

/// What every SingleInstance must do. To run it on an implementation, instantiate
/// SingleInstanceContract in a test file that includes this header.
namespace fenwright::platform {

struct SingleInstanceImplementation {
  std::string Name;  ///< letters and digits
  /// An object for the run of that name; two of one name stand for two runs.
  std::function<std::unique_ptr<SingleInstance>(const std::string& name)> Make;
};

inline void PrintTo(const SingleInstanceImplementation& implementation, std::ostream* out) {
  *out << implementation.Name;
}

class SingleInstanceContract : public ::testing::TestWithParam<SingleInstanceImplementation> {
 protected:
  static std::unique_ptr<SingleInstance> Make(const std::string& name) {
    return GetParam().Make(name);
  }
};

TEST_P(SingleInstanceContract, TheFirstClaimHoldsAndTheSecondIsRefused) {
  const auto first = Make("a");
  const auto second = Make("a");
  EXPECT_TRUE(first->Claim());
  EXPECT_FALSE(second->Claim());
  EXPECT_FALSE(second->Claim());
}

TEST_P(SingleInstanceContract, ClaimingAgainWhatIsHeldIsTrue) {
  const auto first = Make("b");
  EXPECT_TRUE(first->Claim());
  EXPECT_TRUE(first->Claim());
}

TEST_P(SingleInstanceContract, TheClaimGoesWithTheObject) {
  auto first = Make("c");
  const auto second = Make("c");
  ASSERT_TRUE(first->Claim());
  ASSERT_FALSE(second->Claim());
  first.reset();
  EXPECT_TRUE(second->Claim());
}

TEST_P(SingleInstanceContract, AnObjectThatHasNotClaimedHoldsNothing) {
  const auto first = Make("d");
  EXPECT_TRUE(Make("d")->Claim());
  EXPECT_TRUE(first->Claim());
}

TEST_P(SingleInstanceContract, NamesAreKeptApart) {
  const auto first = Make("e");
  const auto other = Make("f");
  EXPECT_TRUE(first->Claim());
  EXPECT_TRUE(other->Claim());
}

}  // namespace fenwright::platform

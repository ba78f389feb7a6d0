#include "platform/system/instance_lock.h"

#include <windows.h>

#include <gtest/gtest.h>

namespace fenwright::platform {
namespace {

TEST(TheInstanceLock, IsTheFirstOnesAsLongAsItLives) {
  auto first = MakeInstanceLock("", "fenwright-test-1");
  const auto second = MakeInstanceLock("", "fenwright-test-1");
  EXPECT_TRUE(first->Claim());
  EXPECT_FALSE(second->Claim());
  EXPECT_TRUE(first->Claim());
  first.reset();
  EXPECT_TRUE(second->Claim());
}

TEST(TheInstanceLock, OfAnotherNameIsAnother) {
  const auto one = MakeInstanceLock("", "fenwright-test-2");
  const auto other = MakeInstanceLock("", "fenwright-test-3");
  EXPECT_TRUE(one->Claim());
  EXPECT_TRUE(other->Claim());
}

TEST(TheInstanceLock, LocksNobodyOutWhenItsNameIsTakenByAForeignObject) {
  HANDLE const foreign = CreateEventW(nullptr, FALSE, FALSE, L"Local\\fenwright-test-4");
  ASSERT_NE(foreign, nullptr);
  EXPECT_TRUE(MakeInstanceLock("", "fenwright-test-4")->Claim());
  CloseHandle(foreign);
}

}  // namespace
}  // namespace fenwright::platform

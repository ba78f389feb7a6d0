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

TEST(TheInstanceLock, OfARunThatKeepsItFromThisOneIsHeldAllTheSame) {
  ACL nobody{};
  ASSERT_NE(InitializeAcl(&nobody, sizeof nobody, ACL_REVISION), 0);
  SECURITY_DESCRIPTOR rights{};
  ASSERT_NE(InitializeSecurityDescriptor(&rights, SECURITY_DESCRIPTOR_REVISION), 0);
  ASSERT_NE(SetSecurityDescriptorDacl(&rights, TRUE, &nobody, FALSE), 0);
  SECURITY_ATTRIBUTES attributes{
      .nLength = sizeof attributes, .lpSecurityDescriptor = &rights, .bInheritHandle = FALSE};
  HANDLE const others = CreateMutexW(&attributes, FALSE, L"Local\\fenwright-test-5");
  ASSERT_NE(others, nullptr);
  HANDLE const opened = OpenMutexW(MUTEX_ALL_ACCESS, FALSE, L"Local\\fenwright-test-5");
  const bool is_kept = opened == nullptr;
  if (!is_kept) CloseHandle(opened);
  const auto lock = MakeInstanceLock("", "fenwright-test-5");
  EXPECT_FALSE(lock->Claim());
  CloseHandle(others);
  EXPECT_TRUE(lock->Claim());
  if (!is_kept) GTEST_SKIP() << "This system lets everybody open everything";
}

TEST(TheInstanceLock, LocksNobodyOutWhenItsNameIsTakenByAForeignObject) {
  HANDLE const foreign = CreateEventW(nullptr, FALSE, FALSE, L"Local\\fenwright-test-4");
  ASSERT_NE(foreign, nullptr);
  EXPECT_TRUE(MakeInstanceLock("", "fenwright-test-4")->Claim());
  CloseHandle(foreign);
}

}  // namespace
}  // namespace fenwright::platform

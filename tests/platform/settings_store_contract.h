#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "platform/settings_store.h"

/// What every SettingsStore must do. To run it on an implementation, instantiate
/// SettingsStoreContract in a test file that includes this header.
namespace fenwright::platform {

struct SettingsStoreImplementation {
  std::string Name;                                           ///< letters and digits
  std::function<std::unique_ptr<SettingsStore>()> MakeEmpty;  ///< a store in which nothing is
};

inline void PrintTo(const SettingsStoreImplementation& implementation, std::ostream* out) {
  *out << implementation.Name;
}

class SettingsStoreContract : public ::testing::TestWithParam<SettingsStoreImplementation> {
 protected:
  SettingsStore& Store() { return *store_; }

 private:
  std::unique_ptr<SettingsStore> store_ = GetParam().MakeEmpty();
};

TEST_P(SettingsStoreContract, AKeyNeverWrittenGivesNothing) {
  EXPECT_EQ(Store().Read("Settings", "ComNox"), std::nullopt);
  Store().Write("Settings", "device", "1");
  EXPECT_EQ(Store().Read("Settings", "ComNox"), std::nullopt);
}

TEST_P(SettingsStoreContract, WhatIsWrittenCanBeRead) {
  EXPECT_TRUE(Store().Write("Settings", "ComNox", "3"));
  EXPECT_EQ(Store().Read("Settings", "ComNox"), "3");
}

TEST_P(SettingsStoreContract, WritingAgainReplacesTheValue) {
  Store().Write("Settings", "ComNox", "3");
  Store().Write("Settings", "ComNox", "12");
  EXPECT_EQ(Store().Read("Settings", "ComNox"), "12");
}

TEST_P(SettingsStoreContract, SectionsAreKeptApart) {
  Store().Write("Settings", "ComNox", "3");
  Store().Write("Settings6", "ComNox", "4");
  EXPECT_EQ(Store().Read("Settings", "ComNox"), "3");
  EXPECT_EQ(Store().Read("Settings6", "ComNox"), "4");
}

TEST_P(SettingsStoreContract, AnEmptyValueIsAValue) {
  Store().Write("Settings", "OPEN_DIR", "");
  EXPECT_EQ(Store().Read("Settings", "OPEN_DIR"), "");
}

TEST_P(SettingsStoreContract, TextsComeBackUnchanged) {
  for (const std::string text :
       {" 5 ", "a,b;c=d \"e\"", "C:\\新しいフォルダ\\", "ｸﾛｯｸ％20", "1\r\n2"}) {
    Store().Write("Settings", "SAVE_DIR", text);
    EXPECT_EQ(Store().Read("Settings", "SAVE_DIR"), text);
  }
}

}  // namespace fenwright::platform

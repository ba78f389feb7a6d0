#include "platform/memory/memory_settings_store.h"
#include "platform/memory/run_settings_store.h"
#include "platform/settings_store_contract.h"

namespace fenwright::platform {
namespace {

INSTANTIATE_TEST_SUITE_P(InMemory, SettingsStoreContract,
                         ::testing::Values(SettingsStoreImplementation{
                             "Memory", [] { return std::make_unique<MemorySettingsStore>(); }}),
                         [](const auto& implementation) { return implementation.param.Name; });

/// The run's view together with what is below it.
class OwningStore final : public SettingsStore {
 public:
  [[nodiscard]] std::optional<std::string> Read(std::string_view section,
                                                std::string_view key) const override {
    return run_.Read(section, key);
  }
  bool Write(std::string_view section, std::string_view key, std::string_view value) override {
    return run_.Write(section, key, value);
  }

 private:
  MemorySettingsStore stored_;
  RunSettingsStore run_{stored_};
};

INSTANTIATE_TEST_SUITE_P(Run, SettingsStoreContract,
                         ::testing::Values(SettingsStoreImplementation{
                             "OfOneRun", [] { return std::make_unique<OwningStore>(); }}),
                         [](const auto& implementation) { return implementation.param.Name; });

class RefusingStore final : public SettingsStore {
 public:
  [[nodiscard]] std::optional<std::string> Read(std::string_view /*section*/,
                                                std::string_view /*key*/) const override {
    return std::nullopt;
  }
  bool Write(std::string_view /*section*/, std::string_view /*key*/,
             std::string_view /*value*/) override {
    return false;
  }
};

TEST(RunSettingsStore, WhatIsGivenForTheRunIsReadAndNotStored) {
  MemorySettingsStore stored;
  stored.Write("Settings", "ComNox", "3");
  RunSettingsStore run(stored);
  run.GiveForThisRun("Settings", "ComNox", "7");
  EXPECT_EQ(run.Read("Settings", "ComNox"), "7");
  EXPECT_EQ(run.Read("Settings6", "ComNox"), std::nullopt);
  EXPECT_EQ(stored.Read("Settings", "ComNox"), "3");
}

TEST(RunSettingsStore, WhatIsWrittenLaterIsStoredAndHolds) {
  MemorySettingsStore stored;
  RunSettingsStore run(stored);
  run.GiveForThisRun("Settings", "ComNox", "7");
  EXPECT_TRUE(run.Write("Settings", "ComNox", "9"));
  EXPECT_EQ(run.Read("Settings", "ComNox"), "9");
  EXPECT_EQ(stored.Read("Settings", "ComNox"), "9");
}

TEST(RunSettingsStore, OtherKeysLeaveWhatWasGivenAlone) {
  MemorySettingsStore stored;
  RunSettingsStore run(stored);
  run.GiveForThisRun("Settings", "ComNox", "7");
  run.Write("Settings", "device", "2");
  EXPECT_EQ(run.Read("Settings", "ComNox"), "7");
  EXPECT_EQ(stored.Read("Settings", "ComNox"), std::nullopt);
}

TEST(RunSettingsStore, RemembersThatTheStoreCouldNotBeWritten) {
  RefusingStore refusing;
  RunSettingsStore run(refusing);
  EXPECT_FALSE(run.WriteFailed());
  EXPECT_FALSE(run.Write("Settings", "device", "2"));
  EXPECT_TRUE(run.WriteFailed());
}

}  // namespace
}  // namespace fenwright::platform

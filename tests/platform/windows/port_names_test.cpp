#include "platform/system/port_names.h"

#include <gtest/gtest.h>

#include "platform/memory/memory_settings_store.h"

namespace fenwright::platform {
namespace {

TEST(PortNames, EveryComNumberIsThePortOfThatNumber) {
  EXPECT_EQ(DefaultDevicePath(1), R"(\\.\COM1)");
  EXPECT_EQ(DefaultDevicePath(9), R"(\\.\COM9)");
  EXPECT_EQ(DefaultDevicePath(10), R"(\\.\COM10)");
  EXPECT_EQ(DefaultDevicePath(20), R"(\\.\COM20)");
  EXPECT_EQ(DefaultDevicePath(256), R"(\\.\COM256)");
}

TEST(PortNames, NumbersOutsideTheRangeHaveNoDevice) {
  for (const int number : {-1, 0, 257}) EXPECT_EQ(DefaultDevicePath(number), "") << number;
}

TEST(PortNames, APathOfThisRunGoesBeforeTheSettingsAndThoseBeforeTheDefault) {
  MemorySettingsStore settings;
  EXPECT_EQ(DevicePath(settings, {}, 5), R"(\\.\COM5)");
  settings.Write("Ports", "COM5", "COM25");
  EXPECT_EQ(DevicePath(settings, {}, 5), "COM25");
  EXPECT_EQ(DevicePath(settings, {{5, R"(\\.\CNCA0)"}}, 5), R"(\\.\CNCA0)");
}

TEST(PortOptionText, AComNameMayBringItsPath) {
  EXPECT_EQ(ParsePortOption("COM5"), (PortOption{5, ""}));
  EXPECT_EQ(ParsePortOption("com7=COM25"), (PortOption{7, "COM25"}));
}

TEST(PortOptionText, APathTakesTheNumberWhoseDefaultItIsElseNumberOne) {
  EXPECT_EQ(ParsePortOption(R"(\\.\COM7)"), (PortOption{7, R"(\\.\COM7)"}));
  EXPECT_EQ(ParsePortOption(R"(\\.\CNCA0)"), (PortOption{1, R"(\\.\CNCA0)"}));
}

TEST(PortOptionText, AnythingElseIsRefused) {
  for (const char* text : {"", "COM", "COM0", "COM257", "COM5x", "COM5=", "5", "/dev/ttyS0"}) {
    EXPECT_EQ(ParsePortOption(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace fenwright::platform

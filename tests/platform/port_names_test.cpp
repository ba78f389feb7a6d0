#include "platform/system/port_names.h"

#include <gtest/gtest.h>

#include "platform/memory/memory_settings_store.h"

namespace fenwright::platform {
namespace {

TEST(PortNames, EveryComNumberHasItsDefaultDevice) {
  EXPECT_EQ(DefaultDevicePath(1), "/dev/ttyS0");
  EXPECT_EQ(DefaultDevicePath(4), "/dev/ttyS3");
  EXPECT_EQ(DefaultDevicePath(5), "/dev/ttyUSB0");
  EXPECT_EQ(DefaultDevicePath(12), "/dev/ttyUSB7");
  EXPECT_EQ(DefaultDevicePath(13), "/dev/ttyACM0");
  EXPECT_EQ(DefaultDevicePath(20), "/dev/ttyACM7");
}

TEST(PortNames, NumbersOutsideTheRangeHaveNoDevice) {
  for (const int number : {-1, 0, 21}) EXPECT_EQ(DefaultDevicePath(number), "") << number;
}

TEST(PortNames, APathOfThisRunGoesBeforeTheSettingsAndThoseBeforeTheDefault) {
  MemorySettingsStore settings;
  EXPECT_EQ(DevicePath(settings, {}, 5), "/dev/ttyUSB0");
  settings.Write("Ports", "COM5", "/dev/stored");
  EXPECT_EQ(DevicePath(settings, {}, 5), "/dev/stored");
  EXPECT_EQ(DevicePath(settings, {{5, "/dev/given"}}, 5), "/dev/given");
  EXPECT_EQ(DevicePath(settings, {{6, "/dev/given"}}, 5), "/dev/stored");
}

TEST(PortNames, AnEmptyPathCountsAsNone) {
  MemorySettingsStore settings;
  settings.Write("Ports", "COM5", "");
  EXPECT_EQ(DevicePath(settings, {{5, ""}}, 5), "/dev/ttyUSB0");
}

TEST(PortOptionText, AComNameInEitherCaseIsItsNumber) {
  EXPECT_EQ(ParsePortOption("COM5"), (PortOption{5, ""}));
  EXPECT_EQ(ParsePortOption("com20"), (PortOption{20, ""}));
  EXPECT_EQ(ParsePortOption("Com1"), (PortOption{1, ""}));
}

TEST(PortOptionText, AComNameMayBringItsPath) {
  EXPECT_EQ(ParsePortOption("COM5=/dev/pts/3"), (PortOption{5, "/dev/pts/3"}));
  EXPECT_EQ(ParsePortOption("com7=/tmp/a=b"), (PortOption{7, "/tmp/a=b"}));
}

TEST(PortOptionText, APathTakesTheNumberWhoseDefaultItIs) {
  EXPECT_EQ(ParsePortOption("/dev/ttyS0"), (PortOption{1, "/dev/ttyS0"}));
  EXPECT_EQ(ParsePortOption("/dev/ttyUSB0"), (PortOption{5, "/dev/ttyUSB0"}));
  EXPECT_EQ(ParsePortOption("/dev/ttyACM7"), (PortOption{20, "/dev/ttyACM7"}));
}

TEST(PortOptionText, AnyOtherPathTakesNumberOne) {
  EXPECT_EQ(ParsePortOption("/dev/pts/3"), (PortOption{1, "/dev/pts/3"}));
  EXPECT_EQ(ParsePortOption("/dev/ttyUSB8"), (PortOption{1, "/dev/ttyUSB8"}));
  EXPECT_EQ(ParsePortOption("./line=1"), (PortOption{1, "./line=1"}));
}

TEST(PortOptionText, ANumberAboveTheListsIsTakenAsItIs) {
  EXPECT_EQ(ParsePortOption("COM21"), (PortOption{21, ""}));
  EXPECT_EQ(ParsePortOption("COM256=/dev/pts/3"), (PortOption{256, "/dev/pts/3"}));
}

TEST(PortOptionText, AnythingElseIsRefused) {
  for (const char* text :
       {"", "COM", "COM0", "COM257", "COM-1", "COM5x", "COM 5", "COM5=", "5", "ttyUSB0"}) {
    EXPECT_EQ(ParsePortOption(text), std::nullopt) << text;
  }
  EXPECT_EQ(ParsePortOption("COM257=/dev/pts/3"), std::nullopt);
}

}  // namespace
}  // namespace fenwright::platform

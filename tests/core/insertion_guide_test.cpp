#include "core/insertion_guide.h"

#include "core/device_catalogue.h"
#include "support/test_run.h"

namespace fenwright::core {
namespace {
using Positions = std::set<GuidePosition>;

struct InsertionGuide : Test, RecordedRun {
  Positions HighlightedFor(const std::string& device) {
    Form.ForcedText = device;
    RefreshInsertionGuide(Context);
    return Guide.Highlighted;
  }
};

TEST_F(InsertionGuide, EachDeviceHighlightsItsPositionAndNoOther) {
  const std::map<std::string, GuidePosition> places{
      {"ATtiny12L", GuidePosition::A},
      {"ATtiny15L", GuidePosition::A},
      {"AT90S2323", GuidePosition::A},
      {"AT90S2343", GuidePosition::A},
      {"ATtiny26L", GuidePosition::B},
      {"AT90S1200 (外部ｸﾛｯｸ)", GuidePosition::C},
      {"AT90S1200A(内部RCｸﾛｯｸ1MHz)", GuidePosition::C},
      {"AT90S2313", GuidePosition::C},
      {"AT90S2333", GuidePosition::D},
      {"AT90S4433", GuidePosition::D},
      {"AT90S4414", GuidePosition::E},
      {"AT90S4434", GuidePosition::E},
      {"AT90S8515", GuidePosition::E},
      {"AT90S8535", GuidePosition::E}};
  for (const auto& [device, position] : places) {
    EXPECT_EQ(HighlightedFor(device), Positions{position}) << device;
  }
  for (const DeviceEntry& device : DeviceCatalogue()) {
    EXPECT_TRUE(places.contains(std::string(device.DisplayName))) << device.DisplayName;
  }
}

TEST(ChipsAt, NamesTheChipsOfAPlaceInTheCataloguesOrderBehindTheOneOfTheGuideAlone) {
  using screen::GuidePosition;
  EXPECT_EQ(ChipsAt(GuidePosition::A),
            (std::vector<std::string>{"ATtiny12L", "ATtiny15L", "AT90S2323", "AT90S2343"}));
  EXPECT_EQ(ChipsAt(GuidePosition::B), (std::vector<std::string>{"ATtiny26L"}));
  EXPECT_EQ(ChipsAt(GuidePosition::C),
            (std::vector<std::string>{"AT90S1200", "AT90S1200A", "AT90S2313"}));
  EXPECT_EQ(ChipsAt(GuidePosition::D), (std::vector<std::string>{"AT90S2333", "AT90S4433"}));
  EXPECT_EQ(ChipsAt(GuidePosition::E),
            (std::vector<std::string>{"AT90S4414", "AT90S4434", "AT90S8515", "AT90S8535"}));
}

TEST_F(InsertionGuide, AnEmptyTextLeavesAllMarkersGrey) {
  HighlightedFor("AT90S8535");
  EXPECT_EQ(HighlightedFor(""), Positions{});
}

TEST_F(InsertionGuide, ANameThatMatchesNoneLeavesAllMarkersGrey) {
  for (const char* device : {"AT90S9999", "AT90S851", "at90s8515", " AT90S8515", "ATtiny11L"}) {
    HighlightedFor("AT90S8535");
    EXPECT_EQ(HighlightedFor(device), Positions{}) << device;
  }
}

TEST_F(InsertionGuide, OnlyTheFirstNineCharactersCount) {
  EXPECT_EQ(HighlightedFor("AT90S8515 something else"), Positions{GuidePosition::E});
}

TEST_F(InsertionGuide, AllMarkersBecomeGreyBeforeOneIsHighlighted) {
  HighlightedFor("ATtiny26L");
  EXPECT_EQ(TakeJournal(),
            (Journal{"idle A", "idle B", "idle C", "idle D", "idle E", "highlight B"}));
}

}  // namespace
}  // namespace fenwright::core

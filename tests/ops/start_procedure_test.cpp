// Start and stop of a program with windows, step by step.

#include "ops/start_procedure.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ops/command.h"
#include "ops/stop_procedure.h"
#include "support/form_fakes.h"
#include "support/test_run.h"

namespace fenwright::testing {
namespace {

using core::CommandEnding;
using screen::TwipsPlace;
using screen::TwipsPosition;
using screen::View;

struct WindowStart : ScriptedRun {
  FakeMainForm Window;
  FakeInstance Instance;

  WindowStart() { State.AppFolder.clear(); }

  CommandEnding Start(const std::string& argument = "") {
    return ops::RunCommand(Context, [&](core::RunContext& context) {
      ops::StartWindow(context, Window, &Instance,
                       {.AppFolder = "/app/", .CommandArgument = argument});
    });
  }
  void Store(const char* key, const char* value) { Settings.Write("Settings", key, value); }
  [[nodiscard]] std::string Stored(const char* key) const {
    return Settings.Read("Settings", key).value_or("(missing)");
  }
};

TEST(WindowStart, EndsAtOnceAndSilentlyWhenTheProgramRunsAlready) {
  WindowStart run;
  run.Instance.Alone = false;
  run.Files.Files["_debug_avr.txt"] = "of the other run";
  EXPECT_EQ(run.Start(), CommandEnding::AnotherInstance);
  EXPECT_TRUE(run.Window.Calls.empty());
  EXPECT_TRUE(run.Files.Deleted.empty());
  EXPECT_TRUE(run.Boxes.Boxes.empty());
  EXPECT_EQ(run.Files.Files.size(), 1U);
}

TEST(WindowStart, TheWindowsStepsComeInTheirOrder) {
  WindowStart run;
  EXPECT_EQ(run.Start(), CommandEnding::Finished);
  const std::vector<std::string> expected{
      "support page label", "caption", "place main", "place flash", "place eeprom", "show", "timer",
      "com dialog",         "guide"};
  EXPECT_EQ(run.Window.Calls, expected);
}

TEST(WindowStart, TheWindowIsShownAfterTraceFolderAndArgumentAndBeforeBuffersAndSelector) {
  WindowStart run;
  bool looked = false;
  run.Window.At["show"] = [&] {
    looked = true;
    EXPECT_EQ(run.Files.Deleted, std::vector<std::string>{"_debug_avr.txt"});
    EXPECT_EQ(run.State.CommandArgument, "/p/a.hex");
    EXPECT_EQ(run.State.AppFolder, "/app/");
    EXPECT_EQ(run.State.FlashBuffer[0], 0);
    EXPECT_TRUE(run.Form.Names.empty());
  };
  run.Start("/p/a.hex");
  EXPECT_TRUE(looked);
}

TEST(WindowStart, TheComDialogComesWithTheDeviceAppliedAndItsFlagNotYetWritten) {
  WindowStart run;
  bool looked = false;
  run.Window.At["com dialog"] = [&] {
    looked = true;
    EXPECT_TRUE(run.State.CommandRunning);
    EXPECT_EQ(run.State.FlashBuffer[65536], 0xFF);
    EXPECT_EQ(run.State.EepromBuffer[2048], 0xFF);
    EXPECT_EQ(run.Form.Names.size(), 13U);
    EXPECT_EQ(run.Form.DeviceText(), "ATtiny12L");
    EXPECT_EQ(run.State.FlashWords, 512);
    EXPECT_TRUE(run.Form.FrameShown);
    EXPECT_EQ(run.Stored("Index_Com_Flag"), "(missing)");
  };
  run.Start();
  EXPECT_TRUE(looked);
  EXPECT_EQ(run.Stored("Index_Com_Flag"), "1");
}

TEST(WindowStart, TheComDialogIsShownOnTheFirstRunOnly) {
  for (const char* flag : {"1", "0.5", "-1", "2"}) {
    WindowStart run;
    run.Store("Index_Com_Flag", flag);
    run.Start();
    for (const std::string& call : run.Window.Calls) EXPECT_NE(call, "com dialog") << flag;
    EXPECT_EQ(run.Stored("Index_Com_Flag"), flag);
  }
  for (const char* flag : {"0", "0.0", " 0 "}) {
    WindowStart run;
    run.Store("Index_Com_Flag", flag);
    run.Start();
    EXPECT_EQ(run.Window.Calls.at(7), "com dialog") << flag;
    EXPECT_EQ(run.Stored("Index_Com_Flag"), "1");
  }
}

TEST(WindowStart, SetsTheCaptionAndTheSupportPageLabel) {
  WindowStart run;
  run.Start();
  EXPECT_EQ(run.Window.Caption, "New Fenwright Version 6.5.5");
  const std::string label = "ｻﾎﾟｰﾄﾍﾟｰｼﾞ : ";
  EXPECT_TRUE(run.Window.SupportPageLabel.starts_with(label + "http"))
      << run.Window.SupportPageLabel;
}

TEST(WindowStart, WithAnEmptyStoreEveryWindowHasItsDefaultPlace) {
  WindowStart run;
  run.Start();
  EXPECT_EQ(run.Window.MainPlace, (TwipsPlace{100, 100, 11300, 7900}));
  EXPECT_EQ(run.Window.ViewPlaces[View::Flash], (TwipsPlace{50, 50, 5400, 4000}));
  EXPECT_EQ(run.Window.ViewPlaces[View::Eeprom], (TwipsPlace{50, 4100, 5400, 2000}));
  EXPECT_EQ(run.Window.Guide, (TwipsPosition{0, 0}));
  EXPECT_EQ(run.Stored("device"), "0");
}

TEST(WindowStart, EveryKeyGivesItsOwnNumber) {
  WindowStart run;
  const std::vector<const char*> keys{"MainLeft", "MainTop",   "MainWidth", "MainHeight", "PgmLeft",
                                      "PgmTop",   "PgmWidth",  "PgmHeight", "EEpLeft",    "EEpTop",
                                      "EEpWidth", "EEpHeight", "IndLeft",   "IndTop"};
  for (std::size_t i = 0; i < keys.size(); ++i) {
    run.Store(keys[i], std::to_string(1001 + i).c_str());
  }
  run.Store("device", "12");
  run.Start();
  EXPECT_EQ(run.Window.MainPlace, (TwipsPlace{1001, 1002, 1003, 1004}));
  EXPECT_EQ(run.Window.ViewPlaces[View::Flash], (TwipsPlace{1005, 1006, 1007, 1008}));
  EXPECT_EQ(run.Window.ViewPlaces[View::Eeprom], (TwipsPlace{1009, 1010, 1011, 1012}));
  EXPECT_EQ(run.Window.Guide, (TwipsPosition{1013, 1014}));
  EXPECT_EQ(run.Form.DeviceText(), "AT90S8535");
}

TEST(WindowStart, AStoredNumberMayBeNegativeHugeOrHaveAFraction) {
  WindowStart run;
  run.Store("MainLeft", "-1250.5");
  run.Store("MainTop", " +15 ");
  run.Store("MainWidth", "1.5E7");
  EXPECT_EQ(run.Start(), CommandEnding::Finished);
  EXPECT_EQ(run.Window.MainPlace, (TwipsPlace{-1250.5, 15, 15000000, 7900}));
}

TEST(WindowStart, AnyStoredTextInPlaceOfANumberEndsItAndIsNamed) {
  for (const char* key : {"MainLeft", "MainTop", "MainWidth", "MainHeight", "PgmLeft", "PgmTop",
                          "PgmWidth", "PgmHeight", "EEpLeft", "EEpTop", "EEpWidth", "EEpHeight",
                          "IndLeft", "IndTop", "device", "Index_Com_Flag"}) {
    for (const char* value : {"left", "", "12 px", "0x10", "1e99", "nan", "inf", "--5"}) {
      SCOPED_TRACE(std::string(key) + "=" + value);
      WindowStart run;
      run.Store(key, value);
      EXPECT_EQ(run.Start(), CommandEnding::BadSetting);
      ASSERT_EQ(run.Boxes.Boxes.size(), 1U);
      EXPECT_EQ(run.Boxes.Boxes[0].Icon, screen::MessageIcon::Critical);
      const std::string named =
          "セクション Settings、キー " + std::string(key) + "、値 \"" + value + "\"";
      EXPECT_NE(run.Boxes.Boxes[0].Text.find(named), std::string::npos) << run.Boxes.Boxes[0].Text;
      EXPECT_EQ(run.Stored(key), value);
    }
  }
}

TEST(WindowStart, ADeviceOutOfRangeEndsItAfterTheWindowHasBeenShown) {
  for (const char* value : {"13", "-2", "32768"}) {
    WindowStart run;
    run.Store("device", value);
    EXPECT_EQ(run.Start(), CommandEnding::BadSetting);
    EXPECT_EQ(run.Window.Calls.back(), "timer");
    EXPECT_EQ(run.Form.Index, -1);
  }
}

struct WindowStop : WindowStart {
  WindowStop() {
    Start();
    Window.Calls.clear();
    Window.MainPlace = {1, 2, 3, 4};
    Window.ViewPlaces[View::Flash] = {5, 6, 7, 8};
    Window.ViewPlaces[View::Eeprom] = {9, 10, 11, 12};
    Window.Guide = {13, 14};
  }
  void Stop() {
    ops::QueryUnload(Context, Window);
    ops::Unload(Context, Window);
  }
  [[nodiscard]] std::vector<std::string> StoredAll() const {
    std::vector<std::string> values;
    for (const char* key :
         {"MainLeft", "MainTop", "MainWidth", "MainHeight", "PgmLeft", "PgmTop", "PgmWidth",
          "PgmHeight", "EEpLeft", "EEpTop", "EEpWidth", "EEpHeight", "IndLeft", "IndTop"}) {
      values.push_back(Stored(key));
    }
    return values;
  }
};

TEST(WindowStop, BeforeItClosesTheViewsPlacesAreStoredAndNothingElse) {
  WindowStop run;
  ops::QueryUnload(run.Context, run.Window);
  const std::string no = "(missing)";
  const std::vector<std::string> expected{no,  no,  no,   no,   "5",  "6", "7",
                                          "8", "9", "10", "11", "12", no,  no};
  EXPECT_EQ(run.StoredAll(), expected);
  EXPECT_TRUE(run.Files.Files.contains("/app/avrhex.txt"));
}

TEST(WindowStop, EveryPlaceIsStoredInDecimal) {
  WindowStop run;
  run.Window.MainPlace = {-1215, 2, 11300, 1e6};
  run.Stop();
  const std::vector<std::string> expected{"-1215", "2", "11300", "1000000", "5",  "6",  "7",
                                          "8",     "9", "10",    "11",      "12", "13", "14"};
  EXPECT_EQ(run.StoredAll(), expected);
}

TEST(WindowStop, AMinimisedWindowLeavesWhatIsStored) {
  WindowStop run;
  run.Store("MainLeft", "777");
  run.Store("PgmWidth", "888");
  run.Window.Minimised = true;
  const std::vector<std::string> before = run.StoredAll();
  run.Stop();
  EXPECT_EQ(run.StoredAll(), before);
  EXPECT_EQ(run.Window.Calls, std::vector<std::string>{"unload others"});
}

TEST(WindowStop, TheTemporaryFilesGoAndTheTraceStays) {
  WindowStop run;
  run.Files.Files["/app/avrvfy.txt"] = "report";
  run.Files.Files["/app/_debug_avr.txt"] = "trace";
  ASSERT_TRUE(run.Files.Files.contains("/app/avreep.txt"));
  run.Window.At["unload others"] = [&] {
    EXPECT_FALSE(run.Files.Files.contains("/app/avrhex.txt"));
    EXPECT_EQ(run.Stored("MainLeft"), "1");
  };
  run.Stop();
  ASSERT_EQ(run.Files.Files.size(), 1U);
  EXPECT_TRUE(run.Files.Files.contains("/app/_debug_avr.txt"));
  EXPECT_EQ(run.Window.Calls, std::vector<std::string>{"unload others"});
}

TEST(WindowStop, TheNextStartFindsEveryWindowWhereItWas) {
  WindowStop run;
  run.Stop();
  run.Window = FakeMainForm();
  run.Start();
  EXPECT_EQ(run.Window.MainPlace, (TwipsPlace{1, 2, 3, 4}));
  EXPECT_EQ(run.Window.ViewPlaces[View::Flash], (TwipsPlace{5, 6, 7, 8}));
  EXPECT_EQ(run.Window.ViewPlaces[View::Eeprom], (TwipsPlace{9, 10, 11, 12}));
  EXPECT_EQ(run.Window.Guide, (TwipsPosition{13, 14}));
}

}  // namespace
}  // namespace fenwright::testing

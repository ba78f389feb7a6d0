// Start and stop of a program with windows, step by step.

#include "ops/start_procedure.h"

#include "core/device_catalogue.h"
#include "ops/command.h"
#include "ops/stop_procedure.h"
#include "support/form_fakes.h"
#include "support/test_run.h"

namespace fenwright::testing {
namespace {
using screen::TwipsPlace;
using screen::TwipsPosition;

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
};

struct WindowStartTest : Test, WindowStart {};

TEST_ON(WindowStartTest, WindowStart, EndsAtOnceAndSilentlyWhenTheProgramRunsAlready) {
  Instance.Alone = false;
  Files.Files["_debug_avr.txt"] = "of the other run";
  EXPECT_EQ(Start(), CommandEnding::AnotherInstance);
  EXPECT_TRUE(Window.Calls.empty());
  EXPECT_TRUE(Files.Deleted.empty());
  EXPECT_TRUE(Boxes.Boxes.empty());
  EXPECT_EQ(Files.Files.size(), 1U);
}

TEST_ON(WindowStartTest, WindowStart, NeedsNoWordOfOtherRunsWhereTheyDoNotMatter) {
  EXPECT_EQ(ops::RunCommand(Context,
                            [&](core::RunContext& context) {
                              ops::StartWindow(context, Window, nullptr, {.AppFolder = "/app/"});
                            }),
            CommandEnding::Finished);
  EXPECT_FALSE(Window.Calls.empty());
}

TEST_ON(WindowStartTest, WindowStart, TheWindowsStepsComeInTheirOrder) {
  EXPECT_EQ(Start(), CommandEnding::Finished);
  const std::vector<std::string> expected{
      "support page label", "caption", "place main", "place flash", "place eeprom", "show", "timer",
      "com dialog",         "guide"};
  EXPECT_EQ(Window.Calls, expected);
}

TEST_ON(WindowStartTest, WindowStart,
        TheWindowIsShownAfterTraceFolderAndArgumentAndBeforeBuffersAndSelector) {
  bool looked = false;
  Window.At["show"] = [&] {
    looked = true;
    EXPECT_EQ(Files.Deleted, Texts{"_debug_avr.txt"});
    EXPECT_EQ(State.CommandArgument, "/p/a.hex");
    EXPECT_EQ(State.AppFolder, "/app/");
    EXPECT_EQ(State.FlashBuffer[0], 0);
    EXPECT_TRUE(Form.Names.empty());
  };
  Start("/p/a.hex");
  EXPECT_TRUE(looked);
}

TEST_ON(WindowStartTest, WindowStart,
        TheComDialogComesWithTheDeviceAppliedAndItsFlagNotYetWritten) {
  bool looked = false;
  Window.At["com dialog"] = [&] {
    looked = true;
    EXPECT_TRUE(State.CommandRunning);
    EXPECT_EQ(State.FlashBuffer[65536], 0xFF);
    EXPECT_EQ(State.EepromBuffer[2048], 0xFF);
    EXPECT_EQ(Form.Names.size(), core::DeviceCatalogue().size());
    EXPECT_EQ(Form.DeviceText(), "ATtiny12L");
    EXPECT_EQ(State.FlashWords, 512);
    EXPECT_TRUE(Form.FrameShown);
    EXPECT_EQ(Stored("Index_Com_Flag"), "(missing)");
  };
  Start();
  EXPECT_TRUE(looked);
  EXPECT_EQ(Stored("Index_Com_Flag"), "1");
}

TEST_ON(WindowStartTest, WindowStart, TheComDialogIsShownOnTheFirstRunOnly) {
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

TEST_ON(WindowStartTest, WindowStart, SetsTheCaptionAndTheSupportPageLabel) {
  Start();
  EXPECT_EQ(Window.Caption, "New Fenwright Version 6.5.5");
  const std::string label = "ｻﾎﾟｰﾄﾍﾟｰｼﾞ : ";
  EXPECT_TRUE(Window.SupportPageLabel.starts_with(label + "http")) << Window.SupportPageLabel;
}

TEST_ON(WindowStartTest, WindowStart, WithAnEmptyStoreEveryWindowHasItsDefaultPlace) {
  Start();
  EXPECT_EQ(Window.MainPlace, (TwipsPlace{100, 100, 11300, 7900}));
  EXPECT_EQ(Window.ViewPlaces[View::Flash], (TwipsPlace{50, 50, 5400, 4000}));
  EXPECT_EQ(Window.ViewPlaces[View::Eeprom], (TwipsPlace{50, 4100, 5400, 2000}));
  EXPECT_EQ(Window.Guide, (TwipsPosition{0, 0}));
  EXPECT_EQ(Stored("device"), "0");
}

TEST_ON(WindowStartTest, WindowStart, EveryKeyGivesItsOwnNumber) {
  const std::vector<const char*> keys{"MainLeft", "MainTop",   "MainWidth", "MainHeight", "PgmLeft",
                                      "PgmTop",   "PgmWidth",  "PgmHeight", "EEpLeft",    "EEpTop",
                                      "EEpWidth", "EEpHeight", "IndLeft",   "IndTop"};
  for (std::size_t i = 0; i < keys.size(); ++i) {
    Store(keys[i], std::to_string(1001 + i).c_str());
  }
  Store("device", "12");
  Start();
  EXPECT_EQ(Window.MainPlace, (TwipsPlace{1001, 1002, 1003, 1004}));
  EXPECT_EQ(Window.ViewPlaces[View::Flash], (TwipsPlace{1005, 1006, 1007, 1008}));
  EXPECT_EQ(Window.ViewPlaces[View::Eeprom], (TwipsPlace{1009, 1010, 1011, 1012}));
  EXPECT_EQ(Window.Guide, (TwipsPosition{1013, 1014}));
  EXPECT_EQ(Form.DeviceText(), "AT90S8535");
}

TEST_ON(WindowStartTest, WindowStart, AStoredNumberMayBeNegativeHugeOrHaveAFraction) {
  Store("MainLeft", "-1250.5");
  Store("MainTop", " +15 ");
  Store("MainWidth", "1.5E7");
  EXPECT_EQ(Start(), CommandEnding::Finished);
  EXPECT_EQ(Window.MainPlace, (TwipsPlace{-1250.5, 15, 15000000, 7900}));
}

TEST_ON(WindowStartTest, WindowStart, AnyStoredTextInPlaceOfANumberEndsItAndIsNamed) {
  for (const char* key : {"MainLeft", "MainTop", "MainWidth", "MainHeight", "PgmLeft", "PgmTop",
                          "PgmWidth", "PgmHeight", "EEpLeft", "EEpTop", "EEpWidth", "EEpHeight",
                          "IndLeft", "IndTop", "device", "Index_Com_Flag"}) {
    for (const char* value : {"left", "", "12 px", "0x10", "1e99", "nan", "inf", "--5"}) {
      SCOPED_TRACE(std::string(key) + "=" + value);
      WindowStart run;
      run.Store(key, value);
      EXPECT_EQ(run.Start(), CommandEnding::BadSetting);
      ASSERT_EQ(run.Boxes.Boxes.size(), 1U);
      EXPECT_EQ(run.Boxes.Boxes[0].Icon, MessageIcon::Critical);
      const std::string named =
          "セクション Settings、キー " + std::string(key) + "、値 \"" + value + "\"";
      EXPECT_THAT(run.Boxes.Boxes[0].Text, HasSubstr(named));
      EXPECT_EQ(run.Stored(key), value);
    }
  }
}

TEST_ON(WindowStartTest, WindowStart, ADeviceOutOfRangeEndsItAfterTheWindowHasBeenShown) {
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

struct WindowStopTest : Test, WindowStop {};

TEST_ON(WindowStopTest, WindowStop, BeforeItClosesTheViewsPlacesAreStoredAndNothingElse) {
  ops::QueryUnload(Context, Window);
  const std::string no = "(missing)";
  const std::vector<std::string> expected{no,  no,  no,   no,   "5",  "6", "7",
                                          "8", "9", "10", "11", "12", no,  no};
  EXPECT_EQ(StoredAll(), expected);
  EXPECT_TRUE(Files.Files.contains("/app/avrhex.txt"));
}

TEST_ON(WindowStopTest, WindowStop, EveryPlaceIsStoredInDecimal) {
  Window.MainPlace = {-1215, 2, 11300, 1e6};
  Stop();
  const std::vector<std::string> expected{"-1215", "2", "11300", "1000000", "5",  "6",  "7",
                                          "8",     "9", "10",    "11",      "12", "13", "14"};
  EXPECT_EQ(StoredAll(), expected);
}

TEST_ON(WindowStopTest, WindowStop, AMinimisedWindowLeavesWhatIsStored) {
  Store("MainLeft", "777");
  Store("PgmWidth", "888");
  Window.Minimised = true;
  const std::vector<std::string> before = StoredAll();
  Stop();
  EXPECT_EQ(StoredAll(), before);
  EXPECT_EQ(Window.Calls, Texts{"unload others"});
}

TEST_ON(WindowStopTest, WindowStop, TheTemporaryFilesGoAndTheTraceStays) {
  Files.Files["/app/avrvfy.txt"] = "report";
  Files.Files["/app/_debug_avr.txt"] = "trace";
  ASSERT_TRUE(Files.Files.contains("/app/avreep.txt"));
  Window.At["unload others"] = [&] {
    EXPECT_FALSE(Files.Files.contains("/app/avrhex.txt"));
    EXPECT_EQ(Stored("MainLeft"), "1");
  };
  Stop();
  ASSERT_EQ(Files.Files.size(), 1U);
  EXPECT_TRUE(Files.Files.contains("/app/_debug_avr.txt"));
  EXPECT_EQ(Window.Calls, Texts{"unload others"});
}

TEST_ON(WindowStopTest, WindowStop, TheNextStartFindsEveryWindowWhereItWas) {
  Stop();
  Window = FakeMainForm();
  Start();
  EXPECT_EQ(Window.MainPlace, (TwipsPlace{1, 2, 3, 4}));
  EXPECT_EQ(Window.ViewPlaces[View::Flash], (TwipsPlace{5, 6, 7, 8}));
  EXPECT_EQ(Window.ViewPlaces[View::Eeprom], (TwipsPlace{9, 10, 11, 12}));
  EXPECT_EQ(Window.Guide, (TwipsPosition{13, 14}));
}

}  // namespace
}  // namespace fenwright::testing

#pragma once

#include "platform/port_info.h"
#include "platform/single_instance.h"
#include "screen/com_form.h"
#include "screen/main_form.h"
#include "support/fakes.h"

namespace fenwright::testing {

/// The windows of a program that has none: keeps what it is told, in order.
class FakeMainForm final : public screen::MainForm {
 public:
  void SetSupportPageLabel(std::string_view text) override {
    SupportPageLabel = text;
    Calls.emplace_back("support page label");
  }
  void SetCaption(std::string_view text) override {
    Caption = text;
    Calls.emplace_back("caption");
  }
  void Place(const screen::TwipsPlace& place) override {
    MainPlace = place;
    Calls.emplace_back("place main");
  }
  void PlaceView(View view, const screen::TwipsPlace& place) override {
    ViewPlaces[view] = place;
    Calls.emplace_back(view == View::Flash ? "place flash" : "place eeprom");
  }
  void Show() override { Call("show"); }
  void EnableTimer() override { Calls.emplace_back("timer"); }
  void SelectComPort() override { Call("com dialog"); }
  void ShowGuide(const screen::TwipsPosition& position) override {
    Guide = position;
    Call("guide");
  }
  [[nodiscard]] screen::TwipsPlace CurrentPlace() const override { return MainPlace; }
  [[nodiscard]] screen::TwipsPlace CurrentPlaceOf(View view) const override {
    return ViewPlaces.at(view);
  }
  [[nodiscard]] screen::TwipsPosition GuidePosition() const override { return Guide; }
  [[nodiscard]] bool IsMinimised() const override { return Minimised; }
  void UnloadOtherForms() override { Call("unload others"); }

  std::vector<std::string> Calls;
  /// Runs at the call of that name, for a look at the program in the middle.
  std::map<std::string, std::function<void()>> At;
  std::string SupportPageLabel;
  std::string Caption;
  screen::TwipsPlace MainPlace;
  std::map<View, screen::TwipsPlace> ViewPlaces;
  screen::TwipsPosition Guide;
  bool Minimised = false;

 private:
  void Call(const std::string& name) {
    Calls.push_back(name);
    if (const auto action = At.find(name); action != At.end()) action->second();
  }
};

/// Another run is going on, or not.
class FakeInstance final : public platform::SingleInstance {
 public:
  bool Claim() override { return Alone; }
  bool Alone = true;
};

/// The COM port dialog, its user a list of what he does: choose an item, and press a button.
class FakeComForm final : public screen::ComForm {
 public:
  struct Step {
    int Choice = -1;  ///< index to choose first, -1 = leave the list alone
    screen::ComFormButton Button = screen::ComFormButton::Ok;
  };

  void PlaceOverMainWindow() override { Calls.emplace_back("place"); }
  void SetItems(const std::vector<std::string>& items) override {
    Items = items;
    Index = -1;
  }
  void SetListIndex(int index) override { Index = index; }
  [[nodiscard]] int ListIndex() const override { return Index; }
  void SetNote(std::string_view text) override { Note = text; }
  screen::ComFormButton WaitForButton() override {
    Calls.emplace_back("wait");
    if (WhileWaiting) WhileWaiting();
    if (Steps.empty()) return screen::ComFormButton::Cancel;
    const Step step = Steps.front();
    Steps.pop_front();
    if (step.Choice >= 0) Index = step.Choice;
    return step.Button;
  }
  void Hide() override {
    Calls.emplace_back("hide");
    if (OnHide) OnHide();
  }
  void Unload() override {
    Calls.emplace_back("unload");
    if (OnUnload) OnUnload();
  }

  std::deque<Step> Steps;
  std::function<void()> WhileWaiting;
  std::function<void()> OnHide;
  std::function<void()> OnUnload;
  std::vector<std::string> Calls;
  std::vector<std::string> Items;
  std::string Note;
  int Index = -1;
};

/// Ports that a test has put there.
class FakePortInfos final : public platform::PortInfos {
 public:
  platform::PortInfo Describe(int number) override {
    ++Looks;
    const auto port = Ports.find(number);
    return port == Ports.end() ? platform::PortInfo{.Number = number} : port->second;
  }
  std::map<int, platform::PortInfo> Ports;
  int Looks = 0;
};

}  // namespace fenwright::testing

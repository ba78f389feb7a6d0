// Every reply of every command goes wrong in every way: the command ends in time and says so or
// succeeds; it never succeeds with a wrong chip; what it says about the chip is true; the next
// command works. The tables that the tests print say what was tried.

#include <cstdio>
#include <functional>
#include <optional>

#include "board/chip.h"
#include "fuse/fuse_bytes.h"
#include "ops/command.h"
#include "ops/commands.h"
#include "ops/outcome.h"
#include "ops/samples.h"
#include "support/test_run.h"

namespace fenwright::testing {
namespace {

constexpr std::uint32_t kFlashWords = 512;
constexpr std::uint32_t kBytes = 64;
/// Longest wait for one reply.
constexpr double kLongestTimeout = 5.0;

Bytes Code() { return {0x0C, 0x94, 0x2A, 0x00, 0x55, 0xAA}; }
Bytes Data() { return {0x11, 0x22}; }

/// What a chip's memories hold.
struct Content {
  std::vector<unsigned> Flash;
  std::vector<unsigned> Eeprom;
  bool operator==(const Content&) const = default;
};

Content ContentOf(const board::Chip& chip) {
  Content content;
  for (std::uint32_t word = 0; word < kFlashWords; ++word)
    content.Flash.push_back(chip.FlashWord(word));
  for (std::uint32_t byte = 0; byte < kBytes; ++byte)
    content.Eeprom.push_back(chip.EepromByte(byte));
  return content;
}

Content Blank() {
  return {.Flash = std::vector<unsigned>(kFlashWords, 0xFFFF),
          .Eeprom = std::vector<unsigned>(kBytes, 0xFF)};
}

/// What the buffers say that a chip is to hold.
Content ContentOf(const core::AppState& state) {
  Content content;
  for (std::size_t word = 0; word < kFlashWords; ++word) {
    content.Flash.push_back(static_cast<unsigned>(state.FlashBuffer[2 * word]) << 8U |
                            state.FlashBuffer[2 * word + 1]);
  }
  for (std::size_t byte = 0; byte < kBytes; ++byte) {
    content.Eeprom.push_back(state.EepromBuffer[byte]);
  }
  return content;
}

bool SameUpTo(const std::vector<unsigned>& chip, const std::vector<unsigned>& image,
              std::size_t count) {
  return std::equal(chip.begin(), chip.begin() + static_cast<std::ptrdiff_t>(count), image.begin());
}

/// The count that a sentence names as its last address, nothing when it names none.
std::optional<std::size_t> CountIn(const std::string& sentence, const std::string& before) {
  const std::string start = before + " 0x";
  const std::size_t found = sentence.find(start);
  if (found == std::string::npos) return std::nullopt;
  return std::stoul(sentence.substr(found + start.size(), 4), nullptr, 16) + 1;
}

/// Each clause of the sentence against the chip.
void ExpectTrue(const std::string& sentence, const Content& chip, const Content& before,
                const Content& image) {
  const auto says = [&sentence](const char* words) {
    return sentence.find(words) != std::string::npos;
  };
  const auto check = [&sentence](bool said, bool is_so) {
    EXPECT_TRUE(!said || is_so) << sentence;
  };
  check(says("the chip was not changed"), chip == before);
  check(says("nothing written"), chip == Blank());
  check(sentence == "chip erased", chip == Blank());
  check(says("there was nothing to program"), chip == Blank());
  if (const auto words = CountIn(sentence, "flash written up to word")) {
    check(true, SameUpTo(chip.Flash, image.Flash, *words));
  }
  check(says("flash written,") || says("flash and EEPROM written,"), chip.Flash == image.Flash);
  if (const auto bytes = CountIn(sentence, "EEPROM written up to byte")) {
    check(true, SameUpTo(chip.Eeprom, image.Eeprom, *bytes));
  }
  check(says("EEPROM not written"), chip.Eeprom == Blank().Eeprom);
  check(says("flash and EEPROM written,"), chip.Eeprom == image.Eeprom);
  check(sentence == "programmed and verified", chip == image);
  check(says("the chip holds what the file holds"), chip == image);
}

/// One way in which a reply goes wrong.
struct Wrong {
  const char* Kind;
  const char* Rest;
};

const std::vector<Wrong>& WrongReplies() {
  static const std::vector<Wrong> ways{
      {"drop", ""},       {"late", ":200"},   {"late", ":6000"}, {"split", ":200"},
      {"split", ":6000"}, {"double", ""},     {"silent", ""},    {"flip", ":01"},
      {"flip", ":80"},    {"flip", ":FF"},    {"flip", ":01:2"}, {"flip", ":80:2"},
      {"flip", ":01:3"},  {"flip", ":FF:3"},  {"flip", ":01:4"}, {"flip", ":20:12"},
      {"flip", ":01:15"}, {"flip", ":40:16"}, {"flip", ":FF:18"}};
  return ways;
}

struct Operation {
  const char* Name;
  ops::Entry Entry;
  /// Brings board, chip and buffers to where the command starts from.
  std::function<void(BoardRun&)> Prepare;
  /// Whether a run that says that it succeeded has done so.
  std::function<bool(BoardRun&, const Content& image)> IsRight;
};

void FillChip(BoardRun& run) {
  constexpr std::uint8_t kCells = 8;
  for (std::uint8_t cell = 0; cell < kCells; ++cell) {
    run.Chip().SetFlashWord(cell, static_cast<std::uint16_t>(0x1000U + cell));
    run.Chip().SetEepromByte(cell, static_cast<std::uint8_t>(0x40U + cell));
  }
}

void PutImageIntoChip(BoardRun& run) {
  run.LoadImage(Code(), Data());
  const Content image = ContentOf(run.State);
  for (std::uint32_t word = 0; word < kFlashWords; ++word) {
    run.Chip().SetFlashWord(word, static_cast<std::uint16_t>(image.Flash[word]));
  }
  for (std::uint32_t byte = 0; byte < kBytes; ++byte) {
    run.Chip().SetEepromByte(byte, static_cast<std::uint8_t>(image.Eeprom[byte]));
  }
}

bool FusesAreThoseOfTheLists(BoardRun& run) {
  for (const core::FuseTransfer& byte : fuse::ComposeFuseBytes(run.Context)) {
    if (byte.Name == "Fuse" && byte.Value != run.Chip().FuseLow()) return false;
    if (byte.Name == "Lock" && ((byte.Value >> 1U) & 3U) != run.Chip().LockBits()) return false;
  }
  return true;
}

const std::vector<Operation>& Operations() {
  static const std::vector<Operation> rows{
      {"program", ops::Cmd_btn_program_Click,
       [](BoardRun& run) {
         FillChip(run);
         run.LoadImage(Code(), Data());
       },
       [](BoardRun& run, const Content& image) { return ContentOf(run.Chip()) == image; }},
      {"verify", ops::Cmd_btn_verify_Click, PutImageIntoChip,
       [](BoardRun& run, const Content& image) { return ContentOf(run.Chip()) == image; }},
      {"erase", ops::Cmd_btn_erase_Click,
       [](BoardRun& run) {
         FillChip(run);
         run.LoadImage(Code(), Data());
       },
       [](BoardRun& run, const Content&) { return ContentOf(run.Chip()) == Blank(); }},
      {"read-fuses", ops::cmdFuseRead_Click,
       [](BoardRun& run) {
         run.LoadImage(Code(), Data());
         run.Chip().SetFuses(0x94, 0xFF);
       },
       [](BoardRun& run, const Content&) { return FusesAreThoseOfTheLists(run); }},
      {"write-fuses", ops::cmdFuseWrite_Click,
       [](BoardRun& run) {
         run.LoadImage(Code(), Data());
         run.Chip().SetFuses(0x94, 0xFF);
       },
       [](BoardRun& run, const Content&) { return FusesAreThoseOfTheLists(run); }},
      {"read", ops::Cmd_btn_read_Click,
       [](BoardRun& run) {
         FillChip(run);
         run.LoadImage(Code(), Data());
       },
       [](BoardRun& run, const Content&) {
         return ContentOf(run.State) == ContentOf(run.Chip());
       }}};
  return rows;
}

std::uint32_t RepliesOf(const Operation& operation) {
  BoardRun run(kTiny12);
  operation.Prepare(run);
  ops::RunCommand(run.Context, operation.Entry);
  EXPECT_TRUE(ops::Succeeded(run.State)) << operation.Name;
  return run.Port.Board().Replies();
}

/// What came of the runs of one command.
struct Tally {
  int Runs = 0;
  int Succeeded = 0;
  int Failed = 0;
  int Undetected = 0;  ///< succeeded, and what was read is not what the chip holds
};

void Print(const char* what, const Tally& tally) {
  std::printf("byte sweep: %-12s %5d runs, %4d succeeded, %4d failed, %3d undetected\n", what,
              tally.Runs, tally.Succeeded, tally.Failed, tally.Undetected);
}

/// A read of memory or fuses cannot see a byte that came over the line changed, or twice.
bool MayGoUndetected(const Operation& operation, const std::string& fault) {
  const bool reads = std::string_view(operation.Name).starts_with("read");
  return reads && (fault.starts_with("flip") || fault.starts_with("double"));
}

void Try(const Operation& operation, const std::string& fault, std::uint32_t replies,
         Tally& tally) {
  SCOPED_TRACE(std::string(operation.Name) + " " + fault);
  BoardRun run(kTiny12, WithFaults(fault));
  operation.Prepare(run);
  const Content before = ContentOf(run.Chip());
  const Content image = ContentOf(run.State);
  const double start = run.Clock.Elapsed();
  EXPECT_EQ(ops::RunCommand(run.Context, operation.Entry), CommandEnding::Finished);
  EXPECT_LT(run.Clock.Elapsed() - start, (replies + 8) * (kLongestTimeout + 0.2));
  EXPECT_FALSE(run.Dialog.IsBusy());
  EXPECT_FALSE(run.State.CommandRunning);
  ++tally.Runs;
  ExpectTrue(run.ChipState(), ContentOf(run.Chip()), before, image);
  if (!ops::Succeeded(run.State)) {
    ++tally.Failed;
    EXPECT_TRUE(run.State.LinkError != 0 || run.State.FlashNG || run.State.EepromNG ||
                !run.State.Command.Erased)
        << "a failure has its flag";
  } else {
    ++tally.Succeeded;
    if (!operation.IsRight(run, image)) {
      ++tally.Undetected;
      EXPECT_TRUE(MayGoUndetected(operation, fault)) << "a false success";
    }
  }

  if (run.Port.Board().HungUp()) run.Port.Board().PlugIn();
  if (fault.starts_with("silent")) return;
  run.Clock.Advance(7);
  run.FillBuffers(0xFF, 0xFF);
  run.LoadImage(Code(), Data());
  ops::RunCommand(run.Context, ops::Cmd_btn_program_Click);
  EXPECT_TRUE(ops::Succeeded(run.State)) << "the next command: " << run.PanelText(Panel::Status);
}

/// Of a long run, every reply at both ends and one in so many between them.
std::vector<std::uint32_t> RepliesToTry(std::uint32_t replies) {
  constexpr std::uint32_t kAll = 70;
  constexpr std::uint32_t kEnds = 24;
  constexpr std::uint32_t kStep = 37;
  std::vector<std::uint32_t> numbers;
  for (std::uint32_t reply = 1; reply <= replies; ++reply) {
    const bool end = reply <= kEnds || reply + kEnds > replies;
    if (replies <= kAll || end || reply % kStep == 0) numbers.push_back(reply);
  }
  return numbers;
}

TEST(ByteSweep, EveryReplyOfEveryCommandMayGoWrongInEveryWay) {
  for (const Operation& operation : Operations()) {
    const std::uint32_t replies = RepliesOf(operation);
    Tally tally;
    for (const std::uint32_t reply : RepliesToTry(replies)) {
      for (const Wrong& wrong : WrongReplies()) {
        Try(operation, std::string(wrong.Kind) + "@" + std::to_string(reply) + wrong.Rest, replies,
            tally);
        if (HasFailure()) return;
      }
    }
    Print(operation.Name, tally);
  }
}

TEST(ByteSweep, TheLineMayHangUpAtEveryByteOfEveryCommand) {
  for (const Operation& operation : Operations()) {
    BoardRun whole(kTiny12);
    operation.Prepare(whole);
    ops::RunCommand(whole.Context, operation.Entry);
    const auto sent = static_cast<std::uint32_t>(whole.Wire.size());
    Tally tally;
    for (const std::uint32_t byte : RepliesToTry(sent)) {
      Try(operation, "hangup@" + std::to_string(byte), 8, tally);
      if (HasFailure()) return;
    }
    Print(operation.Name, tally);
  }
}

}  // namespace
}  // namespace fenwright::testing

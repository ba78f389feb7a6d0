// Every combination of every device's fields, composed and decoded, against bytes computed here.

#include "fuse/fuse_model.h"

#include "core/device_catalogue.h"
#include "fuse/fuse_devices.h"

namespace fenwright::fuse {
namespace {

/// A field of a byte in the test's own words: `Count` positions, at bits from `Shift` on.
struct Field {
  FuseList List;
  int Count;
  unsigned Shift;
};

/// A byte of a device: its fixed bits and its fields, position = value unless `Odd` says otherwise.
struct ByteRow {
  std::string Device;
  WriteCommand Command;
  unsigned Fixed;
  std::vector<Field> Fields;
};

const std::vector<ByteRow>& FuseBytes() {
  static const std::vector<ByteRow> rows{
      {"ATtiny12L",
       WriteCommand::FuseTiny,
       0x00,
       {{Cksel, 16, 0}, {Rstdisabl, 2, 4}, {Boden, 2, 6}, {Bodlevel, 2, 7}}},
      {"ATtiny26L",
       WriteCommand::FuseTiny,
       0x00,
       {{Cksel, 16, 0}, {Sut, 4, 4}, {Ckopt, 2, 6}, {Pllck, 2, 7}}},
      {"ATtiny26L",
       WriteCommand::FuseHigh,
       0xE0,
       {{Boden, 2, 0}, {Bodlevel, 2, 1}, {Eesave, 2, 2}, {Rstdisabl, 2, 4}}},
      {"AT90S4433",
       WriteCommand::FuseAt90s,
       0xA0,
       {{Cksel, 8, 0}, {Boden, 2, 3}, {Bodlevel, 2, 4}}},
      {"AT90S2323", WriteCommand::FuseAt90s, 0xBE, {{Fstrt, 2, 0}}},
      {"AT90S2343", WriteCommand::FuseAt90s, 0xBE, {{Rcen, 2, 0}}},
      {"AT90S4434", WriteCommand::FuseAt90s, 0xBE, {{Fstrt, 2, 0}}},
      {"AT90S8535", WriteCommand::FuseAt90s, 0xBE, {{Fstrt, 2, 0}}},
  };
  return rows;
}

const WriteStep& StepOf(const std::string& device, WriteCommand command) {
  for (const WriteStep& step : LayoutOf(device).WriteSteps) {
    if (step.Command == command) return step;
  }
  throw std::runtime_error(device + " does not write that byte");
}

const ReadStep& ReadOf(const std::string& device, ReadCommand command) {
  for (const ReadStep& step : LayoutOf(device).ReadSteps) {
    if (step.Command == command) return step;
  }
  throw std::runtime_error(device + " does not read that byte");
}

std::uint8_t Compose(const std::string& device, WriteCommand command, const Positions& positions,
                     std::uint8_t held = 0x5A) {
  return ComposeByte(
      StepOf(device, command),
      [&](FuseList list) {
        const auto found = positions.find(list);
        return found == positions.end() ? -1 : found->second;
      },
      held);
}

/// Positions of the lists that a byte shows.
Positions Decode(const std::string& device, ReadCommand command, std::uint8_t byte) {
  Positions positions;
  for (const DecodedField& field : ReadOf(device, command).Fields) {
    positions[field.List] = DecodeIndex(field, byte);
  }
  return positions;
}

/// Runs over every combination of positions and the byte that they stand for.
void ForEachCombination(const ByteRow& row,
                        const std::function<void(const Positions&, std::uint8_t)>& visit) {
  std::vector<int> counter(row.Fields.size(), 0);
  while (true) {
    Positions positions;
    unsigned byte = row.Fixed;
    for (std::size_t i = 0; i < counter.size(); ++i) {
      positions[row.Fields[i].List] = counter[i];
      byte |= static_cast<unsigned>(counter[i]) << row.Fields[i].Shift;
    }
    visit(positions, static_cast<std::uint8_t>(byte));
    std::size_t digit = 0;
    while (digit < counter.size() && ++counter[digit] == row.Fields[digit].Count) {
      counter[digit++] = 0;
    }
    if (digit == counter.size()) return;
  }
}

TEST(FuseModel, EveryCombinationComposesItsByte) {
  int combinations = 0;
  for (const ByteRow& row : FuseBytes()) {
    SCOPED_TRACE(row.Device);
    ForEachCombination(row, [&](const Positions& positions, std::uint8_t byte) {
      ++combinations;
      ASSERT_EQ(Compose(row.Device, row.Command, positions), byte);
    });
  }
  EXPECT_EQ(combinations, 128 + 256 + 16 + 32 + 4 * 2);
  // An ATtiny15L has a test of its own.
  for (const std::string& device : AllDevices()) {
    const bool has_row = std::ranges::count(FuseBytes(), device, &ByteRow::Device) > 0;
    EXPECT_EQ(has_row || device == "ATtiny15L", LayoutOf(device).WriteSteps.size() > 1) << device;
  }
}

TEST(FuseModel, EveryByteOfAChipDecodesToItsFieldsWhateverItsOtherBits) {
  const std::map<WriteCommand, ReadCommand> reads{{WriteCommand::FuseTiny, ReadCommand::Fuse},
                                                  {WriteCommand::FuseHigh, ReadCommand::FuseHigh},
                                                  {WriteCommand::FuseAt90s, ReadCommand::Fuse}};
  for (const ByteRow& row : FuseBytes()) {
    SCOPED_TRACE(row.Device);
    const bool single = row.Fixed == 0xBE;
    const ReadCommand read = single ? ReadCommand::LockFuse : reads.at(row.Command);
    for (unsigned byte = 0; byte <= 0xFF; ++byte) {
      Positions expected;
      for (const Field& field : row.Fields) {
        expected[field.List] = static_cast<int>(byte >> field.Shift) % field.Count;
      }
      Positions shown = Decode(row.Device, read, static_cast<std::uint8_t>(byte));
      if (single) shown.erase(Lock);
      ASSERT_EQ(shown, expected) << byte;
    }
  }
}

TEST(FuseModel, WhatIsComposedDecodesToTheSamePositions) {
  for (const ByteRow& row : FuseBytes()) {
    const bool high = row.Command == WriteCommand::FuseHigh;
    if (row.Fixed == 0xBE) continue;  // read in a byte of another layout
    ForEachCombination(row, [&](const Positions& positions, std::uint8_t byte) {
      ASSERT_EQ(Decode(row.Device, high ? ReadCommand::FuseHigh : ReadCommand::Fuse, byte),
                positions);
    });
  }
}

TEST(FuseModel, ATiny15WritesItsClockFieldInTwoWaysOnlyAndShowsFour) {
  const std::array<unsigned, 4> low_nibbles{0x6, 0x7, 0x6, 0x7};
  for (int cksel = 0; cksel < 4; ++cksel) {
    for (int reset = 0; reset < 2; ++reset) {
      for (int boden = 0; boden < 2; ++boden) {
        for (int level = 0; level < 2; ++level) {
          const auto expected = static_cast<std::uint8_t>(
              low_nibbles.at(static_cast<std::size_t>(cksel)) + (reset ? 0x10U : 0U) +
              (boden ? 0x40U : 0U) + (level ? 0x80U : 0U));
          EXPECT_EQ(
              Compose("ATtiny15L", WriteCommand::FuseTiny,
                      {{Cksel, cksel}, {Rstdisabl, reset}, {Boden, boden}, {Bodlevel, level}}),
              expected);
        }
      }
    }
  }
  for (unsigned byte = 0; byte <= 0xFF; ++byte) {
    const int bits = static_cast<int>(byte);
    EXPECT_EQ(Decode("ATtiny15L", ReadCommand::Fuse, static_cast<std::uint8_t>(byte)),
              (Positions{{Cksel, bits % 4},
                         {Rstdisabl, bits / 16 % 2},
                         {Boden, bits / 64 % 2},
                         {Bodlevel, bits / 128}}));
  }
}

TEST(FuseModel, LockModesComposeTheirBytesOnEveryDevice) {
  for (const std::string& device : AllDevices()) {
    SCOPED_TRACE(device);
    const bool tiny26 = device == "ATtiny26L";
    const WriteCommand command = tiny26 ? WriteCommand::LockTiny26 : WriteCommand::Lock;
    const auto lock = [&](int index) { return Compose(device, command, {{Lock, index}}); };
    EXPECT_EQ(lock(0), tiny26 ? 0xFC : 0xF9);
    EXPECT_EQ(lock(1), tiny26 ? 0xFE : 0xFD);
    EXPECT_EQ(lock(2), 0xFF);
    EXPECT_EQ(lock(-1), 0x5A);
    EXPECT_EQ(lock(3), 0x5A);
  }
}

TEST(FuseModel, LockBitsDecodeByEachDevicesPlaceAndOneValueLeavesTheListAlone) {
  constexpr int kKept = kLeaveAsItIs;
  const auto lock = [](const std::string& device, ReadCommand command, unsigned byte) {
    return Decode(device, command, static_cast<std::uint8_t>(byte)).at(Lock);
  };
  const std::array<int, 4> usual{0, kKept, 1, 2};
  const std::array<int, 4> combined{0, 1, kKept, 2};
  const std::set<std::string> combined_devices{"AT90S2323", "AT90S2343", "AT90S4434", "AT90S8535"};
  const std::set<std::string> usual_devices{"ATtiny12L", "ATtiny15L", "AT90S4433"};
  for (const std::string& device : AllDevices()) {
    if (LayoutOf(device).ReadSteps.empty()) continue;
    for (unsigned byte = 0; byte <= 0xFF; ++byte) {
      if (combined_devices.contains(device)) {
        EXPECT_EQ(lock(device, ReadCommand::LockFuse, byte), combined.at(byte / 64)) << byte;
      } else {
        ASSERT_TRUE(usual_devices.contains(device) || device == "ATtiny26L") << device;
        const unsigned bits = device == "ATtiny26L" ? byte % 4 : byte / 2 % 4;
        EXPECT_EQ(lock(device, ReadCommand::Lock, byte), usual.at(bits)) << byte;
      }
    }
  }
}

TEST(FuseModel, EachDeviceReadsAndWritesItsBytesInItsOrder) {
  using R = ReadCommand;
  using W = WriteCommand;
  struct Row {
    std::vector<R> Reads;
    std::vector<W> Writes;
  };
  const Row tiny{{R::Fuse, R::Lock, R::Calibration}, {W::FuseTiny, W::Lock}};
  const Row tiny26{{R::Fuse, R::FuseHigh, R::Lock, R::Calibration},
                   {W::FuseTiny, W::FuseHigh, W::LockTiny26}};
  const Row combined{{R::LockFuse}, {W::FuseAt90s, W::Lock}};
  const Row at90s4433{{R::Fuse, R::Lock}, {W::FuseAt90s, W::Lock}};
  const Row lock_only{{}, {W::Lock}};
  const std::map<std::string, Row> rows{{"ATtiny12L", tiny},
                                        {"ATtiny15L", tiny},
                                        {"ATtiny26L", tiny26},
                                        {"AT90S2323", combined},
                                        {"AT90S2343", combined},
                                        {"AT90S1200 (外部ｸﾛｯｸ)", lock_only},
                                        {"AT90S1200A(内部RCｸﾛｯｸ1MHz)", lock_only},
                                        {"AT90S2313", lock_only},
                                        {"AT90S4433", at90s4433},
                                        {"AT90S4414", lock_only},
                                        {"AT90S4434", combined},
                                        {"AT90S8515", lock_only},
                                        {"AT90S8535", combined}};
  for (const std::string& device : AllDevices()) {
    SCOPED_TRACE(device);
    Row found;
    for (const ReadStep& step : LayoutOf(device).ReadSteps) found.Reads.push_back(step.Command);
    for (const WriteStep& step : LayoutOf(device).WriteSteps) found.Writes.push_back(step.Command);
    EXPECT_EQ(found.Reads, rows.at(device).Reads);
    EXPECT_EQ(found.Writes, rows.at(device).Writes);
  }
}

TEST(FuseModel, EachByteThatIsReadHasItsName) {
  const Texts tiny{"Fuse", "Lock", "Calibration"};
  const std::map<std::string, Texts> rows{{"ATtiny12L", tiny},
                                          {"ATtiny15L", tiny},
                                          {"ATtiny26L", {"Fuse", "High", "Lock", "Calibration"}},
                                          {"AT90S2323", {"Lock/Fuse"}},
                                          {"AT90S2343", {"Lock/Fuse"}},
                                          {"AT90S4433", {"Fuse", "Lock"}},
                                          {"AT90S4434", {"Lock/Fuse"}},
                                          {"AT90S8535", {"Lock/Fuse"}}};
  for (const auto& [device, names] : rows) {
    Texts found;
    for (const ReadStep& step : LayoutOf(device).ReadSteps) found.emplace_back(step.Caption);
    EXPECT_EQ(found, names) << device;
  }
}

TEST(FuseModel, TheFrameHasItsListsInThisOrder) {
  Texts names;
  for (const FuseList list : kFrameOrder) names.emplace_back(FieldName(list));
  EXPECT_EQ(names, (Texts{"CKSEL", "SUT", "BODEN", "BODLEVEL", "CKOPT", "PLLCK", "EESAVE",
                          "RSTDISABL", "FSTRT", "RCEN", "LOCK"}));
}

TEST(FuseModel, APositionOutsideTheCasesKeepsWhatTheWorkingByteHeld) {
  const Positions unset{};
  EXPECT_EQ(Compose("ATtiny12L", WriteCommand::FuseTiny, unset, 0xD2), 0xD2);
  EXPECT_EQ(Compose("ATtiny12L", WriteCommand::FuseTiny, {{Cksel, 16}}, 0xD2), 0xD2);
  EXPECT_EQ(Compose("ATtiny15L", WriteCommand::FuseTiny, {{Cksel, 4}}, 0x31), 0x31);
  EXPECT_EQ(Compose("AT90S4433", WriteCommand::FuseAt90s, {{Cksel, 8}}, 0x77), 0x77);
  EXPECT_EQ(Compose("AT90S2323", WriteCommand::FuseAt90s, {{Fstrt, 2}}, 0x12), 0x12);
  EXPECT_EQ(Compose("AT90S2343", WriteCommand::FuseAt90s, unset, 0x34), 0x34);
}

TEST(FuseModel, AListThatIsUnsetAddsNothingToTheByte) {
  EXPECT_EQ(
      Compose("ATtiny12L", WriteCommand::FuseTiny, {{Cksel, 2}, {Rstdisabl, 1}, {Bodlevel, 2}}),
      0x12);
  EXPECT_EQ(Compose("ATtiny26L", WriteCommand::FuseTiny, {{Cksel, 1}, {Sut, 4}, {Pllck, 1}}), 0x81);
}

TEST(FuseModel, TheHighByteOfATiny26StartsFromTheLowByteWhenItsBaseListIsUnset) {
  EXPECT_EQ(Compose("ATtiny26L", WriteCommand::FuseHigh, {{Boden, -1}}, 0xE1), 0xE1);
  EXPECT_EQ(
      Compose("ATtiny26L", WriteCommand::FuseHigh, {{Boden, 2}, {Eesave, 1}, {Rstdisabl, 1}}, 0x21),
      0x35);
}

TEST(FuseModel, TheBitsThatEnableSerialProgrammingAreAlwaysSentAs0) {
  for (const ByteRow& row : FuseBytes()) {
    if (!row.Device.starts_with("ATtiny")) continue;
    const bool low26 = row.Device == "ATtiny26L" && row.Command == WriteCommand::FuseTiny;
    if (low26) continue;  // the bit is in the high byte
    const unsigned bit = row.Command == WriteCommand::FuseHigh ? 3 : 5;
    ForEachCombination(row, [&](const Positions& positions, std::uint8_t) {
      ASSERT_EQ(Compose(row.Device, row.Command, positions) >> bit & 1, 0);
    });
  }
  for (int cksel = 0; cksel < 4; ++cksel) {
    EXPECT_EQ(Compose("ATtiny15L", WriteCommand::FuseTiny,
                      {{Cksel, cksel}, {Rstdisabl, 1}, {Boden, 1}, {Bodlevel, 1}}) &
                  0x20,
              0);
  }
}

TEST(FuseModel, EveryDeviceOfTheCatalogueHasALayout) {
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    EXPECT_EQ(LayoutOf(device.DisplayName).DisplayName, device.DisplayName);
  }
}

TEST(FuseModel, EveryFieldOfALayoutIsWrittenAndReadAndHasItems) {
  for (const core::DeviceEntry& device : core::DeviceCatalogue()) {
    const FuseLayout& layout = LayoutOf(device.DisplayName);
    SCOPED_TRACE(layout.DisplayName);
    const std::set<FuseList> fields(layout.Fields.begin(), layout.Fields.end());
    std::set<FuseList> written;
    for (const WriteStep& step : layout.WriteSteps) {
      written.insert(step.BaseList);
      for (const AddedField& field : step.Added) written.insert(field.List);
    }
    EXPECT_EQ(written.erase(Lock), 1U);
    EXPECT_EQ(written, fields);
    std::set<FuseList> read;
    for (const ReadStep& step : layout.ReadSteps) {
      for (const DecodedField& field : step.Fields) read.insert(field.List);
    }
    EXPECT_EQ(read.erase(Lock), layout.ReadEnabled ? 1U : 0U);
    if (layout.ReadEnabled) {
      EXPECT_EQ(read, fields);
    }
    for (const FuseList list : fields) EXPECT_NE(OptionsOf(list, layout.DisplayName), nullptr);
  }
}

TEST(FuseModel, EveryFieldHasANameOfItsOwn) {
  std::set<std::string_view> names;
  for (const FuseList list : kAllLists) names.insert(FieldName(list));
  EXPECT_EQ(names,
            (std::set<std::string_view>{"FSTRT", "RCEN", "RSTDISABL", "BODEN", "BODLEVEL", "CKSEL",
                                        "LOCK", "EESAVE", "PLLCK", "CKOPT", "SUT"}));
}

}  // namespace
}  // namespace fenwright::fuse

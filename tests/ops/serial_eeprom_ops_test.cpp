// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/serial_eeprom_ops.h"

#include <gtest/gtest.h>

#include "ops/blank_erase.h"
#include "ops/compare.h"
#include "ops/read.h"
#include "ops/write.h"
#include "support/golden.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

int Pattern(size_t a) { return static_cast<int>((a * 7 + (a >> 8) * 3 + 1) & 0xFF); }

std::vector<int> Patterned(size_t bytes) {
  std::vector<int> all(bytes);
  for (size_t a = 0; a < bytes; ++a) all[a] = Pattern(a);
  return all;
}

// The image takes the pattern over the device's bytes.
test::SimApp& WithPattern(test::SimApp& sim) {
  const std::vector<int> bytes = Patterned(static_cast<size_t>(sim.state().device.programSize) + 1);
  std::copy(bytes.begin(), bytes.end(), sim.state().image.programBuffer.begin());
  return sim;
}

OpResult RunOp(test::SimApp& sim, OpResult (*operation)(OperationFrame&)) {
  OperationFrame frame(sim.state(), sim.ui);
  return operation(frame);
}

class SerialEepromOperations : public ::testing::TestWithParam<const char*> {};

// Every byte written, compared, read back and erased, across the 256-byte and
// 32 KB boundaries where the reads start afresh, on a port that costs nothing:
// the bus's own holds keep each memory's speed class.
TEST_P(SerialEepromOperations, WriteCompareReadEraseAndBlankEveryByte) {
  test::SimApp sim(test::BlankChip(GetParam()), GetParam(), false, 0);
  const auto n = static_cast<size_t>(WithPattern(sim).state().device.programSize) + 1;
  ASSERT_TRUE(RunOp(sim, SerialEepromWrite).ok()) << (sim.ui.messages.empty() ? "" : sim.ui.messages[0].text);
  ASSERT_GE(sim.chip().program.size(), n);
  EXPECT_EQ(std::vector<int>(sim.chip().program.begin(), sim.chip().program.begin() + static_cast<long>(n)),
            Patterned(n));
  EXPECT_TRUE(RunOp(sim, SerialEepromCompare).ok());
  std::fill_n(sim.state().image.programBuffer.begin(), n, 0);
  ASSERT_TRUE(RunOp(sim, SerialEepromRead).ok());
  const auto& read = sim.state().image.programBuffer;
  EXPECT_EQ(std::vector<int>(read.begin(), read.begin() + static_cast<long>(n)), Patterned(n));
  ASSERT_TRUE(RunOp(sim, SerialEepromErase).ok());
  EXPECT_TRUE(RunOp(sim, SerialEepromBlank).ok());
  EXPECT_TRUE(sim.ui.messages.empty());
  EXPECT_EQ(sim.ui.statusTexts, (std::vector<std::string>{"Writing EE data...", "Comparing EE data...", "reading...",
                                                           "Erasing EE data...", "Testing EE data..."}));
}

INSTANTIATE_TEST_SUITE_P(Sim, SerialEepromOperations,
                         ::testing::Values("24C01", "24C02", "24C04", "24C08", "24C16", "24C32", "24C64",
                                           "24C128", "AT24C256", "ST24256", "24LC512", "24LC515"));

// Blank check and compare go on after address 0 and stop at the next
// difference; a byte not acknowledged and a poll that times out read
// differently, and so does an empty socket, which acknowledges nothing.
TEST(SerialEeprom, EachFailureSaysWhereInItsOwnWords) {
  struct Case {
    const char* name;
    void (*fault)(sim::ChipState&);
    OpResult (*operation)(OperationFrame&);
    int64_t atLeastNs = 0;
    const char* chip = "24C02";
  };
  const auto differ = [](sim::ChipState& c) {
    c.program = Patterned(c.program.size());
    c.program[0] ^= 1;
    c.program[0x1A] ^= 0x80;
    c.program[0x30] ^= 0x80;
  };
  const auto nack = [](sim::ChipState& c) { c.faults.nackBytes = {0x13}; };
  const auto endless = [](sim::ChipState& c) { c.faults.endlessWrite = true; };
  const auto nackAddress = [](sim::ChipState& c) { c.faults.nackAddress = true; };
  // Their messages are in serial_eeprom_transcripts.txt.
  const Case cases[] = {
      {"blank", [](sim::ChipState& c) { c.program[0] = 0x12; c.program[0x1A] = 0; c.program[0x30] = 0; },
       SerialEepromBlank},
      {"compare", differ, SerialEepromCompare},
      {"write, not acknowledged", nack, SerialEepromWrite},
      {"erase, not acknowledged", nack, SerialEepromErase},
      {"compare, empty socket", [](sim::ChipState& c) { c.faults.noChip = true; }, SerialEepromCompare},
      // A word address the chip did not take leaves its pointer anywhere.
      {"read, address not acknowledged", nackAddress, SerialEepromRead},
      {"write, address not acknowledged", nackAddress, SerialEepromWrite},
      {"compare, address not acknowledged", nackAddress, SerialEepromCompare},
      {"read, two-byte address not acknowledged", nackAddress, SerialEepromRead, 0, "24C32"},
      // The poll gives up after 501 ms.
      {"write, never done", endless, SerialEepromWrite, 501'000'000},
      {"erase, never done", endless, SerialEepromErase, 501'000'000},
  };
  const auto golden = test::DataSections("serial_eeprom_transcripts.txt");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    sim::ChipState chip = test::BlankChip(c.chip);
    c.fault(chip);
    test::SimApp sim(chip, c.chip);
    const int64_t start = sim.clock().Nanoseconds();
    test::ExpectSection(golden, c.name, sim.Transcript(RunOp(WithPattern(sim), c.operation).outcome));
    EXPECT_GE(sim.clock().Nanoseconds() - start, c.atLeastNs);
  }
}

TEST(SerialEeprom, TheDeviceCommandsHandOverForFamily5) {
  test::SimApp sim("24C02");
  AppState& state = WithPattern(sim).state();
  ASSERT_TRUE(cmdWrite(state, sim.ui).ok());
  EXPECT_EQ(sim.chip().program, Patterned(256));
  EXPECT_TRUE(cmdCompare(state, sim.ui).ok());
  sim.chip().program[9] ^= 0x40;
  EXPECT_FALSE(cmdCompare(state, sim.ui).ok());
  ASSERT_TRUE(cmdRead(state, sim.ui, read_mode::kFull).ok());
  EXPECT_EQ(state.image.programBuffer[9], Pattern(9) ^ 0x40);
  EXPECT_FALSE(cmdBlank(state, sim.ui).ok());
  EXPECT_TRUE(cmdFill(state, sim.ui, false).ok());
  EXPECT_EQ(sim.chip().program[9], 0xFF);
  EXPECT_TRUE(cmdBlank(state, sim.ui).ok());
}

}  // namespace
}  // namespace quorvi

// SPDX-License-Identifier: GPL-3.0-or-later
#include "sim/eeprom24_chip.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "protocol/eeprom_bus.h"
#include "sim/chip_state.h"
#include "support/sim_link.h"

namespace quorvi {
namespace {

using test::SimLink;

sim::ChipState Blank(const std::string& name) { return sim::BlankState(*sim::FindChip(name).value()); }

// The serial EEPROM operations' power-up: both lines high, Vdd on, settle.
void PowerUp(SimLink& s) {
  s.link.SetDataLine(kTrue);
  s.link.SetClockLine(kTrue);
  s.link.SetVdd("on");
  s.Wait(250);
}

EepromTarget TargetOf(const sim::ChipInfo& info) {
  return {.name = std::string(info.name), .size = info.programWords - 1};
}

uint8_t Pattern(int address) { return static_cast<uint8_t>((address * 7 + (address >> 8) * 13 + 1) & 0xFF); }

// Reads a whole memory as the read operation does: one burst, a fresh random
// read at 256 and 32768, no acknowledge after 255 and 32767.
std::vector<int> ReadAll(EepromBus& bus, int last, int& ack) {
  std::vector<int> out;
  ack = bus.EepromReadByte(0);
  for (int a = 0; a <= last; ++a) {
    if (a == 256 || a == 32768) {
      bus.BusStop();
      ack |= bus.EepromReadByte(a);
    }
    out.push_back(bus.BusReadByte());
    if (a == last || a == 255 || a == 32767) {
      bus.NotAcknowledgeByte();
    } else {
      bus.AcknowledgeByte();
    }
  }
  bus.BusStop();
  return out;
}

class EveryEeprom : public ::testing::TestWithParam<sim::ChipInfo> {};

TEST_P(EveryEeprom, PagesAcrossBlockBoundariesRoundTrip) {
  const sim::ChipInfo& info = GetParam();
  SimLink s(Blank(std::string(info.name)));
  PowerUp(s);
  EepromBus bus(s.link, TargetOf(info));
  const int size = info.programWords;
  // The host reaches 32768 and up only through the 24LC515's block bit.
  const int reachable = (info.name == "24LC512") ? 32768 : size;
  std::vector<int> expected(static_cast<size_t>(size), 0xFF);
  std::vector<int> starts{0, 248, 256, 0x7C0, 0x800, 0x7FC0, 0x8000, size - info.pageBytes};
  for (const int start : starts) {
    if (start < 0 || start + info.pageBytes > reachable) continue;
    const int base = start - start % info.pageBytes;
    std::vector<uint8_t> page;
    for (int i = 0; i < info.pageBytes; ++i) page.push_back(Pattern(base + i));
    ASSERT_EQ(bus.WritePage(base, page), 0) << base;
    ASSERT_EQ(bus.WaitForAcknowledge(base), 0) << base;
    for (int i = 0; i < info.pageBytes; ++i) expected[static_cast<size_t>(base + i)] = page[static_cast<size_t>(i)];
  }
  EXPECT_EQ(s.state().program, expected);
  int ack = 1;
  const std::vector<int> read = ReadAll(bus, reachable - 1, ack);
  EXPECT_EQ(ack, 0);
  EXPECT_EQ(read, std::vector<int>(expected.begin(), expected.begin() + reachable));
}

TEST_P(EveryEeprom, SingleBytesAtTheBlockEdgesRoundTrip) {
  const sim::ChipInfo& info = GetParam();
  SimLink s(Blank(std::string(info.name)));
  PowerUp(s);
  EepromBus bus(s.link, TargetOf(info));
  const int reachable = (info.name == "24LC512") ? 32768 : info.programWords;
  for (const int a : {0, 127, 255, 256, 511, 512, 1023, 2047, 2048, 32767, 32768, 65535}) {
    if (a >= reachable) continue;
    ASSERT_EQ(bus.EepromWriteByte(a, Pattern(a) ^ 0x5A), 0) << a;
    ASSERT_EQ(bus.WaitForAcknowledge(a), 0) << a;
    ASSERT_EQ(bus.EepromReadByte(a), 0) << a;
    EXPECT_EQ(bus.BusReadByte(), Pattern(a) ^ 0x5A) << a;
    bus.NotAcknowledgeByte();
    bus.BusStop();
    EXPECT_EQ(s.state().program[static_cast<size_t>(a)], Pattern(a) ^ 0x5A) << a;
  }
}

INSTANTIATE_TEST_SUITE_P(Chips, EveryEeprom, ::testing::ValuesIn(sim::SerialEepromTable()),
                         [](const ::testing::TestParamInfo<sim::ChipInfo>& p) { return std::string(p.param.name); });

TEST(Eeprom24, TheUpperHalfOfA24LC512AliasesItsLowerHalf) {
  // The 32768 rule is applied to every name: only the 24LC515 has a block
  // bit there, a 24LC512 takes the reduced address.
  SimLink s(Blank("24LC512"));
  PowerUp(s);
  EepromBus bus(s.link, {.name = "24LC512", .size = 0xFFFF});
  ASSERT_EQ(bus.EepromWriteByte(0x8005, 0x42), 0);
  ASSERT_EQ(bus.WaitForAcknowledge(0x8005), 0);
  EXPECT_EQ(s.state().program[5], 0x42);
  EXPECT_EQ(s.state().program[0x8005], 0xFF);
}

TEST(Eeprom24, PageBufferWrapsInsideThePage) {
  SimLink s(Blank("24C02"));
  PowerUp(s);
  EepromBus bus(s.link, {.name = "24C02", .size = 0xFF});
  const std::vector<uint8_t> ten{0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
  ASSERT_EQ(bus.WritePage(0x16, ten), 0);
  ASSERT_EQ(bus.WaitForAcknowledge(0), 0);
  // Page 10h..17h: 16h, 17h take 0, 1; then 10h.. take 2..7; 8, 9 overwrite 16h, 17h.
  const std::vector<int> page(s.state().program.begin() + 0x10, s.state().program.begin() + 0x18);
  EXPECT_EQ(page, (std::vector<int>{2, 3, 4, 5, 6, 7, 8, 9}));
  EXPECT_EQ(s.state().program[0x18], 0xFF);
  EXPECT_EQ(s.state().program[0x0F], 0xFF);
}

TEST(Eeprom24, NoAcknowledgeDuringTheWriteCycle) {
  SimLink s(Blank("24C64"));
  PowerUp(s);
  EepromBus bus(s.link, {.name = "24C64", .size = 0x1FFF});
  ASSERT_EQ(bus.EepromWriteByte(0x100, 0x12), 0);
  bus.BusStart();
  EXPECT_EQ(bus.BusWriteByte(0xA8), 1);
  s.Wait(1);
  bus.BusStart();
  EXPECT_EQ(bus.BusWriteByte(0xA8), 1);
  s.Wait(5);
  bus.BusStart();
  EXPECT_EQ(bus.BusWriteByte(0xA8), 0);
  bus.BusStop();
}

TEST(Eeprom24, AWriteCycleCutShortByThePowerStoresNothing) {
  SimLink s(Blank("24C02"));
  PowerUp(s);
  EepromBus bus(s.link, {.name = "24C02", .size = 0xFF});
  ASSERT_EQ(bus.EepromWriteByte(0x40, 0x12), 0);
  s.link.SetVdd("off");
  s.Wait(10);
  PowerUp(s);
  EXPECT_EQ(s.state().program[0x40], 0xFF);
  ASSERT_EQ(bus.EepromWriteByte(0x40, 0x12), 0);
  EXPECT_EQ(bus.WaitForAcknowledge(0x40), 0);
  EXPECT_EQ(s.state().program[0x40], 0x12);
}

TEST(Eeprom24, PollEndsSoonAfterTheCycleNotAtTheTimeout) {
  SimLink s(Blank("24C16"));
  PowerUp(s);
  EepromBus bus(s.link, {.name = "24C16", .size = 0x7FF});
  ASSERT_EQ(bus.EepromWriteByte(0x7FF, 0x12), 0);
  const int64_t t0 = s.clock.Nanoseconds();
  EXPECT_EQ(bus.WaitForAcknowledge(0x7FF), 0);
  const int64_t took = s.clock.Nanoseconds() - t0;
  EXPECT_GE(took, 2'000'000);  // half of TWC 5 ms with the default margin
  EXPECT_LT(took, 10'000'000);
}

TEST(Eeprom24, StopInsideAByteStartsNoWrite) {
  SimLink s(Blank("24C02"));
  PowerUp(s);
  EepromBus bus(s.link, {.name = "24C02", .size = 0xFF});
  bus.BusStart();
  ASSERT_EQ(bus.BusWriteByte(0xA8), 0);
  ASSERT_EQ(bus.BusWriteByte(0x20), 0);
  ASSERT_EQ(bus.BusWriteByte(0x00), 0);  // one whole byte
  bus.BusWriteBit(0);
  bus.BusWriteBit(1);
  bus.BusWriteBit(0);
  bus.BusStop();
  EXPECT_EQ(s.state().program[0x20], 0xFF);
  bus.BusStart();
  EXPECT_EQ(bus.BusWriteByte(0xA8), 0) << "no write cycle was started";
}

TEST(Eeprom24, SocketWiringSelectsTheControlByte) {
  struct Case {
    const char* chip;
    int control;
    int ack;
  };
  for (const Case& c : {Case{"24C02", 0xA8, 0}, Case{"24C02", 0xA0, 1}, Case{"24C02", 0xAA, 1},
                        Case{"24C04", 0xAA, 0}, Case{"24C04", 0xAC, 1}, Case{"24C16", 0xA0, 0},
                        Case{"24C16", 0xAE, 0}, Case{"AT24C256", 0xA0, 0}, Case{"AT24C256", 0xA8, 1},
                        Case{"ST24256", 0xA8, 1}, Case{"24LC515", 0xA0, 0}, Case{"24LC515", 0xA8, 0},
                        Case{"24LC515", 0xA2, 1}, Case{"24LC512", 0xA8, 0}, Case{"24LC512", 0xA0, 1}}) {
    SimLink s(Blank(c.chip));
    PowerUp(s);
    EepromBus bus(s.link, {.name = c.chip, .size = 0xFF});
    bus.BusStart();
    EXPECT_EQ(bus.BusWriteByte(c.control), c.ack) << c.chip << " " << c.control;
    bus.BusStop();
  }
}

TEST(Eeprom24, SequentialReadsRollOver) {
  sim::ChipState small = Blank("24C01");
  small.program[127] = 0x11;
  small.program[0] = 0x22;
  SimLink s(small);
  PowerUp(s);
  EepromBus bus(s.link, {.name = "24C01", .size = 0x7F});
  int ack = 1;
  EXPECT_EQ(bus.ReadSequential(127, 2, ack), (std::vector<int>{0x11, 0x22}));
  EXPECT_EQ(ack, 0);

  // The 24LC515 rolls over inside its 32 KB block.
  sim::ChipState big = Blank("24LC515");
  big.program[0x7FFF] = 0x33;
  big.program[0x0000] = 0x44;
  big.program[0xFFFF] = 0x55;
  big.program[0x8000] = 0x66;
  SimLink b(big);
  PowerUp(b);
  EepromBus bus2(b.link, {.name = "24LC515", .size = 0xFFFF});
  EXPECT_EQ(bus2.ReadSequential(0x7FFF, 2, ack), (std::vector<int>{0x33, 0x44}));
  EXPECT_EQ(bus2.ReadSequential(0xFFFF, 2, ack), (std::vector<int>{0x55, 0x66}));
}

TEST(Eeprom24, CurrentAddressReadFollowsTheLastWrite) {
  SimLink s(Blank("24C32"));
  PowerUp(s);
  EepromBus bus(s.link, {.name = "24C32", .size = 0xFFF});
  const std::vector<uint8_t> two{0x10, 0x20};
  ASSERT_EQ(bus.WritePage(0x400, two), 0);
  ASSERT_EQ(bus.WaitForAcknowledge(0), 0);
  s.state().program[0x402] = 0x77;
  bus.BusStart();
  ASSERT_EQ(bus.BusWriteByte(0xA9), 0);
  EXPECT_EQ(bus.BusReadByte(), 0x77);
  bus.NotAcknowledgeByte();
  bus.BusStop();
}

TEST(Eeprom24Faults, NoChipNeverAcknowledgesAndThePollTimesOut) {
  sim::ChipState state = Blank("24C04");
  state.faults.noChip = true;
  SimLink s(state);
  PowerUp(s);
  EepromBus bus(s.link, {.name = "24C04", .size = 0x1FF});
  EXPECT_EQ(bus.EepromWriteByte(0x0123, 0x5A), 1);
  const int64_t t0 = s.clock.Nanoseconds();
  EXPECT_EQ(bus.WaitForAcknowledge(0x0123), 1);
  EXPECT_GE(s.clock.Nanoseconds() - t0, 500'000'000);
  EXPECT_LT(s.clock.Nanoseconds() - t0, 502'000'000);
}

TEST(Eeprom24Faults, AByteNotAcknowledgedLosesItsPage) {
  sim::ChipState state = Blank("24C08");
  state.faults.nackBytes = {0x203};
  SimLink s(state);
  PowerUp(s);
  EepromBus bus(s.link, {.name = "24C08", .size = 0x3FF});
  const std::vector<uint8_t> page(16, 0x00);
  EXPECT_EQ(bus.WritePage(0x200, page), 1);
  EXPECT_EQ(bus.WaitForAcknowledge(0x200), 0) << "no write cycle ran";
  EXPECT_EQ(s.state().program[0x200], 0xFF);
  EXPECT_EQ(bus.WritePage(0x210, page), 0);
  EXPECT_EQ(bus.WaitForAcknowledge(0x210), 0);
  EXPECT_EQ(s.state().program[0x210], 0x00);
}

TEST(Eeprom24Faults, AWriteCycleThatNeverEnds) {
  sim::ChipState state = Blank("24C128");
  state.faults.endlessWrite = true;
  SimLink s(state);
  PowerUp(s);
  EepromBus bus(s.link, {.name = "24C128", .size = 0x3FFF});
  EXPECT_EQ(bus.EepromWriteByte(0x10, 0x01), 0);
  EXPECT_EQ(bus.WaitForAcknowledge(0x10), 1);
  EXPECT_EQ(s.state().program[0x10], 0xFF);
}

TEST(Eeprom24Faults, ChipStateFilesCarryTheBusFaults) {
  sim::ChipState state = Blank("24LC515");
  state.faults.nackBytes = {3, 40000};
  state.faults.endlessWrite = true;
  state.program[0x9000] = 0xAB;
  Result<sim::ChipState> back = sim::ChipStateFromJson(sim::ChipStateToJson(state));
  ASSERT_TRUE(back.ok()) << back.message();
  EXPECT_EQ(back.value(), state);
  std::string text = sim::ChipStateToJson(state);
  text.replace(text.find("\"endlessWrite\": true"), 20, "\"endlessWrite\": 1");
  EXPECT_FALSE(sim::ChipStateFromJson(text).ok());
  EXPECT_FALSE(sim::ChipStateFromJson(R"({"format": "quorvi-chip-state", "version": 1, "chip": "24C02",
                                          "program": [256]})")
                   .ok());
}

}  // namespace
}  // namespace quorvi

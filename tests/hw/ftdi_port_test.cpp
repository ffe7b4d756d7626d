// SPDX-License-Identifier: GPL-3.0-or-later
// The FTDI port against the simulated board through a fake of the chip:
// idle before anything is driven, and a round trip per word or less.
#include "hw/ftdi_port.h"

#include <gtest/gtest.h>

#include "ops/compare.h"
#include "ops/read.h"
#include "ops/write.h"
#include "support/fake_ftdi.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

using test::FakeFtdiBus;
using test::SimApp;

PinMap Preset(std::string_view name) { return PresetPinMap(name).value(); }

TEST(FtdiPort, OpensWithTheSuppliesOffAndOnlyTheOutputsDriven) {
  FakeFtdiBus* bus = nullptr;
  SimApp sim(test::BlankChip("16F84A"), "16F84A", false, VirtualClock::kDefaultPortAccessNs,
             test::FtdiWiring(Preset("ft232r"), FtdiChip::kFt232r, &bus));
  ASSERT_NE(bus, nullptr);
  EXPECT_EQ(bus->startLevels, Preset("ft232r").PinLevels(line::kIdle));
  EXPECT_EQ(bus->outputs, 0x7F);  // RI, the eighth pin, reads DataIn
}

// The port counts its waits in bytes; bytes shorter than it counts would cut
// them below the documents' minimums, and the chip would refuse.
TEST(FtdiPort, BytesShorterThanItCountsBreakTheChipsTiming) {
  FakeFtdiBus* bus = nullptr;
  SimApp sim(test::BlankChip("16F84A"), "16F84A", false, VirtualClock::kDefaultPortAccessNs,
             test::FtdiWiring(Preset("ft232r"), FtdiChip::kFt232r, &bus));
  sim.rulesMayBreak = true;
  bus->byteNs /= 4;
  test::PatternImage(sim.state());
  cmdWrite(sim.state(), sim.ui);
  EXPECT_FALSE(sim.board().Problems().empty());
}

TEST(FtdiPort, ReadsAndVerifiesInOneRoundTripPerWordAtMost) {
  const struct {
    const char* chip;
    bool verify;
  } cases[] = {{"16F877A", false}, {"16F84A", true}, {"18F452", false}};
  for (const auto& c : cases) {
    FakeFtdiBus* bus = nullptr;
    SimApp sim(test::PatternedChip(c.chip), c.chip, false, VirtualClock::kDefaultPortAccessNs,
               test::FtdiWiring(Preset("ft2232h"), FtdiChip::kFt2232h, &bus));
    const DeviceDescriptor& d = sim.state().device;
    const int64_t words = d.programSize + 1 + d.dataBytes;
    test::PatternImage(sim.state());
    const int64_t before = bus->transfers;
    const bool ok =
        c.verify ? cmdCompare(sim.state(), sim.ui).ok() : cmdRead(sim.state(), sim.ui, read_mode::kFull).ok();
    ASSERT_TRUE(ok) << c.chip;
    EXPECT_LE(bus->transfers - before, words) << c.chip;
  }
}

TEST(FtdiPort, TakesTheDeviceFromItsPortName) {
  const struct {
    std::string_view text;
    int vendor, product, index;
    std::string_view serial;
    std::string_view failure;
  } cases[] = {
      {"", 0x0403, 0, 0, "", ""},
      {":A9XK3L1T", 0x0403, 0, 0, "A9XK3L1T", ""},
      {":0403:6014", 0x0403, 0x6014, 0, "", ""},
      {":0403:6010:1", 0x0403, 0x6010, 1, "", ""},
      {":0403:60x1", 0, 0, 0, "", "\"0403:60x1\" is not VID:PID[:INDEX] (hex IDs such as 0403:6001, a decimal index)"},
      {":", 0, 0, 0, "", "give the FTDI device as ftdi, ftdi:SERIAL or ftdi:VID:PID[:INDEX]"},
  };
  for (const auto& c : cases) {
    const Result<FtdiAddress> address = ParseFtdiAddress(c.text);
    if (!c.failure.empty()) {
      EXPECT_EQ(address.message(), c.failure) << c.text;
      continue;
    }
    ASSERT_TRUE(address) << c.text;
    EXPECT_EQ(address.value().vendor, c.vendor);
    EXPECT_EQ(address.value().product, c.product);
    EXPECT_EQ(address.value().index, c.index);
    EXPECT_EQ(address.value().serial, c.serial);
  }
}

}  // namespace
}  // namespace quorvi

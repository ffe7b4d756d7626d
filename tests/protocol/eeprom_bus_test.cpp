// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/eeprom_bus.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#include "support/line_trace.h"
#include "support/recorded_link.h"

namespace quorvi {
namespace {

using test::RecordedLink;

// Clock and data only: the supplies sit idle around them.
std::vector<uint8_t> BusLines(const std::vector<uint8_t>& writes) {
  std::vector<uint8_t> lines;
  for (const uint8_t byte : writes) lines.push_back(byte & (line::kClock | line::kDataOut));
  return lines;
}

// Reads the host's side of the bus from its port writes: "S" for a start
// (data falls with the clock high), "P" for a stop, and each 9-clock group
// as its first eight bits in hex (sampled on the rising clock edge).
std::vector<std::string> DecodeHostBus(const std::vector<uint8_t>& writes) {
  std::vector<std::string> out;
  bool data = true;
  bool clock = false;
  std::vector<int> bits;
  auto flush = [&] {
    if (bits.size() >= 8) {
      int value = 0;
      for (size_t i = 0; i < 8; ++i) value = value * 2 + bits[i];
      char text[3];
      std::snprintf(text, sizeof text, "%02X", value);
      out.emplace_back(text);
    }
    bits.clear();
  };
  for (const uint8_t byte : writes) {
    const bool d = (byte & line::kDataOut) != 0;
    const bool c = (byte & line::kClock) != 0;
    if (clock && c && data && !d) {
      flush();
      out.emplace_back("S");
    } else if (clock && c && !data && d) {
      flush();
      out.emplace_back("P");
    } else if (!clock && c) {
      bits.push_back(d ? 1 : 0);
      if (bits.size() == 9) flush();
    }
    data = d;
    clock = c;
  }
  flush();
  return out;
}

using Bus = std::vector<std::string>;

struct WriteCase {
  const char* name;
  int32_t size;
  int32_t address;
  int data;
  Bus expected;
};

void PrintTo(const WriteCase& c, std::ostream* os) { *os << c.name << " at " << c.address; }

class EepromWriteByteBits : public ::testing::TestWithParam<WriteCase> {};

TEST_P(EepromWriteByteBits, ControlAndAddressBytes) {
  const WriteCase& c = GetParam();
  RecordedLink rl;
  rl.port->SetIdleStatus(0x00);  // every acknowledge given
  EepromBus bus(rl.link, {.name = c.name, .size = c.size});
  EXPECT_EQ(bus.EepromWriteByte(c.address, c.data), 0);
  EXPECT_EQ(DecodeHostBus(rl.TakeWrites()), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Examples, EepromWriteByteBits,
    ::testing::Values(WriteCase{"24C04", 0x1FF, 0x0123, 0x5A, {"S", "AA", "23", "5A", "P"}},
                      WriteCase{"24LC515", 0xFFFF, 40000, 0x11, {"S", "A8", "1C", "40", "11", "P"}},
                      WriteCase{"AT24C256", 0x7FFF, 100, 0x22, {"S", "A0", "00", "64", "22", "P"}},
                      WriteCase{"ST24256", 0x7FFF, 0x1234, 0x01, {"S", "A0", "12", "34", "01", "P"}},
                      WriteCase{"24LC515", 0xFFFF, 5, 0x33, {"S", "A0", "00", "05", "33", "P"}},
                      WriteCase{"24C08", 0x3FF, 0x3FE, 0x44, {"S", "AE", "FE", "44", "P"}},
                      WriteCase{"24C16", 0x7FF, 0x7FF, 0x55, {"S", "AE", "FF", "55", "P"}},
                      WriteCase{"24C16", 0x7FF, 0x0FF, 0x55, {"S", "A0", "FF", "55", "P"}},
                      WriteCase{"24C02", 0xFF, 0x1FF, 0x66, {"S", "A8", "FF", "66", "P"}},
                      WriteCase{"24C32", 0xFFF, 0x0ABC, 0x77, {"S", "A8", "0A", "BC", "77", "P"}},
                      WriteCase{"24LC512", 0xFFFF, 0x8001, 0x88, {"S", "A8", "00", "01", "88", "P"}},
                      WriteCase{"24c04", 0x1FF, 0x0123, 0x5A, {"S", "A8", "23", "5A", "P"}}));

TEST(EepromBus, ReadByteRestartsWithTheReadFormOfTheSameControlByte) {
  RecordedLink rl;
  rl.port->SetIdleStatus(0x00);
  EepromBus bus(rl.link, {.name = "24C16", .size = 0x7FF});
  EXPECT_EQ(bus.EepromReadByte(0x345), 0);
  EXPECT_EQ(DecodeHostBus(rl.TakeWrites()), (Bus{"S", "A6", "45", "S", "A7"}));
}

TEST(EepromBus, StartAndStopEdgesInOrder) {
  RecordedLink rl;
  EepromBus bus(rl.link, {.name = "24C02", .size = 0xFF});
  bus.BusStart();
  // Data high, clock high, data low, clock low.
  EXPECT_EQ(BusLines(rl.TakeWrites()), (std::vector<uint8_t>{0x01, 0x03, 0x02, 0x00}));
  bus.BusStop();
  EXPECT_EQ(BusLines(rl.TakeWrites()), (std::vector<uint8_t>{0x00, 0x00, 0x02, 0x03}));
}

TEST(EepromBus, WriteBitTakesOnlyOneAsHigh) {
  RecordedLink rl;
  EepromBus bus(rl.link, {.name = "24C02", .size = 0xFF});
  bus.BusWriteBit(1);
  bus.BusWriteBit(2);
  bus.BusWriteBit(-1);
  EXPECT_EQ(BusLines(rl.TakeWrites()), (std::vector<uint8_t>{0x01, 0x03, 0x01, 0x00, 0x02, 0x00, 0x00, 0x02, 0x00}));
}

TEST(EepromBus, ReadByteTakesTheFirstBitAsBitSeven) {
  RecordedLink rl;
  rl.port->ScriptReads({0x40, 0x00, 0x00, 0x00, 0x00, 0x00, 0x40, 0x40});
  EepromBus bus(rl.link, {.name = "24C02", .size = 0xFF});
  EXPECT_EQ(bus.BusReadByte(), 0x83);
}

TEST(EepromBus, NoChipEveryAcknowledgeIsOneAndThePollGivesUpAt501Ms) {
  RecordedLink rl;  // DataIn reads high: the pull-up, nothing drives the line
  EepromBus bus(rl.link, {.name = "24C04", .size = 0x1FF});
  EXPECT_EQ(bus.BusWriteByte(0xA8), 1);
  EXPECT_EQ(bus.EepromWriteByte(0x10, 0x99), 1);
  EXPECT_EQ(bus.EepromReadByte(0x10), 1);
  const int64_t t0 = rl.clock.Nanoseconds();
  EXPECT_EQ(bus.WaitForAcknowledge(0x10), 1);
  const int64_t elapsed = rl.clock.Nanoseconds() - t0;
  EXPECT_GE(elapsed, 500'000'000);
  EXPECT_LT(elapsed, 502'000'000);
}

TEST(EepromBus, PollStopsAtTheFirstAcknowledge) {
  RecordedLink rl;
  // Two polls unanswered, the third acknowledged.
  rl.port->ScriptReads({0x40, 0x40, 0x00});
  EepromBus bus(rl.link, {.name = "24LC515", .size = 0xFFFF});
  EXPECT_EQ(bus.WaitForAcknowledge(0x9000), 0);
  EXPECT_EQ(DecodeHostBus(rl.TakeWrites()), (Bus{"S", "A8", "S", "A8", "S", "A8", "P"}));
}

TEST(EepromBus, PollControlByName) {
  for (const auto& [name, address, control] :
       std::vector<std::tuple<std::string, int32_t, std::string>>{{"24C16", 0x700, "A8"},
                                                                  {"AT24C256", 0x10, "A0"},
                                                                  {"24LC515", 0x10, "A0"},
                                                                  {"AT24C256", 0x8000, "A8"}}) {
    RecordedLink rl;
    rl.port->SetIdleStatus(0x00);
    EepromBus bus(rl.link, {.name = name, .size = 0xFFFF});
    EXPECT_EQ(bus.WaitForAcknowledge(address), 0);
    EXPECT_EQ(DecodeHostBus(rl.TakeWrites()), (Bus{"S", control, "P"})) << name;
  }
}

TEST(EepromBus, PageWriteSendsEveryByteThenOneStop) {
  RecordedLink rl;
  rl.port->SetIdleStatus(0x00);
  EepromBus bus(rl.link, {.name = "24C64", .size = 0x1FFF});
  const std::vector<uint8_t> page{1, 2, 3, 4};
  EXPECT_EQ(bus.WritePage(0x0120, page), 0);
  EXPECT_EQ(DecodeHostBus(rl.TakeWrites()), (Bus{"S", "A8", "01", "20", "01", "02", "03", "04", "P"}));
}

TEST(EepromBus, SequentialReadAcknowledgesAllButTheLastByte) {
  RecordedLink rl;
  rl.port->SetIdleStatus(0x00);
  EepromBus bus(rl.link, {.name = "24C02", .size = 0xFF});
  int ack = 1;
  const std::vector<int> bytes = bus.ReadSequential(0x10, 3, ack);
  EXPECT_EQ(ack, 0);
  EXPECT_EQ(bytes, (std::vector<int>{0, 0, 0}));
  const std::vector<uint8_t> writes = rl.TakeWrites();
  // Master acknowledges: data low then one clock, twice; the not-acknowledge
  // clock has data high; then the stop.
  int lowAckClocks = 0;
  bool clock = false;
  for (const uint8_t byte : writes) {
    const bool c = (byte & line::kClock) != 0;
    if (!clock && c && (byte & line::kDataOut) == 0) ++lowAckClocks;
    clock = c;
  }
  // Clocks rising with data low: the zero bits of A8, 10, A9 (5 + 7 + 4),
  // two master acknowledges, and the clock rise of the stop.
  EXPECT_EQ(lowAckClocks, 19);
  EXPECT_EQ(writes.back() & 0x03, 0x03);
}

// On a port that costs nothing the bus still keeps the memory's pace.
TEST(EepromBus, AFreePortKeepsEveryMinimumOfTheSpeedClass) {
  for (const BusSpeed speed : {BusSpeed::kStandard, BusSpeed::kFast}) {
    VirtualClock clock(0);
    auto owned = std::make_unique<test::TimedPort>(clock);
    test::TimedPort* port = owned.get();
    PortLink link(std::move(owned), clock);
    EepromBus bus(link, {.name = "24C02", .size = 0xFF, .speed = speed});
    bus.EepromWriteByte(0x12, 0x34);
    int ack = 0;
    bus.ReadSequential(0x12, 2, ack);
    const BusTiming& t = BusTimingFor(speed);
    const auto& w = port->writes();
    int64_t sclRose = -1, sclFell = 0, sdaChanged = 0, startAt = -1, stopAt = -1;
    for (size_t i = 1; i < w.size(); ++i) {
      const bool scl0 = (w[i - 1].value & line::kClock) != 0, scl = (w[i].value & line::kClock) != 0;
      const bool sda0 = (w[i - 1].value & line::kDataOut) != 0, sda = (w[i].value & line::kDataOut) != 0;
      const int64_t at = w[i].ns;
      SCOPED_TRACE(std::string(t.name) + " write " + std::to_string(i));
      if (!scl0 && scl) {
        EXPECT_GE(at - sclFell, t.lowNs);
        EXPECT_GE(at - sdaChanged, t.dataSetupNs);
        sclRose = at;
      }
      if (scl0 && !scl) {
        EXPECT_GE(at - sclRose, t.highNs);
        if (startAt >= 0) {
          EXPECT_GE(at - startAt, t.startHoldNs);
        }
        startAt = -1;
        sclFell = at;
      }
      if (sda0 != sda) {
        if (scl && sda0 && !sda) {  // a start
          EXPECT_GE(at - sclRose, t.startSetupNs);
          if (stopAt >= 0) {
            EXPECT_GE(at - stopAt, t.busFreeNs);
          }
          startAt = at;
        }
        if (scl && !sda0 && sda) {  // a stop
          EXPECT_GE(at - sclRose, t.stopSetupNs);
          stopAt = at;
        }
        sdaChanged = at;
      }
    }
  }
}

}  // namespace
}  // namespace quorvi

// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/eeprom_bus.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/line_trace.h"
#include "support/recorded_link.h"

namespace quorvi {
namespace {

using test::RecordedLink;

// Reads the host's side of the bus from its port writes: "S" for a start
// (data falls with the clock high), "P" for a stop, and each 9-clock group
// as its first eight bits in hex (sampled on the rising clock edge), with a
// "+" when the host itself pulls the ninth bit low (its acknowledge).
std::vector<std::string> DecodeHostBus(const std::vector<uint8_t>& writes) {
  std::vector<std::string> out;
  bool data = true;
  bool clock = false;
  std::vector<int> bits;
  auto flush = [&] {
    if (bits.size() >= 8) {
      int value = 0;
      for (size_t i = 0; i < 8; ++i) value = value * 2 + bits[i];
      char text[4];
      std::snprintf(text, sizeof text, "%02X%s", value, bits.size() == 9 && bits[8] == 0 ? "+" : "");
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
using Run = std::function<int(EepromBus&)>;

Run WriteByte(int32_t address, int data) {
  return [=](EepromBus& b) { return b.EepromWriteByte(address, data); };
}

Run Poll(int32_t address) {
  return [=](EepromBus& b) { return b.WaitForAcknowledge(address); };
}

// One exchange: what the host puts on the bus and what the call returns.
// The memory answers `reads` first, then `idle` (0x00: every acknowledge
// given; 0x40: nothing drives the line, so no chip answers).
struct Exchange {
  const char* what;
  EepromTarget target;
  Run run;
  int result;
  Bus bus;
  std::vector<uint8_t> reads = {};
  uint8_t idle = 0x00;
};

TEST(EepromBus, EachExchangePutsTheseBytesOnTheBus) {
  const EepromTarget c02{.name = "24C02", .size = 0xFF}, c04{.name = "24C04", .size = 0x1FF};
  const std::vector<Exchange> cases = {
      {"24C04 block bits", c04, WriteByte(0x0123, 0x5A), 0, {"S", "AA", "23", "5A", "P"}},
      {"names compare case by case", {"24c04", 0x1FF}, WriteByte(0x0123, 0x5A), 0, {"S", "A8", "23", "5A", "P"}},
      {"24LC515 upper half", {"24LC515", 0xFFFF}, WriteByte(40000, 0x11), 0, {"S", "A8", "1C", "40", "11", "P"}},
      {"24LC515 lower half", {"24LC515", 0xFFFF}, WriteByte(5, 0x33), 0, {"S", "A0", "00", "05", "33", "P"}},
      {"AT24C256", {"AT24C256", 0x7FFF}, WriteByte(100, 0x22), 0, {"S", "A0", "00", "64", "22", "P"}},
      {"ST24256", {"ST24256", 0x7FFF}, WriteByte(0x1234, 0x01), 0, {"S", "A0", "12", "34", "01", "P"}},
      {"24C08 block bits", {"24C08", 0x3FF}, WriteByte(0x3FE, 0x44), 0, {"S", "AE", "FE", "44", "P"}},
      {"24C16 top block", {"24C16", 0x7FF}, WriteByte(0x7FF, 0x55), 0, {"S", "AE", "FF", "55", "P"}},
      {"24C16 first block", {"24C16", 0x7FF}, WriteByte(0x0FF, 0x55), 0, {"S", "A0", "FF", "55", "P"}},
      {"one address byte drops the rest", c02, WriteByte(0x1FF, 0x66), 0, {"S", "A8", "FF", "66", "P"}},
      {"two address bytes", {"24C32", 0xFFF}, WriteByte(0x0ABC, 0x77), 0, {"S", "A8", "0A", "BC", "77", "P"}},
      {"every part has an upper half", {"24LC512", 0xFFFF}, WriteByte(0x8001, 0x88), 0,
       {"S", "A8", "00", "01", "88", "P"}},
      {"random read restarts in read form", {"24C16", 0x7FF}, [](EepromBus& b) { return b.EepromReadByte(0x345); },
       0, {"S", "A6", "45", "S", "A7"}},
      {"page write: every byte, one stop", {"24C64", 0x1FFF},
       [](EepromBus& b) { return b.WritePage(0x0120, std::vector<uint8_t>{1, 2, 3, 4}); }, 0,
       {"S", "A8", "01", "20", "01", "02", "03", "04", "P"}},
      {"sequential read acknowledges all but the last byte", c02,
       [](EepromBus& b) {
         int ack = 1;
         return b.ReadSequential(0x10, 3, ack) == std::vector<int>{0, 0, 0} ? ack : -1;
       },
       0, {"S", "A8", "10", "S", "A9", "FF+", "FF+", "FF", "P"}},
      {"first bit read is bit 7", c02, [](EepromBus& b) { return b.BusReadByte(); }, 0x83, {"FF"},
       {0x40, 0x00, 0x00, 0x00, 0x00, 0x00, 0x40, 0x40}},
      {"only 1 writes a high bit", c02,
       [](EepromBus& b) {
         for (const int bit : {1, 2, -1, 1, 1, 1, 1, 1}) b.BusWriteBit(bit);
         return 0;
       },
       0, {"9F"}},
      {"start", c02, [](EepromBus& b) { return b.BusStart(), 0; }, 0, {"S"}},
      {"stop", c02, [](EepromBus& b) { return b.BusStop(), 0; }, 0, {"P"}},
      {"poll with the write control of 24C16", {"24C16", 0xFFFF}, Poll(0x700), 0, {"S", "A8", "P"}},
      {"poll AT24C256", {"AT24C256", 0xFFFF}, Poll(0x10), 0, {"S", "A0", "P"}},
      {"poll 24LC515", {"24LC515", 0xFFFF}, Poll(0x10), 0, {"S", "A0", "P"}},
      {"poll an upper half", {"AT24C256", 0xFFFF}, Poll(0x8000), 0, {"S", "A8", "P"}},
      {"poll until the first acknowledge", {"24LC515", 0xFFFF}, Poll(0x9000), 0,
       {"S", "A8", "S", "A8", "S", "A8", "P"}, {0x40, 0x40, 0x00}},
      {"no chip: the control byte", c04, [](EepromBus& b) { return b.BusWriteByte(0xA8); }, 1, {"A8"}, {}, 0x40},
      {"no chip: a write", c04, WriteByte(0x10, 0x99), 1, {"S", "A8", "10", "99", "P"}, {}, 0x40},
      {"no chip: a read", c04, [](EepromBus& b) { return b.EepromReadByte(0x10); }, 1, {"S", "A8", "10", "S", "A9"},
       {}, 0x40},
  };
  for (const Exchange& c : cases) {
    RecordedLink rl;
    rl.port->ScriptReads(c.reads);
    rl.port->SetIdleStatus(c.idle);
    EepromBus bus(rl.link, c.target);
    EXPECT_EQ(c.run(bus), c.result) << c.what;
    EXPECT_EQ(DecodeHostBus(rl.TakeWrites()), c.bus) << c.what;
  }
}

TEST(EepromBus, WithNoChipThePollGivesUpAt501Ms) {
  RecordedLink rl;  // DataIn reads high: the pull-up, nothing drives the line
  EepromBus bus(rl.link, {.name = "24C04", .size = 0x1FF});
  EXPECT_EQ(bus.WaitForAcknowledge(0x10), 1);
  EXPECT_GE(rl.clock.Nanoseconds(), 500'000'000);
  EXPECT_LT(rl.clock.Nanoseconds(), 502'000'000);
  const Bus polls = DecodeHostBus(rl.TakeWrites());
  EXPECT_EQ(polls.back(), "P");
  EXPECT_EQ(std::count(polls.begin(), polls.end(), "A8"), std::count(polls.begin(), polls.end(), "S"));
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

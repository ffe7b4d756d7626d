// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/eeprom_bus.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "support/golden.h"
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

using Call = std::function<int(EepromBus&)>;

Call WriteByte(int32_t address, int data) {
  return [=](EepromBus& b) { return b.EepromWriteByte(address, data); };
}

Call Poll(int32_t address) {
  return [=](EepromBus& b) { return b.WaitForAcknowledge(address); };
}

// What the host puts on the bus for the old program's addressing and
// polling rules and what the call returns, with every acknowledge given.
// (The memories' own models check the control and address bytes each part
// needs, and every minimum of its speed class; these are the choices they
// would take either way.)
TEST(EepromBus, EachExchangePutsTheseBytesOnTheBus) {
  struct Exchange {
    const char* what;
    EepromTarget target;
    Call run;
    int result;
    const char* bus;
  };
  const EepromTarget c02{.size = 0xFF};
  for (const Exchange& c : std::initializer_list<Exchange>{
           {"no block bits below 24C04", c02, WriteByte(0x1FF, 0x66), 0, "S A8 FF 66 P"},
           {"every part has an upper half", {EepromControl::kPinsHigh, 0xFFFF}, WriteByte(0x8001, 0x88), 0,
            "S A8 00 01 88 P"},
           {"sequential read acknowledges all but the last byte", c02,
            [](EepromBus& b) {
              int ack = 1;
              return b.ReadSequential(0x10, 3, ack) == std::vector<int>{0, 0, 0} ? ack : -1;
            },
            0, "S A8 10 S A9 FF+ FF+ FF P"},
           {"only 1 writes a high bit", c02,
            [](EepromBus& b) {
              for (const int bit : {1, 2, -1, 1, 1, 1, 1, 1}) b.BusWriteBit(bit);
              return 0;
            },
            0, "9F"},
           {"the poll leaves out the 24C16's block bits", {EepromControl::kBlockBitsPinsLow, 0xFFFF}, Poll(0x700), 0,
            "S A8 P"},
           {"the poll of an upper half", {EepromControl::kPinsLow, 0xFFFF}, Poll(0x8000), 0, "S A8 P"},
       }) {
    RecordedLink rl;
    rl.port->SetIdleStatus(0x00);
    EepromBus bus(rl.link, c.target);
    EXPECT_EQ(c.run(bus), c.result) << c.what;
    EXPECT_EQ(DecodeHostBus(rl.TakeWrites()), test::Words(c.bus)) << c.what;
  }
}

}  // namespace
}  // namespace quorvi

// SPDX-License-Identifier: GPL-3.0-or-later
// The 24Cxx model through the host's two-wire bus.
#include "sim/eeprom24_chip.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "hw/vcd_trace.h"
#include "protocol/eeprom_bus.h"
#include "support/golden.h"
#include "support/run_command.h"
#include "support/sim_link.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

using test::SimLink;

TEST(Eeprom24, AddressingFollowsTheSocketAndEachDataSheet) {
  // The socket ties A2 high, A1 and A0 low; block bits and fixed zeros as each data sheet has them.
  for (const auto& [chip, control, ack] : {std::tuple{"24C02", 0xA8, 0}, {"24C02", 0xA0, 1}, {"24C04", 0xAA, 0},
                                          {"24C04", 0xAC, 1}, {"24C16", 0xAE, 0}, {"AT24C256", 0xA0, 0},
                                          {"AT24C256", 0xA8, 1}, {"24LC515", 0xA8, 0}, {"24LC515", 0xA2, 1},
                                          {"24LC512", 0xA0, 1}}) {
    SimLink s(chip);
    s.PowerBus();
    EepromBus bus(s.link, s.BusTarget());
    bus.BusStart();
    EXPECT_EQ(bus.BusWriteByte(control), ack) << chip << " " << control;
    bus.BusStop();
  }
  // Sequential reads roll over the memory, or the 24LC515's 32 KB block (DS21673).
  for (const auto& [chip, first, second] : {std::tuple{"24C01", 0x7F, 0x00}, {"24LC515", 0x7FFF, 0x0000},
                                           {"24LC515", 0xFFFF, 0x8000}}) {
    SimLink s(chip);
    s.state().program[static_cast<size_t>(first)] = 0x11;
    s.state().program[static_cast<size_t>(second)] = 0x22;
    s.PowerBus();
    EepromBus bus(s.link, s.BusTarget());
    int ack = 1;
    EXPECT_EQ(bus.ReadSequential(first, 2, ack), (std::vector<int>{0x11, 0x22})) << chip << " " << first;
    EXPECT_EQ(ack, 0);
  }
  // A page write wraps inside its page: 16h, 17h take 0, 1; 10h.. take 2..7; 8, 9 overwrite 16h, 17h.
  SimLink s("24C02");
  s.PowerBus();
  EepromBus bus(s.link, s.BusTarget());
  ASSERT_EQ(bus.WritePage(0x16, std::vector<uint8_t>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}), 0);
  ASSERT_EQ(bus.WaitForAcknowledge(0), 0);
  const std::vector<int> page(s.state().program.begin() + 0x0F, s.state().program.begin() + 0x19);
  EXPECT_EQ(page, (std::vector<int>{0xFF, 2, 3, 4, 5, 6, 7, 8, 9, 0xFF}));
}

TEST(Eeprom24, AcknowledgePollingWaitsOutTheWriteCycle) {
  // TWC 5 ms (DS21703); a write cycle that never ends and an empty socket time out after 501 ms.
  for (const auto& [chip, noChip, endless, ack, fromMs] : {std::tuple{"24C16", false, false, 0, 5.0},
                                                          {"24C128", false, true, 1, 500.0},
                                                          {"24C04", true, false, 1, 500.0}}) {
    SimLink s(chip);
    s.state().faults.noChip = noChip;
    s.state().faults.endlessWrite = endless;
    s.PowerBus();
    EepromBus bus(s.link, s.BusTarget());
    EXPECT_EQ(bus.EepromWriteByte(0x10, 0x42), noChip ? 1 : 0) << chip;
    const int64_t t0 = s.clock.Nanoseconds();
    EXPECT_EQ(bus.WaitForAcknowledge(0x10), ack) << chip;
    const double took = static_cast<double>(s.clock.Nanoseconds() - t0) / 1e6;
    EXPECT_GE(took, fromMs) << chip;
    EXPECT_LT(took, fromMs + 2.0) << chip;
    EXPECT_EQ(s.state().program[0x10], ack == 0 ? 0x42 : 0xFF) << chip;
  }
}

// sigrok's I2C decoder, an independent reader, must see the socket's traffic
// as a standard two-wire bus: a write, a poll refused during the write cycle,
// the poll that ends it, and a random read.
TEST(Eeprom24, SigrokDecodesAWriteAPollAndARead) {
  ASSERT_TRUE(test::HaveProgram("sigrok-cli")) << "sigrok-cli is missing: run scripts/install-deps";
  test::TempDir dir;
  const std::string path = (dir.path() / "eeprom.vcd").string();
  {
    VirtualClock clock;
    auto traced = VcdTracePort::Open(sim::MakeBoard(clock, sim::BlankState(*sim::FindChip("24C04").value())).value(),
                                     clock, path);
    ASSERT_TRUE(traced.ok()) << traced.message();
    PortLink link(std::move(traced).value(), clock);
    link.SetDataLine(kTrue);
    link.SetClockLine(kTrue);
    link.SetVdd("on");
    EepromBus bus(link, {.control = EepromControl::kBlockBitsPinsHigh, .size = 0x1FF});
    ASSERT_EQ(bus.EepromWriteByte(0x0123, 0x5A), 0);
    bus.BusStart();
    ASSERT_EQ(bus.BusWriteByte(0xA8), 1);
    ASSERT_EQ(bus.WaitForAcknowledge(0x0123), 0);
    int ack = 1;
    ASSERT_EQ(bus.ReadSequential(0x0123, 1, ack), std::vector<int>{0x5A});
    link.SetClockLine(kFalse);  // one more edge so the decoder closes the stop
  }
  const test::CommandOutput run = test::RunCommand(
      "sigrok-cli -i '" + path + "' -I vcd -P i2c:scl=Clock:sda=SDA -A i2c=start:repeat-start:stop:ack:nack:"
      "address-read:address-write:data-read:data-write 2>&1 | sed -n 's/^i2c-1: //p'");
  // sigrok-cli 0.7.2 may abort while shutting its decoders down, after its output; the pipe hides that.
  ASSERT_EQ(run.exitCode, 0);
  // The refused polls between are as many as the write cycle takes.
  const auto expected = test::DataSections("sigrok_i2c.txt");
  const std::string head = expected.at("first"), tail = expected.at("last");
  EXPECT_EQ(run.out.substr(0, head.size()), head) << run.out;
  EXPECT_EQ(run.out.substr(run.out.size() - std::min(run.out.size(), tail.size())), tail) << run.out;
}

}  // namespace
}  // namespace quorvi

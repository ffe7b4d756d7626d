// SPDX-License-Identifier: GPL-3.0-or-later
// sigrok's I2C decoder, an independent reader, must see our EEPROM traffic on
// the simulated board as a standard two-wire bus.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "hw/clock.h"
#include "hw/delay.h"
#include "hw/port_link.h"
#include "hw/vcd_trace.h"
#include "protocol/eeprom_bus.h"
#include "sim/chip_state.h"
#include "sim/sim_board.h"
#include "support/run_command.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

// The decoder's lines in order, annotation text only.
std::vector<std::string> Annotations(const std::string& out) {
  std::vector<std::string> lines;
  size_t start = 0;
  while (start < out.size()) {
    size_t end = out.find('\n', start);
    if (end == std::string::npos) end = out.size();
    std::string line = out.substr(start, end - start);
    const size_t colon = line.find(": ");
    if (colon != std::string::npos) line = line.substr(colon + 2);
    if (!line.empty()) lines.push_back(line);
    start = end + 1;
  }
  return lines;
}

TEST(EepromTrace, SigrokDecodesAWriteAPollAndARead) {
  ASSERT_TRUE(test::HaveProgram("sigrok-cli")) << "sigrok-cli is missing: run scripts/install-deps";
  test::TempDir dir;
  const std::string path = (dir.path() / "eeprom.vcd").string();
  {
    VirtualClock clock;
    auto board = sim::MakeBoard(clock, sim::BlankState(*sim::FindChip("24C04").value()));
    ASSERT_TRUE(board.ok()) << board.message();
    sim::SimBoard* sim = board.value().get();
    auto traced = VcdTracePort::Open(std::move(board).value(), clock, path);
    ASSERT_TRUE(traced.ok()) << traced.message();
    PortLink link(std::move(traced).value(), clock);
    link.SetDataLine(kTrue);
    link.SetClockLine(kTrue);
    link.SetVdd("on");
    DelayMs(clock, 1.0F);
    EepromBus bus(link, {.name = "24C04", .size = 0x1FF});
    ASSERT_EQ(bus.EepromWriteByte(0x0123, 0x5A), 0);
    // One poll while the write cycle runs: not acknowledged.
    bus.BusStart();
    ASSERT_EQ(bus.BusWriteByte(0xA8), 1);
    ASSERT_EQ(bus.WaitForAcknowledge(0x0123), 0);
    ASSERT_EQ(bus.EepromReadByte(0x0123), 0);
    EXPECT_EQ(bus.BusReadByte(), 0x5A);
    bus.NotAcknowledgeByte();
    bus.BusStop();
    EXPECT_EQ(sim->chip()->state().program[0x123], 0x5A);
    link.SetClockLine(kFalse);  // one more edge so the decoder closes the stop
  }
  const std::string annotations =
      "start:repeat-start:stop:ack:nack:address-read:address-write:data-read:data-write";
  const test::CommandOutput run = test::RunCommand("sigrok-cli -i '" + path +
                                                   "' -I vcd -P i2c:scl=Clock:sda=SDA -A i2c=" + annotations +
                                                   " 2>&1");
  // sigrok-cli 0.7.2 may abort while shutting its decoders down, after its output.
  ASSERT_TRUE(run.exitCode == 0 || run.exitCode == 134) << run.exitCode << "\n" << run.out;
  const std::vector<std::string> got = Annotations(run.out);
  const std::vector<std::string> expectedStart{
      "Start", "Write", "Address write: 55", "ACK", "Data write: 23", "ACK", "Data write: 5A", "ACK", "Stop",
      "Start", "Write", "Address write: 54", "NACK"};
  ASSERT_GE(got.size(), expectedStart.size()) << run.out;
  EXPECT_EQ(std::vector<std::string>(got.begin(), got.begin() + static_cast<long>(expectedStart.size())),
            expectedStart)
      << run.out;
  // The poll ends with the first acknowledge; then the random read.
  const std::vector<std::string> expectedEnd{
      "Start repeat", "Write", "Address write: 54", "ACK",  "Start repeat", "Write", "Address write: 55",
      "ACK",          "Data write: 23", "ACK",      "Start repeat", "Read",  "Address read: 55",
      "ACK",          "Data read: 5A",  "NACK",     "Stop"};
  ASSERT_GE(got.size(), expectedEnd.size());
  EXPECT_EQ(std::vector<std::string>(got.end() - static_cast<long>(expectedEnd.size()), got.end()), expectedEnd)
      << run.out;
}

}  // namespace
}  // namespace quorvi

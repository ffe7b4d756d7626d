// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/port_registry.h"

#include <gtest/gtest.h>

#include "hw/clock.h"
#include "sim/sim_board.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

TEST(ParsePortAddress, KnowsTheClassicNamesAndHex) {
  struct Case {
    const char* name;
    std::optional<long> base;
  };
  for (const Case& c : {Case{"lpt1", 0x378}, {"LPT1", 0x378}, {"lpt2", 0x278}, {"0x3BC", 0x3BC}, {"0X3bc", 0x3BC},
                        {"0x", std::nullopt}, {"0x37G", std::nullopt}, {"378", std::nullopt}, {"lpt3", std::nullopt},
                        {"", std::nullopt}}) {
    EXPECT_EQ(ParsePortAddress(c.name), c.base) << c.name;
  }
}

TEST(OpenPort, ChoosesTheBackendByTheFormOfTheName) {
  test::TempDir dir;
  dir.Write("proc/parport0/base-addr", "956\t-1\n");  // 0x3BC
  Result<sim::ChipState> state = NewSimChip("12C508A");
  ASSERT_TRUE(state.ok());
  state.value().program[0] = 0x0A5;
  const std::string chip = (dir.path() / "chip.json").string();
  ASSERT_TRUE(sim::SaveChipState(state.value(), chip).ok());
  VirtualClock clock;
  PortEnvironment env;
  env.parports = {(dir.path() / "proc").string(), (dir.path() / "dev").string()};
  env.clock = &clock;
  const std::string noDevice = " (is the ppdev module loaded? try: sudo modprobe ppdev)";
  // 0x3bc is found by its address, then opened through ppdev: the fake device file is missing.
  for (const auto& [name, shown] : std::initializer_list<std::pair<std::string, std::string>>{
           {"0x3bc", "No parallel port device " + env.parports.devRoot + "/parport0" + noDevice},
           {"lpt1", "No parallel port at 0x378 (found: parport0 at 0x3BC)"},
           {"/dev/parport97", "No parallel port device /dev/parport97" + noDevice},
           {"/dev/sda", "/dev/sda is not a parallel port device: use /dev/parportN"},
           {"raw:0x300",
            "0x300 is not a parallel port base (0x378, 0x278 or 0x3bc); raw!:0x300 drives it all the same"},
           {"raw!:0x8000", "Port address 0x8000 is out of range: ports go from 0x1 to 0x7FFF"},
           {"com1", "Unknown port \"com1\": use lpt1 | lpt2 | 0xADDR, /dev/parportN, raw:lpt1 | raw:lpt2 | raw:0x3bc | "
                    "raw!:0xADDR, sim | sim:CHIP | sim:FILE.json, record"},
           {"record", "recording port (no hardware)"},
           {"sim", "simulated board (empty socket)"},
           {"sim:16f84a", "simulated board with a 16F84A"},
           {"sim:16F999", "No simulated chip named 16F999"},
           {"sim:" + chip, "simulated board with a 12C508A"},
           {"sim:" + chip + ".missing.json", "Cannot read the chip-state file " + chip + ".missing.json: not found"}}) {
    const auto port = OpenPort(name, env);
    EXPECT_EQ(port.ok() ? port.value()->Describe() : port.message(), shown);
  }
  EXPECT_EQ(OpenPort("record", env).value()->ReadStatus(), 0x40);
  auto empty = OpenPort("sim", env).value();
  empty->WriteData(0x3D);  // data line released
  EXPECT_EQ(empty->ReadStatus() & 0x40, 0x40) << "an empty socket reads the pull-up";
  auto fromFile = OpenPort("sim:" + chip, env).value();
  EXPECT_EQ(dynamic_cast<sim::SimBoard&>(*fromFile).chip()->state().program[0], 0x0A5);
  EXPECT_EQ(OpenPort("sim").message(), "The simulated board needs a clock");
}

}  // namespace
}  // namespace quorvi

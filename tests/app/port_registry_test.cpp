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
  PortEnvironment env;
  env.parports = {(dir.path() / "proc").string(), (dir.path() / "dev").string()};

  // Found by address, then opened through ppdev: the fake device file is missing.
  for (const auto& [name, part] :
       {std::pair<std::string, std::string>{"0x3bc", "No parallel port device " + env.parports.devRoot + "/parport0"},
        {"lpt1", "No parallel port at 0x378 (found: parport0 at 0x3BC)"},
        {"/dev/parport97", "No parallel port device /dev/parport97"},
        {"/dev/sda", "/dev/sda is not a parallel port device: use /dev/parportN"},
        {"raw:0x300", "0x300 is not a parallel port base (0x378, 0x278 or 0x3bc); raw!:0x300 drives it all the same"},
        {"raw!:0x8000", "out of range"}}) {
    auto port = OpenPort(name, env);
    ASSERT_FALSE(port.ok()) << name;
    EXPECT_NE(port.message().find(part), std::string::npos) << port.message();
  }
  auto record = OpenPort("record", env);
  ASSERT_TRUE(record.ok()) << record.message();
  EXPECT_EQ(record.value()->ReadStatus(), 0x40);
}

TEST(OpenPort, AnUnknownNameListsEveryForm) {
  auto port = OpenPort("com1");
  ASSERT_FALSE(port.ok());
  EXPECT_EQ(port.message(),
            "Unknown port \"com1\": use lpt1 | lpt2 | 0xADDR, /dev/parportN, raw:lpt1 | raw:lpt2 | raw:0x3bc | "
            "raw!:0xADDR, sim | sim:CHIP | sim:FILE.json, record");
}

TEST(OpenPort, TheSimulatedBoardWithAChipByNameOrFile) {
  VirtualClock clock;
  PortEnvironment env;
  EXPECT_FALSE(OpenPort("sim", env).ok()) << "no clock";
  env.clock = &clock;

  auto empty = OpenPort("sim", env);
  ASSERT_TRUE(empty.ok()) << empty.message();
  empty.value()->WriteData(0x3D);  // data line released
  EXPECT_EQ(empty.value()->ReadStatus() & 0x40, 0x40) << "an empty socket reads the pull-up";

  auto named = OpenPort("sim:16f84a", env);
  ASSERT_TRUE(named.ok()) << named.message();
  auto* board = dynamic_cast<sim::SimBoard*>(named.value().get());
  ASSERT_NE(board, nullptr);
  ASSERT_NE(board->chip(), nullptr);
  EXPECT_EQ(board->chip()->info().name, "16F84A");

  auto unknown = OpenPort("sim:16F999", env);
  ASSERT_FALSE(unknown.ok());
  EXPECT_EQ(unknown.message(), "No simulated chip named 16F999");

  test::TempDir dir;
  Result<sim::ChipState> state = NewSimChip("12C508A");
  ASSERT_TRUE(state.ok());
  state.value().program[0] = 0x0A5;
  const std::string path = (dir.path() / "chip.json").string();
  ASSERT_TRUE(sim::SaveChipState(state.value(), path).ok());
  auto fromFile = OpenPort("sim:" + path, env);
  ASSERT_TRUE(fromFile.ok()) << fromFile.message();
  board = dynamic_cast<sim::SimBoard*>(fromFile.value().get());
  ASSERT_NE(board, nullptr);
  EXPECT_EQ(board->chip()->state().program[0], 0x0A5);
  EXPECT_FALSE(OpenPort("sim:" + path + ".missing.json", env).ok());
}

}  // namespace
}  // namespace quorvi

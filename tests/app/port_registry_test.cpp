// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/port_registry.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "hw/clock.h"
#include "sim/sim_board.h"
#include "support/golden.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

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
  const std::string folder = dir.path().string();
  const std::map<std::string, test::Call> calls = {
      {"ParsePortAddress",
       [](const auto& a) {
         const std::optional<long> base = ParsePortAddress(a.at(0));
         char text[16];
         std::snprintf(text, sizeof text, "0x%lX", base.value_or(0));
         return base ? std::string(text) : "none";
       }},
      {"OpenPort", [&](const auto& a) {
         const auto port = OpenPort(test::Replaced(a.at(0), "$DIR", folder), env);
         return test::Replaced(port.ok() ? port.value()->Describe() : port.message(), folder, "$DIR");
       }}};
  EXPECT_EQ(test::TableMismatches("ports.txt", calls), "");
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

// SPDX-License-Identifier: GPL-3.0-or-later
// A wrong chip, or none, must stop an erase, a write or a configuration
// write before anything reaches it, whatever the front end.
#include <gtest/gtest.h>

#include <functional>
#include <tuple>

#include "ops/blank_erase.h"
#include "ops/chip_id.h"
#include "ops/config_write.h"
#include "ops/write.h"
#include "support/golden.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

using Operation = std::function<OpResult(AppState&, UiHost&)>;

struct IdCase {
  const char* name;
  const char* chip;    // in the socket
  const char* device;  // selected
  void (*fault)(sim::ChipState&);
  bool stops;
  bool harmsTheChip = false;  // the entry meant for the selected part is wrong for this one
};

void NoFault(sim::ChipState&) {}

// What each stop says is in chip_id_transcripts.txt.
const IdCase kCases[] = {
    {"right chip", "16F628A", "16F628A", NoFault, false},
    {"a part without an ID is written as it is", "16F84A", "16F84A", NoFault, false},
    {"another part of the package", "16F648A", "16F628A", NoFault, true},
    {"another 18F", "18F258", "18F452", NoFault, true},
    // A 40-pin part gets no Vpp where an 18-pin part has its MCLR: it never answers.
    {"another package", "16F877A", "16F628A", NoFault, true, true},
    {"an empty socket", "16F628A", "16F628A", [](sim::ChipState& c) { c.faults.noChip = true; }, true},
    {"a data line stuck low", "18F452", "18F452",
     [](sim::ChipState& c) { c.faults.dataIn = sim::DataInFault::kStuckLow; }, true},
};

const std::pair<const char*, Operation> kOperations[] = {
    {"write", [](AppState& s, UiHost& ui) { return cmdWrite(s, ui); }},
    {"erase", [](AppState& s, UiHost& ui) { return cmdFill(s, ui, false); }},
    {"fuses", [](AppState& s, UiHost& ui) { return cmdWriteFuse(s, ui); }},
};

TEST(ChipId, StopsEveryWritingOperationOnAWrongOrMissingChip) {
  const auto golden = test::DataSections("chip_id_transcripts.txt");
  for (const IdCase& c : kCases) {
    for (const auto& [operation, run] : kOperations) {
      const std::string name = std::string(c.name) + ", " + operation;
      SCOPED_TRACE(name);
      sim::ChipState chip = test::BlankChip(c.chip);
      if (c.stops) chip.program[0] = 0x0123;  // the erase would clear it
      c.fault(chip);
      test::SimApp sim(chip, c.device);
      sim.rulesMayBreak = c.harmsTheChip;
      sim.state().wrongChip = WrongChipPolicy::kStop;
      const OpResult result = run(sim.state(), sim.ui);
      EXPECT_EQ(result.wrongChip, c.stops);
      test::ExpectSection(golden, name, sim.Transcript(result.outcome));
      if (c.stops) {
        EXPECT_EQ(sim.chip().program[0], 0x0123) << "nothing reached the chip";
      }
    }
  }
}

// A 16F648A where a 16F628A is selected: the window asks, the command line
// forces, quiet mode logs.
TEST(ChipId, TheWindowAsksTheCommandLineForcesQuietModeLogs) {
  const auto golden = test::DataSections("chip_id_transcripts.txt");
  for (const auto& [name, policy, quiet, answer] : {std::tuple{"ask, no", WrongChipPolicy::kAsk, false, false},
                                                    {"ask, yes", WrongChipPolicy::kAsk, false, true},
                                                    {"force", WrongChipPolicy::kForce, false, false},
                                                    {"quiet", WrongChipPolicy::kAsk, true, true}}) {
    test::SimApp sim(test::BlankChip("16F648A"), "16F628A");
    sim.state().wrongChip = policy;
    sim.state().commandLine.quiet = quiet;
    sim.ui.answers = {answer};
    OperationFrame frame(sim.state(), sim.ui);
    test::ExpectSection(golden, name, sim.Transcript(CheckChipIdentity(frame, WritePlan(sim.state()))));
  }
}

}  // namespace
}  // namespace quorvi

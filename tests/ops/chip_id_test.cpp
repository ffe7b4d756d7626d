// SPDX-License-Identifier: GPL-3.0-or-later
// A wrong chip, or none, must stop an erase, a write or a configuration
// write before anything reaches it, whatever the front end.
#include <gtest/gtest.h>

#include <functional>

#include "ops/blank_erase.h"
#include "ops/chip_id.h"
#include "ops/config_write.h"
#include "ops/write.h"
#include "support/recording_ui.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

using Operation = std::function<OpResult(AppState&, UiHost&)>;

struct IdCase {
  const char* name;
  const char* chip;    // in the socket
  const char* device;  // selected
  void (*fault)(sim::ChipState&);
  const char* message;  // empty: the operation goes on
  bool harmsTheChip = false;  // the entry meant for the selected part is wrong for this one
};

void NoFault(sim::ChipState&) {}
void Empty(sim::ChipState& c) { c.faults.noChip = true; }
void StuckLow(sim::ChipState& c) { c.faults.dataIn = sim::DataInFault::kStuckLow; }

const IdCase kCases[] = {
    {"right chip", "16F628A", "16F628A", NoFault, ""},
    {"a part without an ID is written as it is", "16F84A", "16F84A", NoFault, ""},
    {"another part of the package", "16F648A", "16F628A", NoFault,
     "The chip in the socket is not a 16F628A: its device ID reads 1102h, the ID of a 16F648A (revision 2h)."},
    {"another 18F", "18F258", "18F452", NoFault,
     "The chip in the socket is not a 18F452: its device ID reads 840h, the ID of a 18F258 (revision 0h)."},
    // A 40-pin part gets no Vpp where an 18-pin part has its MCLR: it never answers.
    {"another package", "16F877A", "16F628A", NoFault,
     "No chip answers as a 16F628A would: its device ID reads 3FFFh (all ones). Check that the right chip sits in "
     "the socket, the right way round, and that the board has power.",
     true},
    {"an empty socket", "16F628A", "16F628A", Empty,
     "No chip answers as a 16F628A would: its device ID reads 3FFFh (all ones). Check that the right chip sits in "
     "the socket, the right way round, and that the board has power."},
    {"a data line stuck low", "18F452", "18F452", StuckLow,
     "No chip answers as a 18F452 would: its device ID reads 0h (all zeros). Check that the right chip sits in "
     "the socket, the right way round, and that the board has power."},
};

const std::pair<const char*, Operation> kOperations[] = {
    {"write", [](AppState& s, UiHost& ui) { return cmdWrite(s, ui); }},
    {"erase", [](AppState& s, UiHost& ui) { return cmdFill(s, ui, false); }},
    {"fuses", [](AppState& s, UiHost& ui) { return cmdWriteFuse(s, ui); }},
};

TEST(ChipId, StopsEveryWritingOperationOnAWrongOrMissingChip) {
  for (const IdCase& c : kCases) {
    for (const auto& [operation, run] : kOperations) {
      SCOPED_TRACE(std::string(c.name) + ", " + operation);
      sim::ChipState chip = test::BlankChip(c.chip);
      chip.program[0] = 0x0123;  // the erase would clear it
      c.fault(chip);
      test::SimApp sim(chip, c.device);
      sim.rulesMayBreak = c.harmsTheChip;
      sim.state().wrongChip = WrongChipPolicy::kStop;
      test::RecordingUi ui;
      const OpResult result = run(sim.state(), ui);
      EXPECT_TRUE(sim.PoweredDown());
      if (*c.message == '\0') {
        EXPECT_FALSE(result.wrongChip);
        continue;
      }
      EXPECT_TRUE(result.wrongChip);
      EXPECT_EQ(result.outcome, OpOutcome::kFailed);
      ASSERT_EQ(ui.messages.size(), 1U);
      EXPECT_EQ(ui.messages[0].text, c.message);
      EXPECT_EQ(ui.messages[0].title, title::kQuorvi2Error);
      EXPECT_EQ(sim.chip().program[0], 0x0123) << "nothing reached the chip";
      EXPECT_NE(ui.statusBar, "Operation OK");
    }
  }
}

TEST(ChipId, TheWindowAsksTheCommandLineForcesQuietModeLogs) {
  const std::string text = kCases[2].message;  // a 16F648A where a 16F628A is selected
  struct PolicyCase {
    WrongChipPolicy policy;
    bool quiet;
    bool answer;
    OpOutcome outcome;
    std::vector<UserMessage> questions, messages;
  };
  const PolicyCase cases[] = {
      {WrongChipPolicy::kAsk, false, false, OpOutcome::kCancelled,
       {{text + " Go on anyway?", title::kQuorvi2Alert, MessageIcon::kExclamation}}, {}},
      {WrongChipPolicy::kAsk, false, true, OpOutcome::kOk,
       {{text + " Go on anyway?", title::kQuorvi2Alert, MessageIcon::kExclamation}}, {}},
      {WrongChipPolicy::kForce, false, false, OpOutcome::kOk, {},
       {{text + " Going on as asked.", title::kQuorvi2Alert, MessageIcon::kInformation}}},
      {WrongChipPolicy::kAsk, true, true, OpOutcome::kTerminated, {}, {}},
  };
  for (const PolicyCase& p : cases) {
    test::SimApp sim(test::BlankChip("16F648A"), "16F628A");
    sim.state().wrongChip = p.policy;
    sim.state().commandLine.quiet = p.quiet;
    test::RecordingUi ui;
    ui.answers = {p.answer};
    OperationFrame frame(sim.state(), ui);
    EXPECT_EQ(CheckChipIdentity(frame, WritePlan(sim.state())), p.outcome);
    EXPECT_TRUE(sim.PoweredDown());
    EXPECT_EQ(ui.questions, p.questions);
    EXPECT_EQ(ui.messages, p.messages);
    EXPECT_EQ(sim.home.Read("quorvi2.err"), p.quiet ? text + "\n" : "");
  }
}

}  // namespace
}  // namespace quorvi

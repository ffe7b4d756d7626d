// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "device/catalogue.h"
#include "image/image_reader.h"
#include "ops/compare.h"
#include "ops/op_texts.h"
#include "ops/write.h"
#include "sim/chip_info.h"
#include "sim/chip_state.h"
#include "support/recording_ui.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

TEST(Verify18F, ReportsTheLastDifferingIdWordAndADifferingConfigurationRegister) {
  test::SimApp sim("18F452");
  AppState& state = sim.state();
  state.image.idWords = {0x0102, 0x0304, 0x0506, 0x0708, 0};
  state.image.config18Bytes = {0x22, 0x00, 0x0F, 0x0F, 0x01, 0x00, 0x00, 0x85, 0xC0, 0x0F, 0xE0, 0x0F, 0xFF, 0xFF};
  test::RecordingUi ui;
  ASSERT_EQ(cmdWrite(state, ui).outcome, OpOutcome::kOk) << (ui.messages.empty() ? "" : ui.messages[0].text);
  const UserMessage fusesNotEqual{op_text::kFusesNotEqual, title::kQuorvi2Error, MessageIcon::kNone};

  sim.chip().configBytes[9] = 0x40;  // CPD programmed: data EEPROM protected
  test::RecordingUi configUi;
  EXPECT_EQ(cmdCompare(state, configUi).outcome, OpOutcome::kFailed);
  EXPECT_EQ(configUi.messages, std::vector<UserMessage>{fusesNotEqual});
  EXPECT_EQ(state.operationFailed, kFalse);

  sim.chip().ids[1] ^= 0x0100;
  sim.chip().ids[2] ^= 0x0001;
  test::RecordingUi idUi;
  EXPECT_EQ(cmdCompare(state, idUi).outcome, OpOutcome::kFailed);
  ASSERT_EQ(idUi.messages.size(), 2U);
  EXPECT_EQ(idUi.messages[0].text, op_text::kPicNotEqualAt + AddressText(0x2002));
  EXPECT_EQ(idUi.messages[1], fusesNotEqual);
  EXPECT_TRUE(sim.PoweredDown());
}

}  // namespace
}  // namespace quorvi

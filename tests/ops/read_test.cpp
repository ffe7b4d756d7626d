// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/read.h"

#include <gtest/gtest.h>

#include "ops/op_texts.h"
#include "support/ops_fixtures.h"
#include "support/recording_ui.h"
#include "support/sim_app.h"
#include "util/arith.h"

namespace quorvi {
namespace {

struct ReadCase {
  std::string chip;
};

class ReadEveryFamily : public ::testing::TestWithParam<ReadCase> {};

TEST_P(ReadEveryFamily, ImageHoldsWhatTheChipHolds) {
  const sim::ChipState loaded = test::PatternedChip(GetParam().chip);
  test::SimApp sim(loaded, GetParam().chip);
  test::RecordingUi ui;
  const AppState& state = sim.state();
  const OpResult result = cmdRead(sim.state(), ui, read_mode::kFullUnmasked);

  ASSERT_TRUE(result.ok());
  EXPECT_GT(result.durationNs, 0);
  const int32_t n = state.device.programSize;
  ASSERT_EQ(static_cast<size_t>(n) + 1, loaded.program.size());
  for (int32_t i = 0; i <= n; ++i) {
    ASSERT_EQ(state.image.programBuffer[static_cast<size_t>(i)], loaded.program[static_cast<size_t>(i)])
        << "word " << i;
  }
  for (size_t j = 0; j < loaded.data.size(); ++j) {
    ASSERT_EQ(state.image.dataBuffer[j], loaded.data[j]) << "data byte " << j;
  }
  for (size_t k = 0; k < 4; ++k) EXPECT_EQ(state.image.idWords[k], loaded.ids[k]) << "ID " << k;
  EXPECT_EQ(state.image.configWord, loaded.config);
  EXPECT_TRUE(sim.PoweredDown());
  EXPECT_FALSE(ui.progressVisible);
  EXPECT_FALSE(ui.statusVisible);
  ASSERT_FALSE(ui.statusTexts.empty());
  EXPECT_EQ(ui.statusTexts.front(), op_text::kReading);
  EXPECT_TRUE(ui.messages.empty());
  ASSERT_FALSE(ui.progress.empty());
  EXPECT_DOUBLE_EQ(*std::max_element(ui.progress.begin(), ui.progress.end()), 100.0);
}

INSTANTIATE_TEST_SUITE_P(Families, ReadEveryFamily,
                         ::testing::Values(ReadCase{"16F84A"}, ReadCase{"16F648A"}, ReadCase{"16F877"},
                                           ReadCase{"12F675"}, ReadCase{"16F877A"}, ReadCase{"16F818"},
                                           ReadCase{"16C73"}, ReadCase{"14000"}, ReadCase{"12C508A"},
                                           ReadCase{"16C505"}),
                         [](const auto& param) { return "PIC" + param.param.chip; });

}  // namespace
}  // namespace quorvi

// SPDX-License-Identifier: GPL-3.0-or-later
// The operations over the bit-bang adapters: the board must not tell them
// from the parallel port, whatever wiring the pin map describes.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "ops/blank_erase.h"
#include "ops/compare.h"
#include "ops/read.h"
#include "ops/write.h"
#include "support/board_gpio.h"
#include "support/board_wiring.h"
#include "support/fake_ftdi.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

struct Adapter {
  const char* name;
  test::PortWiring wiring;
};

std::vector<Adapter> Adapters() {
  return {{"ft232r preset", test::FtdiWiring(PresetPinMap("ft232r").value(), FtdiChip::kFt232r)},
          {"ft232h inverted", test::FtdiWiring(test::InvertedFt232hWiring(), FtdiChip::kFt232h)},
          {"rpi preset", test::GpioWiring(PresetPinMap("rpi").value())},
          {"rpi inverted", test::GpioWiring(test::InvertedRpiWiring())}};
}

// The levels the lines went through: a write that changes nothing is no event on a wire.
std::vector<uint8_t> LineChanges(std::vector<uint8_t> writes) {
  writes.erase(std::unique(writes.begin(), writes.end()), writes.end());
  return writes;
}

TEST(OverAdapters, TheBoardSeesTheLinesOfTheParallelPort) {
  const auto writeAndVerify = [](const test::PortWiring& wiring) {
    test::SimApp sim(test::BlankChip("16F84A"), "16F84A", false, VirtualClock::kDefaultPortAccessNs, wiring);
    test::PatternImage(sim.state());
    EXPECT_TRUE(cmdWrite(sim.state(), sim.ui).ok());
    EXPECT_TRUE(cmdCompare(sim.state(), sim.ui).ok());
    return LineChanges(sim.TakeWrites());
  };
  const std::vector<uint8_t> parallel = writeAndVerify({});
  ASSERT_GT(parallel.size(), 10000U);
  for (const Adapter& adapter : Adapters()) EXPECT_EQ(writeAndVerify(adapter.wiring), parallel) << adapter.name;
}

TEST(OverAdapters, A24CxxIsWrittenVerifiedReadErasedAndBlankChecked) {
  for (const Adapter& adapter : Adapters()) {
    SCOPED_TRACE(adapter.name);
    test::SimApp sim(test::BlankChip("24C16"), "24C16", false, 0, adapter.wiring);
    AppState& state = sim.state();
    std::vector<int32_t>& image = state.image.programBuffer;
    const auto bytes = static_cast<long>(state.device.programSize) + 1;
    for (long a = 0; a < bytes; ++a) image[static_cast<size_t>(a)] = static_cast<int32_t>((a * 7 + a / 256 + 1) & 0xFF);
    const std::vector<int32_t> written(image.begin(), image.begin() + bytes);
    ASSERT_TRUE(cmdWrite(state, sim.ui).ok());
    EXPECT_TRUE(std::equal(written.begin(), written.end(), sim.chip().program.begin()));
    EXPECT_TRUE(cmdCompare(state, sim.ui).ok());
    std::fill_n(image.begin(), bytes, 0);
    ASSERT_TRUE(cmdRead(state, sim.ui, read_mode::kFull).ok());
    EXPECT_EQ(std::vector<int32_t>(image.begin(), image.begin() + bytes), written);
    EXPECT_TRUE(cmdFill(state, sim.ui, false).ok());
    EXPECT_TRUE(cmdBlank(state, sim.ui).ok());
    EXPECT_TRUE(sim.ui.messages.empty()) << sim.ui.messages.front().text;
  }
}

}  // namespace
}  // namespace quorvi

// SPDX-License-Identifier: GPL-3.0-or-later
// Every PIC of the shipped catalogue through erase, blank check, write,
// verify and read on chips held to their documents, on a port that costs
// nothing (only the protocol's own waits and holds keep the minimums) and
// over the FTDI and GPIO adapters; and each documented minimum shown to
// matter: the same run with that one wait cut below it fails.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "device/part_facts.h"
#include "hw/delay.h"
#include "image/image_reader.h"
#include "ops/blank_erase.h"
#include "ops/compare.h"
#include "ops/config_write.h"
#include "ops/op_texts.h"
#include "ops/read.h"
#include "ops/write.h"
#include "sim/chip_info.h"
#include "support/board_gpio.h"
#include "support/board_wiring.h"
#include "support/devices.h"
#include "support/fake_ftdi.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

constexpr uint64_t kFactorySeed = 7;

// How the program reaches the board.
enum class Route { kPort, kFtdi, kFtdiInverted, kGpio, kGpioInverted };

struct Run {
  std::string part;
  Route route = Route::kPort;
};

void PrintTo(const Run& run, std::ostream* out) { *out << run.part; }

// Every catalogue PIC, or with `onePerFamily` the first of each family.
std::vector<Run> CataloguePics(Route route, bool onePerFamily = false) {
  std::vector<Run> runs;
  std::vector<Family> seen;
  for (const DeviceDescriptor& d : test::ShippedCatalogue()) {
    if (d.family == Family::kFuture || d.family == Family::kSerialEeprom) continue;
    if (onePerFamily && std::find(seen.begin(), seen.end(), d.family) != seen.end()) continue;
    seen.push_back(d.family);
    runs.push_back({d.name, route});
  }
  // The one part writing two words a cycle; no catalogue line lists it yet (SimApp selects it by hand).
  if (onePerFamily) runs.push_back({"16F72", route});
  return runs;
}

test::PortWiring WiringFor(Route route) {
  switch (route) {
    case Route::kPort:
      return {};
    case Route::kFtdi:
      return test::FtdiWiring(PresetPinMap("ft232r").value(), FtdiChip::kFt232r);
    case Route::kFtdiInverted:
      return test::FtdiWiring(test::InvertedFt232hWiring(), FtdiChip::kFt232h);
    case Route::kGpio:
      return test::GpioWiring(PresetPinMap("rpi").value());
    case Route::kGpioInverted:
      return test::GpioWiring(test::InvertedRpiWiring());
  }
  return {};
}

const char* ExampleFor(const std::string& name) {
  if (name == "16F84A") return "eeprom_16f84a.inhx32.hex";
  if (name == "16F628A") return "eeprom_16f628a.inhx32.hex";  // MCLR off, internal oscillator
  if (name == "12C508A") return "blink_12c508a.inhx32.hex";
  if (name == "18F452") return "blink_18f452.inhx32.hex";
  return nullptr;
}

// A gpasm example where one exists, as it stands; otherwise distinct words,
// bytes and IDs and an unprotected configuration word.
void FillImage(AppState& state) {
  const DeviceDescriptor& d = state.device;
  if (const char* example = ExampleFor(d.name)) {
    ASSERT_TRUE(LoadImageFile(std::string(QUORVI_EXAMPLES_DIR) + "/" + example, false, d, state.image).loaded);
    return;
  }
  test::PatternImage(state);
  // The write leaves the last word of these parts to the factory, the verify compares it.
  if (d.oscList == 5 || d.oscList == 10) state.image.programBuffer[static_cast<size_t>(d.programSize)] = 0x3FFF;
}

bool IsFactoryCell(const sim::ChipInfo& info, const DeviceDescriptor& d, int32_t address) {
  if (address > WordBound(d)) return true;
  if (info.calibration == sim::Calibration::kBlock) {
    return address >= info.calibrationFirst && address <= info.calibrationLast;
  }
  return info.calibration != sim::Calibration::kNone && address == d.programSize;
}

// Erase (flash parts), blank check, write, verify, read. Returns the first
// step that did not end well, or "" when all did.
std::string EveryStep(test::SimApp& sim) {
  AppState& state = sim.state();
  const bool flash = state.device.traits().flash14 || state.device.core() == Core::kPic18;
  FillImage(state);
  test::RecordingUi& ui = sim.ui;
  const auto said = [&ui](const char* step) {
    return std::string(step) + (ui.messages.empty() ? "" : ": " + ui.messages.front().text);
  };
  if (flash && !cmdFill(state, ui, false).ok()) return said("erase");
  if (!cmdBlank(state, ui).ok() || !ui.messages.empty()) return said("blank check");
  // Erase first, as production does: the band-gap parts keep their factory bits that way.
  state.options.chkErase = flash;
  state.options.chkTurbo = true;  // over-programming has its own test; the large EPROMs write fast
  if (!cmdWrite(state, ui).ok() || ui.statusBar != op_text::kOperationOk) return said("write");
  if (!cmdCompare(state, ui).ok()) return said("verify");
  const DeviceDescriptor& d = state.device;
  const MemoryImage written = state.image;
  MemoryImage& read = state.image;
  std::fill(read.programBuffer.begin(), read.programBuffer.end(), 0);
  std::fill(read.dataBuffer.begin(), read.dataBuffer.end(), int16_t{0});
  read.idWords = {};
  read.configWord = 0;
  if (!cmdRead(state, ui, read_mode::kFull).ok()) return said("read");
  const int32_t last = d.oscList == 2 || d.oscList == 3 || d.oscList == 7 ? d.programSize - 1 : WordBound(d);
  const int mask = d.family == Family::kPic18 ? 0xFFFF : 0x3FFF;
  for (size_t i = 0; i <= static_cast<size_t>(last); ++i) {
    if ((read.programBuffer[i] & mask) != (written.programBuffer[i] & mask)) return "read at " + std::to_string(i);
  }
  for (size_t j = 0; j < static_cast<size_t>(d.dataBytes); ++j) {
    if ((read.dataBuffer[j] & 0xFF) != (written.dataBuffer[j] & 0xFF)) return "read data at " + std::to_string(j);
  }
  for (size_t k = 0; k < 4; ++k) {
    if (read.idWords[k] != written.idWords[k]) return "read ID " + std::to_string(k);
  }
  if (d.family != Family::kPic18) {  // the 18F bytes have their own test
    const int config = ConfigCompareMask(d);
    if ((read.configWord & config) != (written.configWord & config)) return "read configuration";
  }
  if (!ui.messages.empty()) return "a message: " + ui.messages[0].text;
  return "";
}

class EveryPic : public ::testing::TestWithParam<Run> {};

TEST_P(EveryPic, ErasesChecksWritesVerifiesAndReads) {
  const std::string name = GetParam().part;
  const sim::ChipInfo& info = *sim::FindChip(name).value();
  const sim::ChipState factory = sim::FactoryState(info, kFactorySeed);
  test::SimApp sim(factory, name, false, 0, WiringFor(GetParam().route));
  ASSERT_EQ(EveryStep(sim), "");
  EXPECT_TRUE(sim.PoweredDown());
  sim.board().Sync();

  const DeviceDescriptor& d = sim.state().device;
  const MemoryImage& image = sim.state().image;
  const sim::ChipState& chip = sim.chip();
  const int mask = d.family == Family::kPic18 ? 0xFFFF : 0x3FFF;
  for (int32_t i = 0; i < info.programWords; ++i) {
    const auto at = static_cast<size_t>(i);
    const int expected = IsFactoryCell(info, d, i) ? factory.program[at] : image.programBuffer[at] & mask;
    ASSERT_EQ(chip.program[at], expected) << AddressText(i);
  }
  for (size_t j = 0; j < chip.data.size(); ++j) ASSERT_EQ(chip.data[j], image.dataBuffer[j] & 0xFF) << "data " << j;
  if (d.family != Family::kPic18) {
    const int config = ConfigCompareMask(d);
    EXPECT_EQ(chip.config & config, image.configWord & config);
  }

  // A cell that changed afterwards is found.
  const int32_t changed = d.programSize / 3;
  sim.chip().program[static_cast<size_t>(changed)] ^= 0x0001;
  test::RecordingUi differ;
  EXPECT_EQ(cmdCompare(sim.state(), differ).outcome, OpOutcome::kFailed);
  ASSERT_FALSE(differ.messages.empty());
  EXPECT_EQ(differ.messages[0].text, op_text::kPicNotEqualAt + AddressText(changed));
}

std::string RunName(const ::testing::TestParamInfo<Run>& p) { return "PIC" + p.param.part; }

INSTANTIATE_TEST_SUITE_P(Catalogue, EveryPic, ::testing::ValuesIn(CataloguePics(Route::kPort)), RunName);
INSTANTIATE_TEST_SUITE_P(Gpio, EveryPic, ::testing::ValuesIn(CataloguePics(Route::kGpio)), RunName);
// A wait inside an FTDI queue is a byte per microsecond through the fake chip: a
// whole catalogue would take minutes, so one part of each family.
INSTANTIATE_TEST_SUITE_P(Ftdi, EveryPic, ::testing::ValuesIn(CataloguePics(Route::kFtdi, true)), RunName);
// Inverted lines are the port's business, not a family's: one part of each shows them.
INSTANTIATE_TEST_SUITE_P(FtdiInverted, EveryPic, ::testing::ValuesIn(CataloguePics(Route::kFtdiInverted, true)),
                         RunName);
INSTANTIATE_TEST_SUITE_P(GpioInverted, EveryPic, ::testing::ValuesIn(CataloguePics(Route::kGpioInverted, true)),
                         RunName);

// A planner that keeps every wait but `target`, which it cuts to the longest
// request whose real wait stays below nine tenths of its documented minimum.
WaitPlanner Cutting(const MinimumWait* target) {
  return [target](float requestedMs, const MinimumWait& minimum) {
    if (&minimum != target) return LengthenedWait(requestedMs, minimum);
    float request = 0.0F;
    for (int tenths = 1; RealDelayMs(static_cast<float>(tenths) / 10.0F) < 0.9 * minimum.ms; ++tenths) {
      request = static_cast<float>(tenths) / 10.0F;
    }
    return request;
  };
}

// One part of each programming algorithm, and every minimum its operations wait for.
struct CutCase {
  const char* part;
  MinimumWait ProgrammingTiming::*wait;
  const char* what;
};

TEST(ShortenedWaits, EachDocumentedMinimumIsOneTheChipsEnforce) {
  using T = ProgrammingTiming;
  const CutCase cases[] = {
      {"16F84A", &T::program, "program"},         {"16F84A", &T::data, "data"},
      {"16F84A", &T::protectErase, "erase"},      {"16F628", &T::program, "program"},
      {"16F628", &T::data, "data"},               {"16F628", &T::protectErase, "erase"},
      {"16F628A", &T::program, "program"},        {"16F628A", &T::data, "data"},
      {"16F628A", &T::bulkErase, "bulk erase"},   {"12F675", &T::program, "program"},
      {"12F675", &T::data, "data"},               {"12F675", &T::bulkErase, "bulk erase"},
      {"16F877", &T::program, "program"},         {"16F877", &T::data, "data"},
      {"16F877", &T::protectErase, "erase"},      {"16F877A", &T::program, "configuration"},
      {"16F877A", &T::programOnly, "program"},    {"16F877A", &T::chipErase, "chip erase"},
      {"16F818", &T::programOnly, "program"},     {"16F818", &T::chipErase, "chip erase"},
      {"16C73", &T::pulse, "pulse"},              {"12C508A", &T::pulse, "pulse"},
      {"18F452", &T::hold18, "P9"},               {"18F452", &T::discharge18, "P10"},
      {"18F452", &T::bulkErase18, "P11"},
  };
  for (const CutCase& c : cases) {
    SCOPED_TRACE(std::string(c.part) + ": " + c.what);
    // A programmed flash chip, so that an erase cut short shows; EPROM cells only go from 1 to 0.
    const sim::ChipInfo& info = *sim::FindChip(c.part).value();
    const bool eprom = info.kind == sim::ChipClass::kOtp12 || info.kind == sim::ChipClass::kOtp14;
    test::SimApp sim(eprom ? sim::FactoryState(info, kFactorySeed) : test::PatternedChip(c.part), c.part, false, 0);
    sim.rulesMayBreak = true;
    const ProgrammingTiming& timing = TimingOf(FactsFor(sim.state().device).timing);
    ASSERT_GT((timing.*c.wait).ms, 0.0F);
    sim.state().waitPlanner = Cutting(&(timing.*c.wait));
    EXPECT_NE(EveryStep(sim), "");
    EXPECT_FALSE(sim.board().Problems().empty()) << "no rule broken";
  }
}

}  // namespace
}  // namespace quorvi

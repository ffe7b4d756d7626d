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

const std::string kCatalogue = std::string(QUORVI_DATA_DIR) + "/device.ini";
constexpr uint64_t kFactorySeed = 7;

std::string Trim(const std::string& text) {
  const auto last = text.find_last_not_of(' ');
  return last == std::string::npos ? std::string() : text.substr(0, last + 1);
}

// Every PIC of the shipped catalogue the 12- and 14-bit write covers.
std::vector<std::string> CataloguePics() {
  std::vector<std::string> names;
  DeviceDescriptor scratch;
  auto list = FillDeviceList(kCatalogue, scratch);
  if (!list.ok()) return {"catalogue missing"};
  for (const std::string& entry : list.value()) {
    DeviceDescriptor d;
    const std::string name = Trim(entry);
    if (!LoadDeviceRecord(kCatalogue, name, d).ok()) continue;
    if (d.family == family::kFuture || d.family == family::kSerialEeprom || d.family == family::kPic18) continue;
    names.push_back(name);
  }
  return names;
}

const char* ExampleFor(const std::string& name) {
  if (name == "16F84A") return "eeprom_16f84a.inhx32.hex";
  if (name == "16F628A") return "eeprom_16f628a.inhx32.hex";
  if (name == "12C508A") return "blink_12c508a.inhx32.hex";
  return nullptr;
}

const sim::ChipInfo& Info(const std::string& name) { return *sim::FindChip(name).value(); }

// The image a write is given: a gpasm example where one exists, otherwise
// distinct words, bytes and IDs; an unprotected configuration word.
void FillImage(test::SimApp& sim, const std::string& name) {
  AppState& state = sim.state();
  const DeviceDescriptor& d = state.device;
  MemoryImage& image = state.image;
  const sim::ChipInfo& info = Info(name);
  const int blank = sim::BlankWord(info);
  if (const char* example = ExampleFor(name)) {
    const LoadReport report =
        LoadImageFile(std::string(QUORVI_EXAMPLES_DIR) + "/" + example, false, d, image);
    ASSERT_TRUE(report.loaded) << example;
    // gpasm sets the unimplemented configuration bits, which read back 0:
    // the configuration write would report them.
    image.configWord &= info.configBits;
    return;
  }
  for (int32_t i = 0; i <= d.programSize; ++i) {
    image.programBuffer[static_cast<size_t>(i)] = static_cast<int32_t>((i * 37 + 5) % blank);
  }
  for (int32_t j = 0; j < d.dataBytes; ++j) image.dataBuffer[static_cast<size_t>(j)] = static_cast<int16_t>((j * 11 + 1) % 0xFF);
  const int idMask = info.kind == sim::ChipClass::kOtp12 ? 0xF : 0x3FFF;
  image.idWords = {0x1234 & idMask, 0x0567 & idMask, 0x0009 & idMask, 0x2ABC & idMask, 0};
  // All ones but the watchdog and the oscillator's low bit: no protection bit cleared.
  image.configWord = blank & info.configBits & ~0x5;
  if (d.fuseMap == 21) image.configWord &= 0x01FF;
  // The write leaves the last word of these parts alone while the verify
  // compares it: a program that uses it cannot verify.
  if (d.oscList == 10) image.programBuffer[static_cast<size_t>(d.programSize)] = blank;
}

// The program words the chip must hold: the image, except the factory's
// calibration cells.
bool IsFactoryCell(const sim::ChipInfo& info, const DeviceDescriptor& d, int32_t address) {
  if (address > WordBound(d)) return true;
  if (info.calibration == sim::Calibration::kNone) return false;
  if (info.calibrationFirst >= 0) return address >= info.calibrationFirst && address <= info.calibrationLast;
  return address == d.programSize;
}

class WriteEveryPic : public ::testing::TestWithParam<std::string> {};

TEST_P(WriteEveryPic, ChipHoldsTheImageAndVerifyFindsAChangedCell) {
  const std::string name = GetParam();
  const sim::ChipInfo& info = Info(name);
  const sim::ChipState factory = sim::FactoryState(info, kFactorySeed);
  test::SimApp sim(factory, name);
  FillImage(sim, name);
  AppState& state = sim.state();
  const DeviceDescriptor& d = state.device;
  const MemoryImage image = state.image;

  // Erase first, as production does: the band-gap parts keep their factory bits that way.
  state.options.chkErase = true;
  // Over-programming has its own test; without it the large EPROMs write fast.
  state.options.chkTurbo = true;
  test::RecordingUi ui;
  const OpResult written = cmdWrite(state, ui);
  ASSERT_EQ(written.outcome, OpOutcome::kOk) << (ui.messages.empty() ? "" : ui.messages[0].text);
  EXPECT_TRUE(ui.messages.empty());
  EXPECT_EQ(ui.statusBar, op_text::kOperationOk);
  EXPECT_TRUE(sim.PoweredDown());
  EXPECT_GT(written.durationNs, 0);
  sim.board().Sync();

  const sim::ChipState& chip = sim.chip();
  for (int32_t i = 0; i < info.programWords; ++i) {
    const int expected = IsFactoryCell(info, d, i) ? factory.program[static_cast<size_t>(i)]
                                                   : image.programBuffer[static_cast<size_t>(i)];
    ASSERT_EQ(chip.program[static_cast<size_t>(i)], expected) << name << " at " << AddressText(i);
  }
  for (size_t j = 0; j < chip.data.size(); ++j) {
    ASSERT_EQ(chip.data[j], image.dataBuffer[j] & 0xFF) << name << " data " << j;
  }
  for (size_t k = 0; k < 4; ++k) EXPECT_EQ(chip.ids[k], image.idWords[k]) << name << " ID " << k;
  const int bandgap = d.fuseMap == 21 ? (factory.config & 0x3000) : 0;
  EXPECT_EQ(chip.config, (image.configWord | bandgap) & info.configBits) << name;

  test::RecordingUi verifyUi;
  EXPECT_EQ(cmdCompare(state, verifyUi).outcome, OpOutcome::kOk) << name;
  EXPECT_TRUE(verifyUi.messages.empty()) << verifyUi.messages.front().text;

  const int32_t changed = d.programSize / 3;
  sim.chip().program[static_cast<size_t>(changed)] ^= 0x0001;
  test::RecordingUi differUi;
  EXPECT_EQ(cmdCompare(state, differUi).outcome, OpOutcome::kFailed);
  ASSERT_FALSE(differUi.messages.empty());
  EXPECT_EQ(differUi.messages[0],
            (UserMessage{op_text::kPicNotEqualAt + AddressText(changed), title::kQuorvi2Error, MessageIcon::kNone}));
  EXPECT_EQ(state.operationFailed, kTrue);
  EXPECT_TRUE(sim.PoweredDown());
}

class WriteEvery18F : public ::testing::TestWithParam<std::string> {};

TEST_P(WriteEvery18F, ChipHoldsTheProgramAndDataAndVerifyFindsAChangedWord) {
  const std::string name = GetParam();
  test::SimApp sim(name);
  AppState& state = sim.state();
  const DeviceDescriptor& d = state.device;
  MemoryImage& image = state.image;
  // The chip's configuration bytes as the write must leave them (CONFIG7 erased).
  std::vector<int> config{0x00, 0x22, 0x0E, 0x09, 0x00, 0x00, 0x81, 0x00, 0x0F, 0xC0, 0x0F, 0xE0, 0x0F, 0x40};
  if (name == "18F452") {
    const LoadReport report =
        LoadImageFile(std::string(QUORVI_EXAMPLES_DIR) + "/blink_18f452.inhx32.hex", false, d, image);
    ASSERT_TRUE(report.loaded);
    // The example's first configuration record starts at an odd address, so
    // the registers get what the image made of it, shifted by one byte.
    config = {0x00, 0x04, 0x0E, 0x00, 0x00, 0x01, 0x85, 0x00, 0x0F, 0xC0, 0x0F, 0xE0, 0x0F, 0x40};
  } else {
    for (int32_t i = 0; i <= d.programSize; ++i) {
      // Whole erased runs stay erased, so the write skips some blocks.
      image.programBuffer[static_cast<size_t>(i)] = (i / 64) % 3 == 2 ? 0xFFFF : (i * 0x3B1 + 0x1234) & 0xFFFF;
    }
    image.config18Bytes = {0xE2, 0x00, 0x09, 0x0E, 0x00, 0x00, 0x00, 0x81, 0xC0, 0x0F, 0xE0, 0x0F, 0xFF, 0xFF};
  }
  image.idWords = {0x1234, 0xABCD, 0x00FF, 0xFF00, 0};
  for (int32_t j = 0; j < d.dataBytes; ++j) image.dataBuffer[static_cast<size_t>(j)] = static_cast<int16_t>((j * 7 + 3) & 0xFF);

  test::RecordingUi ui;
  const OpResult written = cmdWrite(state, ui);
  ASSERT_EQ(written.outcome, OpOutcome::kOk) << (ui.messages.empty() ? "" : ui.messages[0].text);
  EXPECT_EQ(ui.statusBar, op_text::kOperationOk);
  EXPECT_TRUE(sim.PoweredDown());
  sim.board().Sync();
  for (int32_t i = 0; i <= d.programSize; ++i) {
    ASSERT_EQ(sim.chip().program[static_cast<size_t>(i)], image.programBuffer[static_cast<size_t>(i)] & 0xFFFF)
        << name << " at " << AddressText(i);
  }
  for (size_t j = 0; j < sim.chip().data.size(); ++j) ASSERT_EQ(sim.chip().data[j], image.dataBuffer[j]) << j;
  EXPECT_EQ(sim.chip().ids, (std::array<int, 4>{0x1234, 0xABCD, 0x00FF, 0xFF00}));
  EXPECT_EQ(sim.chip().configBytes, config);

  test::RecordingUi verifyUi;
  EXPECT_TRUE(cmdCompare(state, verifyUi).ok()) << name;
  const int32_t changed = d.programSize / 3;
  sim.chip().program[static_cast<size_t>(changed)] ^= 0x0100;
  test::RecordingUi differUi;
  EXPECT_EQ(cmdCompare(state, differUi).outcome, OpOutcome::kFailed);
  ASSERT_FALSE(differUi.messages.empty());
  EXPECT_EQ(differUi.messages[0].text, op_text::kPicNotEqualAt + AddressText(changed));
  EXPECT_EQ(state.operationFailed, kTrue);
}

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

INSTANTIATE_TEST_SUITE_P(Catalogue, WriteEvery18F, ::testing::Values("18F252", "18F258", "18F452", "18F458"));

INSTANTIATE_TEST_SUITE_P(Catalogue, WriteEveryPic, ::testing::ValuesIn(CataloguePics()),
                         [](const ::testing::TestParamInfo<std::string>& p) { return "PIC" + p.param; });

}  // namespace
}  // namespace quorvi

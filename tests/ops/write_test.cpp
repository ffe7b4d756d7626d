// SPDX-License-Identifier: GPL-3.0-or-later
// The write and the verify beyond what every_part_test runs every part
// through: questions, quiet mode, margins, failures and the odd parts.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "image/open_command.h"
#include "image/serial_numbering.h"
#include "ops/compare.h"
#include "ops/op_texts.h"
#include "ops/read.h"
#include "ops/write.h"
#include "sim/eprom_chip.h"
#include "support/golden.h"
#include "support/line_trace.h"
#include "support/sim_app.h"

namespace quorvi {
namespace {

constexpr int kBlank14 = 0x3FFF;

UserMessage NotEqualAt(const char* address, const char* detail) {
  return {std::string("PIC not equal at ") + address, title::kQuorvi2Error, MessageIcon::kNone, detail};
}

bool Shown(const test::RecordingUi& ui, const char* text) {
  return std::find(ui.statusTexts.begin(), ui.statusTexts.end(), text) != ui.statusTexts.end();
}

// A write that fails, or a verify after a good write that finds a
// difference (write_transcripts.txt): its messages, or in quiet mode its log
// line in place of the old log, which a run that shows its failure leaves alone.
TEST(WriteAndVerify, AFailureSaysWhereOrLogsItsLine) {
  using Change = void (*)(sim::ChipState&);
  struct Case {
    const char* name;
    const char* chip;
    int config;
    Change fault;   // before the write
    Change change;  // before the verify; null: the write is to fail
    int32_t stuck = -1;  // a word that never programs, after its 26 cycles
  };
  const Change none = [](sim::ChipState&) {};
  const Case cases[] = {
      {"a word that never programs", "16C61", 0x3FF1, [](sim::ChipState& c) { c.faults.neverProgram = {0x1A3}; },
       nullptr, 0x1A3},
      {"a configuration word that never programs", "16F84A", 0x3FF1,
       [](sim::ChipState& c) { c.faults.neverProgram = {0x2007}; }, nullptr},
      {"the last differing ID word", "16F84A", 0x3FF1, none, [](sim::ChipState& c) { c.ids[1] = 7; c.ids[2] = 8; }},
      {"a program word", "16F84A", 0x3FF1, none, [](sim::ChipState& c) { c.program[0x123] ^= 0x10; }},
      {"a word of a part writing two words a cycle", "16F72", 0x3FB2, none,
       [](sim::ChipState& c) { c.program[0x124] ^= 0x10; }},
      // A configuration difference is reported without failing the operation.
      {"the configuration word", "16F84A", 0x3FF1, none, [](sim::ChipState& c) { c.config ^= 0x0002; }},
      {"the calibration word of oscillator list 2", "12C508A", 0xFEA, none,
       [](sim::ChipState& c) { c.program.back() ^= 0x0001; }},
      {"the last word of oscillator list 10", "16F628", 0x3F72, none,
       [](sim::ChipState& c) { c.program.back() ^= 0x0001; }},
      {"an 18F ID word", "18F452", 0, none, [](sim::ChipState& c) { c.ids[1] ^= 0x0100; c.ids[2] ^= 0x0001; }},
      {"an 18F register: CPD programmed", "18F452", 0, none, [](sim::ChipState& c) { c.configBytes[9] = 0x40; }},
      {"an 18F register: EBTR0 programmed", "18F452", 0, none, [](sim::ChipState& c) { c.configBytes[12] = 0x0E; }},
  };
  const auto golden = test::DataSections("write_transcripts.txt");
  for (const Case& c : cases) {
    for (const bool quiet : {false, true}) {
      const std::string name = std::string(c.name) + (quiet ? ", quiet" : "");
      SCOPED_TRACE(name);
      sim::ChipState chip = test::BlankChip(c.chip);
      c.fault(chip);
      test::SimApp sim(chip, c.chip);
      test::PatternImage(sim.state());
      sim.state().image.configWord = c.config;
      sim.home.Write("quorvi2.err", "an old line\nanother\n");
      sim.state().commandLine.quiet = quiet && c.change == nullptr;
      OpOutcome outcome = cmdWrite(sim.state(), sim.ui).outcome;
      if (c.change != nullptr) {
        ASSERT_EQ(outcome, OpOutcome::kOk) << (sim.ui.messages.empty() ? "" : sim.ui.messages[0].text);
        c.change(sim.chip());
        sim.state().commandLine.quiet = quiet;
        sim.ui = test::RecordingUi();
        outcome = cmdCompare(sim.state(), sim.ui).outcome;
      }
      sim.leftPowered = quiet && c.change != nullptr;  // a failed quiet compare leaves the port as it stands
      test::ExpectSection(golden, name, sim.Transcript(outcome));
      if (c.stuck >= 0) {
        EXPECT_EQ(sim.state().cycleTable[static_cast<size_t>(c.stuck)], 26);
      }
    }
  }
}

struct OtpRun {
  std::ptrdiff_t beginProgramming;
  int cycles;        // word 0 took
  int cyclesNeeded;  // as the chip has it
};

OtpRun WriteOtp(int word0, bool turbo) {
  test::SimApp sim("16C61");
  AppState& state = sim.state();
  std::fill(state.image.programBuffer.begin(), state.image.programBuffer.end(), kBlank14);
  state.image.programBuffer[0] = word0;
  state.image.idWords = {kBlank14, kBlank14, kBlank14, kBlank14, 0};
  state.image.configWord = 0x3FF1;
  state.options.chkTurbo = turbo;
  (void)sim.TakeWrites();
  EXPECT_TRUE(cmdWrite(state, sim.ui).ok());
  EXPECT_EQ(sim.chip().program[0], word0);
  const auto commands = test::Words(sim.Commands());
  const auto* chip = dynamic_cast<const sim::EpromChip*>(sim.board().chip());
  return {std::count(commands.begin(), commands.end(), std::to_string(cmd::kBeginProgramming)), state.cycleTable[0],
          chip == nullptr ? -1 : chip->PulsesNeeded(0)};
}

TEST(Write, OtpWordsAreOverProgrammedThreeTimesTheirCyclesUnlessTurbo) {
  const OtpRun normal = WriteOtp(0x2A55, false);
  const OtpRun turbo = WriteOtp(0x2A55, true);
  EXPECT_GE(normal.cycles, 1);
  EXPECT_EQ(normal.cycles, normal.cyclesNeeded);
  EXPECT_EQ(turbo.cycles, normal.cycles);
  EXPECT_EQ(normal.beginProgramming - turbo.beginProgramming, 3 * normal.cycles);
  // A blank image: only the configuration word's hundred rounds program anything.
  EXPECT_LE(WriteOtp(kBlank14, true).beginProgramming, 100 + 8);
}

// The 12-bit calibration word goes only into an unprogrammed cell, and only
// a MOVLW. The 16F62x leave their last word out for the calibration
// (oscList 10) and run one address further by name: the two cancel.
TEST(Write, TheLastWord) {
  struct Case {
    const char* chip;
    bool factoryCalibrated;
    int word;
    bool programmed;
  };
  for (const Case& c : {Case{"12C508A", true, 0xC42, false}, {"12C508A", false, 0xC42, true},
                        {"12C508A", false, 0x923, false}, {"16F628", false, 0x0123, true},
                        {"16F627A", false, 0x0123, true}, {"16F84A", false, 0x0123, true}}) {
    SCOPED_TRACE(std::string(c.chip) + " " + std::to_string(c.word));
    const sim::ChipInfo& info = *sim::FindChip(c.chip).value();
    const sim::ChipState chip = c.factoryCalibrated ? sim::FactoryState(info, 3) : sim::BlankState(info);
    test::SimApp sim(chip, c.chip);
    test::PatternImage(sim.state());
    const auto last = static_cast<size_t>(sim.state().device.programSize);
    sim.state().image.programBuffer[last] = c.word;
    sim.state().image.programBuffer[last + 1] = kBlank14;
    ASSERT_TRUE(cmdWrite(sim.state(), sim.ui).ok());
    EXPECT_EQ(sim.chip().program[last], c.programmed ? c.word : chip.program[last]);
    EXPECT_EQ(sim.state().cycleTable[last] > 0, c.programmed);
    EXPECT_EQ(sim.chip().program[0], sim.state().image.programBuffer[0]);
  }
}

TEST(Write, ThreeChipsGetThreeSerialNumbersAndTheCompanionFileAdvances) {
  test::SimApp sim("16F84A");
  AppState& state = sim.state();
  test::PatternImage(state);
  state.imagePath = (sim.home.path() / "board.HEX").string();
  state.serial = {.serialNumber = 0x010203, .startAddress = 0x10, .size = 3, .increment = 5, .switchedOn = true};
  ASSERT_TRUE(ApplySerial(state.serial, state.device, state.image, [] { return 0.0; }).ok());
  for (int n = 0; n < 3; ++n) {
    (void)sim.board().Remove();
    sim.board().Insert(std::move(sim::MakeChip(test::BlankChip("16F84A")).value()));
    ASSERT_TRUE(cmdWrite(state, sim.ui).ok()) << n;
    const int number = 0x010203 + 5 * n;
    for (size_t byte = 0; byte < 3; ++byte) {
      EXPECT_EQ(sim.chip().program[0x10 + byte], 0x3400 + ((number >> (8 * byte)) & 0xFF)) << n;
    }
  }
  EXPECT_EQ(state.serial.serialNumber, 0x010203 + 15);
  SerialState stored;
  ASSERT_TRUE(ReadCompanionFile(CompanionPath(state.imagePath), stored));
  // The file holds the number the next chip gets.
  EXPECT_EQ(stored.serialNumber, 0x010203 + 15);
  EXPECT_EQ(stored.increment, 5);
}

// A protected image or a chip that is not blank: the question, or in quiet mode the log line.
TEST(Write, AsksBeforeWritingOrLogsInQuietMode) {
  const auto golden = test::DataSections("write_transcripts.txt");
  // 12C508A FE2h: code protection on
  for (const auto& [name, chipName, config, quiet, answer] :
       {std::tuple{"code protection, no", "12C508A", 0xFE2, false, false},
        {"not blank, no", "16F84A", 0x3FF1, false, false}, {"not blank, yes", "16F84A", 0x3FF1, false, true},
        {"not blank, quiet", "16F84A", 0x3FF1, true, true}}) {
    SCOPED_TRACE(name);
    sim::ChipState chip = test::BlankChip(chipName);
    chip.program[3] = 0;
    test::SimApp sim(chip, chipName);
    sim.leftPowered = quiet;
    test::PatternImage(sim.state());
    sim.state().image.configWord = config;
    sim.state().options.chkTestBlank = config != 0xFE2;
    sim.state().commandLine.quiet = quiet;
    (void)sim.TakeWrites();
    sim.ui.answers = {answer};
    const OpOutcome outcome = cmdWrite(sim.state(), sim.ui).outcome;
    test::ExpectSection(golden, name, sim.Transcript(outcome));
    // From address 0, after the test moved the counter.
    const MemoryImage& image = sim.state().image;
    EXPECT_EQ(sim.chip().program[0], outcome == OpOutcome::kOk ? image.programBuffer[0] : chip.program[0]);
    EXPECT_EQ(sim.chip().program[3], outcome == OpOutcome::kOk ? image.programBuffer[3] : 0);
    if (config == 0xFE2) {
      EXPECT_TRUE(sim.TakeWrites().empty());
    }
  }
}

TEST(Write, AnImageFileChangedSinceItWasOpenedIsReloaded) {
  test::SimApp sim("16F84A");
  AppState& state = sim.state();
  const std::string path = sim.home.Write("board.HEX", ":020000003412B8\n:00000001FF\n");
  const OpenedImage opened = OpenImageCommand(path, state.device, state.image, state.serial);
  ASSERT_TRUE(opened.load.loaded);
  ASSERT_EQ(state.image.programBuffer[0], 0x1234);
  state.imagePath = path;
  state.imageTimeStamp = opened.timeStamp;
  // Word 0 becomes 0456h in the file; the write must take the file's word.
  sim.home.Write("board.HEX", ":020000005604A4\n:00000001FF\n");
  std::filesystem::last_write_time(path, *opened.timeStamp + std::chrono::seconds(2));
  ASSERT_TRUE(cmdWrite(state, sim.ui).ok());
  EXPECT_EQ(state.image.programBuffer[0], 0x0456);
  EXPECT_EQ(sim.chip().program[0], 0x0456);
  EXPECT_EQ(state.imageTimeStamp, FileTimeStamp(path));

  // Gone since: quiet mode ends with an empty log and the port untouched.
  std::filesystem::remove(path);
  state.commandLine.quiet = true;
  (void)sim.TakeWrites();
  EXPECT_EQ(cmdWrite(state, sim.ui).outcome, OpOutcome::kTerminated);
  EXPECT_EQ(sim.ui.terminated.size(), 1U);
  EXPECT_TRUE(std::filesystem::exists(sim.home.path() / "quorvi2.err"));
  EXPECT_EQ(sim.home.Read("quorvi2.err"), "");
  EXPECT_TRUE(sim.TakeWrites().empty());
}

// An 18F452 written from a selected image holding three program blocks (one
// the last), the ID bytes, the configuration bytes gpasm makes for
// `config OSC = HS, OSCS = OFF, PWRT = ON, BOR = OFF, WDT = OFF, LVP = OFF,
// CCP2MUX = ON` with every protection off (none for the unimplemented
// 300000h, 300004h, 300007h), and two data EEPROM bytes; then read back.
TEST(Write18, ProgramsOnlyTheImagesBlocksAndReadsBackTheSameFields) {
  test::SimApp sim("18F452");
  AppState& state = sim.state();
  std::vector<int> program(0x4000, 0xFFFF);
  for (const auto& [address, word] :
       {std::pair{0, 0x6A93}, {1, 0x708A}, {2, 0xD7FE}, {0x1235, 0x0012}, {0x3FFF, 0xFF00}}) {
    state.image.programBuffer[static_cast<size_t>(address)] = word;
    program[static_cast<size_t>(address)] = word;
  }
  std::vector<int> data(256, 0xFF);
  data[0] = 0x11;
  data[0xFF] = 0x22;
  state.image.dataBuffer[0] = 0x11;
  state.image.dataBuffer[0xFF] = 0x22;
  const std::array<int, 4> ids = {0x0201, 0x0403, 0x0605, 0x0807};
  state.image.idWords = {0x0201, 0x0403, 0x0605, 0x0807, 0};
  state.image.config18Bytes = {0xFF, 0x22, 0x0C, 0x0E, 0xFF, 0x01, 0x81, 0xFF, 0x0F, 0xC0, 0x0F, 0xE0, 0x0F, 0x40};
  // Unimplemented registers and bits read 0.
  const std::vector<int> config = {0x00, 0x22, 0x0C, 0x0E, 0x00, 0x01, 0x81, 0x00, 0x0F, 0xC0, 0x0F, 0xE0, 0x0F, 0x40};

  ASSERT_TRUE(cmdWrite(state, sim.ui).ok()) << (sim.ui.messages.empty() ? "" : sim.ui.messages[0].text);
  EXPECT_EQ(std::count_if(state.cycleTable.begin(), state.cycleTable.end(), [](int16_t c) { return c != 0; }), 3 * 4);
  EXPECT_EQ(sim.chip().program, program);
  EXPECT_EQ(sim.chip().data, data);
  EXPECT_EQ(sim.chip().ids, ids);
  EXPECT_EQ(sim.chip().configBytes, config);

  for (const int16_t mode : {read_mode::kConfigurationOnly, read_mode::kFull}) {
    SCOPED_TRACE(mode);
    const bool full = mode == read_mode::kFull;
    state.image = MemoryImage();
    const OpResult read = cmdRead(state, sim.ui, mode);
    ASSERT_TRUE(read.ok());
    EXPECT_EQ(read.refreshDataListing, full);
    const MemoryImage& image = state.image;
    EXPECT_EQ(std::vector<int>(image.programBuffer.begin(), image.programBuffer.begin() + 0x4000),
              full ? program : std::vector<int>(0x4000, 0));
    EXPECT_EQ(std::vector<int>(image.dataBuffer.begin(), image.dataBuffer.begin() + 256),
              full ? data : std::vector<int>(256, 0));
    EXPECT_TRUE(std::equal(ids.begin(), ids.end(), image.idWords.begin()));
    EXPECT_EQ(std::vector<int>(image.config18Bytes.begin(), image.config18Bytes.end()), config);
  }
}

// How often `transfer` begins one of the space-separated `transfers`.
int Count(const std::string& transfers, const std::string& transfer) {
  int count = 0;
  const std::string start = " " + transfer;
  for (size_t at = transfers.find(start); at != std::string::npos; at = transfers.find(start, at + 1)) ++count;
  return count;
}

// An 18F452 image that holds program words [first, end) takes one
// programming cycle (1111) per offset that holds data, all panels at once
// where two or more do, besides those of the IDs and configuration; a data
// EEPROM byte is written (BSF EECON1, WR) unless the erase left it as the
// image has it. The chip then holds the image, FFFFh and FFh elsewhere.
TEST(Write18, TakesOneCycleForEachOffsetTheImageHoldsAndLeavesTheRestErased) {
  struct Layout {
    const char* name;
    int32_t first, end;
    bool writtenChip;  // a chip that holds a program, erased by the write; the image's data EEPROM blank
    int cycles, dataWrites;
  };
  const Layout layouts[] = {
      {"no word", 0, 0, false, 0, 256},
      {"2 KiB", 0, 1024, true, 256, 0},
      {"every word", 0, 0x4000, false, 1024, 256},
      {"a panel and a half", 0, 0x1800, false, 1024, 256},
      {"the last word", 0x3FFF, 0x4000, true, 1, 0},
  };
  int others = 0;
  for (const Layout& layout : layouts) {
    SCOPED_TRACE(layout.name);
    test::SimApp sim(layout.writtenChip ? test::PatternedChip("18F452") : test::BlankChip("18F452"), "18F452");
    AppState& state = sim.state();
    test::PatternImage(state);
    state.options.chkErase = layout.writtenChip;
    std::vector<int> program(0x4000, 0xFFFF);
    for (int32_t a = 0; a < 0x4000; ++a) {
      int32_t& word = state.image.programBuffer[static_cast<size_t>(a)];
      word = a >= layout.first && a < layout.end ? word & 0xFFFF : 0xFFFF;
      program[static_cast<size_t>(a)] = word;
    }
    if (layout.writtenChip) state.image.dataBuffer.fill(0xFF);
    sim.TakeWrites();
    ASSERT_TRUE(cmdWrite(state, sim.ui).ok()) << (sim.ui.messages.empty() ? "" : sim.ui.messages[0].text);
    EXPECT_EQ(sim.chip().program, program);
    EXPECT_TRUE(std::equal(sim.chip().data.begin(), sim.chip().data.end(), state.image.dataBuffer.begin()));
    const std::string sent = " " + test::Pic18Transfers(sim.TakeWrites());
    const int starts = Count(sent, "15/");
    if (layout.cycles == 0) others = starts;
    EXPECT_EQ(starts - others, layout.cycles);
    EXPECT_EQ(Count(sent, "0/82A6"), layout.dataWrites);
  }
}

TEST(Production, WriteAndVerifyAtBothMarginsFindACellWeakOnlyAtVddMin) {
  test::SimApp sim("16F628A");
  AppState& state = sim.state();
  test::PatternImage(state);
  const OpResult written = cmdWrite(state, sim.ui);
  const OpResult prototype = cmdCompare(state, sim.ui);
  ASSERT_TRUE(written.ok());
  ASSERT_TRUE(prototype.ok());
  EXPECT_GT(written.durationNs, prototype.durationNs);

  state.settings.mode = "PROD";
  state.commandLine.quiet = true;
  test::RecordingUi quiet;
  ASSERT_TRUE(cmdWrite(state, quiet).ok());
  EXPECT_FALSE(std::filesystem::exists(sim.home.path() / "quorvi2.err"));
  EXPECT_TRUE(quiet.terminated.empty());
  EXPECT_EQ(quiet.sounds.size(), 1U);
  EXPECT_EQ(quiet.statusBar, op_text::kOperationOk);
  EXPECT_TRUE(Shown(quiet, op_text::kPassAtVddMin));
  EXPECT_TRUE(Shown(quiet, op_text::kPassAtVddMax));
  state.commandLine.quiet = false;
  const OpResult production = cmdCompare(state, sim.ui);
  ASSERT_TRUE(production.ok());
  EXPECT_GT(production.durationNs, prototype.durationNs + 500'000'000);

  sim.chip().faults.marginCells = {{.address = 0x123, .belowVolts = 4.7, .aboveVolts = {}, .xorMask = 0x10}};
  sim.ui = test::RecordingUi();
  EXPECT_EQ(cmdCompare(state, sim.ui).outcome, OpOutcome::kFailed);
  EXPECT_EQ(sim.ui.messages, std::vector<UserMessage>{NotEqualAt("123h", "expected 2A14h, found 2A04h")});
  EXPECT_TRUE(Shown(sim.ui, op_text::kPassAtVddMin));
  EXPECT_TRUE(Shown(sim.ui, op_text::kFusePassAtVddMax));
  EXPECT_EQ(sim.board().vddStep(), sim::SimBoard::kPowerOnStep);
  state.settings.mode = "PROT";
  test::RecordingUi normal;
  EXPECT_TRUE(cmdCompare(state, normal).ok());
  EXPECT_TRUE(normal.messages.empty());
}

}  // namespace
}  // namespace quorvi

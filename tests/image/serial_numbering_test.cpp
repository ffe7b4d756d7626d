// SPDX-License-Identifier: GPL-3.0-or-later
#include "image/serial_numbering.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <map>
#include <utility>

#include "image/image_test_util.h"
#include "image/open_command.h"
#include "support/devices.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

using Args = std::vector<std::string>;

UniformDraw NeverDrawn() {
  return [] {
    ADD_FAILURE() << "no random draw expected";
    return 0.0;
  };
}

// Reads "number=41 start=0x3FC size=4 inc=1 random off", skipping other words.
SerialState State(const Args& words) {
  SerialState state;
  state.switchedOn = true;
  for (const std::string& word : words) {
    const std::string value = word.substr(word.find('=') + 1);
    if (word.starts_with("number=")) state.serialNumber = std::stod(value);
    if (word.starts_with("start=")) state.startAddress = static_cast<int16_t>(std::stoi(value, nullptr, 0));
    if (word.starts_with("size=")) state.size = static_cast<int16_t>(std::stoi(value));
    if (word.starts_with("inc=")) state.increment = static_cast<int16_t>(std::stoi(value));
    if (word == "random") state.random = 1;
    if (word == "off") state.switchedOn = false;
  }
  return state;
}

std::string Shown(const SerialState& s) {
  char text[96];
  std::snprintf(text, sizeof text, "number=%.17g start=%d size=%d inc=%d%s%s", s.serialNumber, s.startAddress, s.size,
                s.increment, s.random != 0 ? " random" : "", s.switchedOn ? "" : " off");
  return text;
}

// The program words that differ between two images, as "03FD=3456 ...".
std::string Changes(const MemoryImage& before, const MemoryImage& after) {
  std::string changes;
  for (size_t a = 0; a < after.programBuffer.size(); ++a) {
    if (after.programBuffer[a] == before.programBuffer[a]) continue;
    changes += (changes.empty() ? "" : " ") + test::Hex(int64_t(a), 4) + "=" + test::Hex(after.programBuffer[a]);
  }
  return changes.empty() ? "none" : changes;
}

std::string Apply(const Args& a) {
  const SerialState state = State(a);
  const auto family = static_cast<Family>(std::stoi(a.at(0).substr(7)));
  MemoryImage image;
  std::fill(image.programBuffer.begin(), image.programBuffer.end(), 0x5555);
  const MemoryImage before = image;
  const auto device = test::MakeDevice({.name = "X", .programSize = 0x3FF, .family = family});
  const Status status = ApplySerial(state, device, image, state.random ? [] { return 0.1234; } : NeverDrawn());
  return (status.ok() ? "" : "refused: " + status.message() + "; ") + Changes(before, image);
}

std::string Advance(const Args& a) {
  test::TempDir dir;
  SerialState state = State(a);
  MemoryImage image = test::SelectedImage(test::Pic16F84());
  const MemoryImage before = image;
  double next = 0.05;
  const UniformDraw draws = [&next] { return std::exchange(next, next + 0.1); };
  const Status status = AdvanceSerialAfterWrite(state, dir.Write("board.HEX", ":00000001FF\n"), test::Pic16F84(),
                                                image, state.random ? draws : NeverDrawn());
  return status.ok() ? "companion \"" + test::Escaped(dir.Read("board.SQT")) + "\" shows " +
                           SerialIndicatorText(state) + ": " + Changes(before, image)
                     : status.message();
}

std::string ReadCompanion(const Args& a) {
  test::TempDir dir;
  SerialState state = State({"number=5", "start=6", "size=7", "inc=8"});
  return ReadCompanionFile(dir.Write("a.SQT", a.at(0)), state) ? Shown(state) : "not read";
}

std::string Set(const Args& a) {
  SerialState state = State({"number=1", "start=2", "size=3", "inc=4"});
  const std::map<std::string, Status (*)(SerialState&, const std::string&)> fields = {
      {"number", SetSerialNumberFromInput}, {"start", SetStartAddressFromInput}, {"increment", SetIncrementFromInput}};
  std::string outcome;
  if (a.at(0) == "size") {
    const Result<bool> taken = SetSizeFromInput(state, a.at(1));
    outcome = !taken.ok() ? "refused" : taken.value() ? "taken" : "quiet";
  } else {
    outcome = fields.at(a.at(0))(state, a.at(1)).ok() ? "taken" : "refused";
  }
  return outcome + " " + Shown(state);
}

TEST(SerialNumbering, EachCallGivesWhatItsRowSays) {
  const std::map<std::string, test::Call> calls = {
      {"Apply", Apply},
      {"Advance", Advance},
      {"ReadCompanion", ReadCompanion},
      {"Set", Set},
      {"FormatLeadingZeros",
       [](const Args& a) { return FormatLeadingZeros(std::stod(a.at(0)), std::stoi(a.at(1))); }},
      {"Dialog",
       [](const Args& a) {
         const SerialDialogTexts texts = FormatSerialDialog(State(a));
         return texts.serialNumber + " " + texts.startAddress + " " + texts.size + " " + texts.increment;
       }},
  };
  EXPECT_EQ(test::TableMismatches("serial_numbering.txt", calls), "");
}

TEST(SerialNumbering, DrawsFromOneToTenToTheSize) {
  EXPECT_EQ(DrawSerialNumber(3, [] { return 0.0; }), 1);
  EXPECT_EQ(DrawSerialNumber(3, [] { return 0.9999999; }), 1000);
  const UniformDraw draw = ClockSeededUniform();
  for (int i = 0; i < 100; ++i) {
    const double r = draw();
    ASSERT_GE(r, 0.0);
    ASSERT_LT(r, 1.0);
  }
}

// The random flag and the switch are not stored; a missing file changes nothing.
TEST(CompanionFile, WritesAndReadsTheFourNumbers) {
  test::TempDir dir;
  const std::string path = (dir.path() / "a.SQT").string();
  const SerialState state = State({"number=123456789012345", "start=-2", "size=8", "inc=300", "random"});
  ASSERT_TRUE(WriteCompanionFile(path, state).ok());
  EXPECT_EQ(dir.Read("a.SQT"), "123456789012345\r\n-2\r\n8\r\n300\r\n");
  SerialState back;
  ASSERT_TRUE(ReadCompanionFile(path, back));
  EXPECT_EQ(Shown(back), "number=123456789012345 start=-2 size=8 inc=300 off");
  EXPECT_FALSE(ReadCompanionFile("/nonexistent/a.SQT", back));
  EXPECT_EQ(Shown(back), "number=123456789012345 start=-2 size=8 inc=300 off");
}

std::string Opened(const std::vector<std::string>& a) {
  test::TempDir dir;
  const std::string path = (dir.path() / "board.hex").string();
  if (a.size() < 3) dir.Write("board.hex", ":020000003412B8\n:02400E00F13F80\n:00000001FF\n");
  if (a.at(0) != "none") dir.Write("board.SQT", a.at(0));
  MemoryImage image = test::SelectedImage(test::Pic16F84());
  SerialState serial;
  serial.switchedOn = a.at(1) == "on";
  const OpenedImage opened = OpenImageCommand(path, test::Pic16F84(), image, serial);
  const std::string indicator = opened.serial ? "indicator " + test::Hex(opened.serial->colour) + " \"" +
                                                    opened.serial->indicator + "\""
                                              : "no indicator";
  const std::string said = std::string(opened.load.loaded ? "loaded" : "refused") + ", word " +
                           test::Hex(image.programBuffer[0]) + ", " + opened.path + " \"" + opened.fileName + "\" in " +
                           opened.lastDirectory + ", " +
                           (opened.timeStamp != FileTimeStamp(path) ? "wrong stamp"
                            : opened.timeStamp                     ? "stamped"
                                                                   : "no stamp") +
                           ", " + indicator + ", switch " + (serial.switchedOn ? "on" : "off") + ", start " +
                           std::to_string(serial.startAddress);
  return test::Replaced(said, dir.path().string(), "$DIR");
}

TEST(OpenImageCommand, LoadsAndSetsTheSwitchFromTheCompanionFile) {
  EXPECT_EQ(test::TableMismatches("open_command.txt", {{"OpenImageCommand", Opened}}), "");
}

}  // namespace
}  // namespace quorvi

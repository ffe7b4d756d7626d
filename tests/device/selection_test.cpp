// SPDX-License-Identifier: GPL-3.0-or-later
// The window's shape for one device of each kind it shapes differently:
// selection_views.txt holds the catalogue and what selecting each shows.
#include "device/selection.h"

#include <gtest/gtest.h>

#include <sstream>

#include "image/device_image.h"
#include "support/golden.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

constexpr int kUntouched = 0x1234;

// A line per part of the view; the image words at 0, at the device's last
// address and after it (kUntouched before the selection), then its other slots.
std::string Describe(const SelectionView& v, const DeviceDescriptor& d, const MemoryImage& image) {
  std::ostringstream out;
  out << std::hex << std::uppercase << "size " << d.programSize << ", blank " << v.blankWord;
  if (v.vddCaptions) out << ", vdd " << v.vddCaptions->min << " to " << v.vddCaptions->max;
  const std::pair<const char*, bool> flags[] = {
      {"frame18", v.frame18Visible},           {"mnuSQTP", v.mnuSQTPEnabled},
      {"SQTP unchecked", v.mnuSQTPUnchecked},  {"txtFuses", v.txtFusesVisible},
      {"chkTurbo", v.chkTurboVisible},         {"chkErase", v.chkEraseVisible},
      {"cmdHex16to8", v.cmdHex16to8Visible},   {"cmdFill", v.cmdFillVisible},
      {"calibration menus", v.calibrationMenusEnabled}, {"frameID", v.frameIDVisible},
      {"frameOSC1", v.frameOSC1Visible},       {"data list", v.dataListVisible},
      {"chkTestBlank", v.chkTestBlankVisible}, {"cmdWriteFuse", v.cmdWriteFuseVisible}};
  for (const bool on : {true, false}) {
    out << (on ? "\non:" : "\noff:");
    for (const auto& [name, flag] : flags) out << (flag == on ? std::string(" ") + name : "");
  }
  if (v.message) {
    const int icon = static_cast<int>(v.message->icon);
    out << "\nmessage " << v.message->text << " [" << v.message->title << " " << icon << "]";
  }
  const auto list = [&out](const char* name, const std::optional<OptionList>& options) {
    if (!options) return;
    out << "\n" << name;
    for (const std::string& entry : options->entries) out << " \"" << entry << "\"";
    out << " selected " << options->selectedIndex;
  };
  list("oscillators", v.oscillatorList);
  list("write protection", v.writeProtectionList);
  if (v.calibrationText) out << "\ncalibration \"" << *v.calibrationText << "\"";
  for (const bool shown : {true, false}) {
    out << std::dec << (shown ? "\nframes shown" : "\nframes hidden");
    for (const FrameLayout& f : v.frames) {
      if (f.visible == shown) out << " " << f.name.substr(5) << (shown ? "@" + std::to_string(f.top) : "");
    }
  }
  const ConfigDisplay& c = v.config;
  out << "\nbuttons";
  for (const FuseChoice& choice : c.choices) out << " " << choice.fuse << ":" << choice.button;
  out << "\nfuses \"" << c.txtFuses << "\"";
  if (c.oscIndex) out << " oscillator " << *c.oscIndex;
  if (c.wrtText) out << " WRT " << *c.wrtText;
  if (c.borvButton) out << " BORV " << *c.borvButton;
  out << " IDs " << c.idTexts[0] << " " << c.idTexts[1] << " " << c.idTexts[2] << " " << c.idTexts[3];
  if (v.socketPicture) out << "\nsocket \"" << *v.socketPicture << "\"";
  const auto last = static_cast<size_t>(std::max(d.programSize, 0));
  out << std::hex << "\nimage " << image.programBuffer[0] << " " << image.programBuffer[last] << " "
      << image.programBuffer[last + 1] << ", configuration " << image.configWord << ", IDs " << image.idWords[0]
      << " " << image.idWords[3] << ", data " << image.dataBuffer[0] << " " << image.dataBuffer[256] << "\n";
  return out.str();
}

struct Selection : ::testing::Test {
  std::string Catalogue() {
    std::string text = views["catalogue"];
    for (size_t at; (at = text.find("$\n")) != std::string::npos;) text.erase(at, 1);
    return text;
  }
  std::map<std::string, std::string> views = test::DataSections("selection_views.txt");
  test::TempDir dir;
  const std::string path = dir.Write("device.ini", Catalogue());
  const CatalogueText catalogue = ReadCatalogue(path).value();
  DeviceDescriptor device;
  MemoryImage image;
};

TEST_F(Selection, EachKindOfDeviceShapesTheWindow) {
  for (const auto& [name, expected] : views) {
    if (name == "catalogue") continue;
    device = DeviceDescriptor();
    std::fill(image.programBuffer.begin(), image.programBuffer.end(), kUntouched);
    std::fill(image.dataBuffer.begin(), image.dataBuffer.end(), int16_t{kUntouched});
    image.idWords.fill(kUntouched);
    image.configWord = kUntouched;
    Result<SelectionView> view = SelectDevice(catalogue, name, device, image, false);
    ASSERT_TRUE(view.ok()) << view.message();
    EXPECT_EQ(device.name, name);
    test::ExpectSection(views, name, Describe(view.value(), device, image));
  }
}

TEST_F(Selection, AKeptImageIsLeftAloneAndAFailedSelectionChangesNothing) {
  ASSERT_TRUE(SelectDevice(catalogue, "16F84", device, image, false).ok());
  image.programBuffer[5] = 0x1234;
  image.configWord = 0x3FF1;
  const MemoryImage before = image;
  Result<SelectionView> view = SelectDevice(catalogue, "16F84", device, image, true);
  ASSERT_TRUE(view.ok());
  EXPECT_TRUE(image == before);
  EXPECT_EQ(view.value().config.txtFuses, " Fuse=3FF1");
  view = SelectDevice(catalogue, "16F999", device, image, false);
  EXPECT_EQ(view.message(), "The device 16F999 is not in the catalogue " + path);
  EXPECT_EQ(device.name, "16F84");
  EXPECT_TRUE(image == before);
}

TEST(DeviceListIndex, NeverPreselectsTheFirstEntry) {
  const std::vector<std::string> entries{"12C508 ", "16F84 ", "24C16 "};
  EXPECT_EQ(DeviceListIndex(entries, "16F84"), 1);
  EXPECT_EQ(DeviceListIndex(entries, "24C16"), 2);
  EXPECT_FALSE(DeviceListIndex(entries, "12C508").has_value());
  EXPECT_FALSE(DeviceListIndex(entries, "16F877").has_value());
}

}  // namespace
}  // namespace quorvi

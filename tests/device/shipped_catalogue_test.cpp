// SPDX-License-Identifier: GPL-3.0-or-later
// The catalogue that ships: every device loads as itself, selects, and its
// fuse map is the one it names.
#include <gtest/gtest.h>

#include <set>

#include "device/catalogue.h"
#include "device/selection.h"

namespace quorvi {
namespace {

const std::string kCatalogue = std::string(QUORVI_DATA_DIR) + "/device.ini";

std::vector<std::string> Names() {
  DeviceDescriptor scratch;
  Result<std::vector<std::string>> list = FillDeviceList(kCatalogue, scratch);
  EXPECT_TRUE(list.ok()) << list.message();
  std::vector<std::string> names;
  if (!list.ok()) return names;
  for (const std::string& entry : list.value()) names.push_back(entry.substr(0, entry.size() - 1));
  return names;
}

TEST(ShippedCatalogue, ListsEveryDeviceWeSupportOnce) {
  const std::vector<std::string> names = Names();
  const std::set<std::string> listed(names.begin(), names.end());
  EXPECT_EQ(listed.size(), names.size()) << "a name is listed twice";
  for (const char* name :
       {"12C508", "12C508A", "12C509", "12C509A", "12CE518", "12CE519", "16C505", "16C54", "16C55", "16C56",
        "16C57", "16C58", "16C61", "16C62", "16C63", "16C64", "16C65", "16C71", "16C72", "16C73", "16C74",
        "16C76", "16C77", "16C84", "16F83", "16F84", "16F84A", "16F627", "16F628", "16F627A", "16F628A",
        "16F648A", "16F870", "16F871", "16F872", "16F873", "16F874", "16F876", "16F877", "16F873A", "16F874A",
        "16F876A", "16F877A", "16F818", "16F819", "12F629", "12F675", "16F630", "16F676", "14000", "18F252",
        "18F452", "18F258", "18F458", "24C01", "24C02", "24C04", "24C08", "24C16", "24C32", "24C64", "24C128",
        "AT24C256", "ST24256", "24LC512", "24LC515"}) {
    EXPECT_TRUE(listed.count(name)) << name;
  }
}

TEST(ShippedCatalogue, EveryDeviceLoadsAsItselfWithItsOwnMapAndSelects) {
  MemoryImage image;
  for (const std::string& name : Names()) {
    SCOPED_TRACE(name);
    DeviceDescriptor d;
    ASSERT_TRUE(LoadDeviceRecord(kCatalogue, name, d).ok());
    EXPECT_EQ(d.name, name) << "an earlier line starts with this name";
    ASSERT_TRUE(LoadFuseMap(kCatalogue, d.fuseMap, d).ok());
    if (d.fuseMap != 0) {
      EXPECT_EQ(d.fuseNames[14], std::to_string(d.fuseMap)) << "the map line was not found";
    }
    EXPECT_EQ(d.fuseNames[15], d.fuseMap != 0 ? "-" : "");
    EXPECT_FALSE(d.pairFlag);
    EXPECT_GT(d.programSize, 0);
    EXPECT_LE(d.programSize, 0xFFFF);
    EXPECT_LE(d.dataBytes, 256);
    EXPECT_TRUE(std::set<int>({8, 14, 18, 28, 40}).contains(d.pinCount)) << d.pinCount;
    if (d.family == family::kSerialEeprom) {
      EXPECT_GT(d.pageSize, 0);
      EXPECT_EQ((d.programSize + 1) % d.pageSize, 0) << "pages must tile the memory";
    } else {
      EXPECT_GT(d.vddMin, 2.0F);
      EXPECT_LT(d.vddMax, 6.5F);
      EXPECT_LT(d.vddMin, d.vddMax);
    }
    // 12-bit cores have no bits 13:12 to name; code protection is named so
    // that its buttons treat 0 as on.
    const int width = d.family == family::kCore12 || (d.family == family::kFuture && d.fuseMap == 13) ? 12 : 14;
    for (size_t bit = static_cast<size_t>(width); bit < 14; ++bit) {
      EXPECT_EQ(d.fuseNames[bit], d.fuseMap ? "-" : "");
    }
    for (const char* fuse : {"CP0", "CP1", "CPD"}) EXPECT_GE(FuseMask(d, fuse), 0) << fuse;

    Result<SelectionView> view = SelectDevice(kCatalogue, name, d, image, false);
    ASSERT_TRUE(view.ok()) << view.message();
    EXPECT_EQ(view.value().message.has_value(), d.family == family::kFuture);
    if (view.value().oscillatorList) {
      // The field the list fills must match the bits the index is read from.
      EXPECT_TRUE(view.value().config.oscIndex.has_value()) << "the blank word's index is outside the list";
      const auto entries = static_cast<int>(view.value().oscillatorList->entries.size());
      if (d.oscList >= 1) {
        EXPECT_EQ(entries, OscillatorIndex(d.oscList, 0x3FFF) + 1);
      }
    }
  }
}

}  // namespace
}  // namespace quorvi

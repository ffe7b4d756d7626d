// SPDX-License-Identifier: GPL-3.0-or-later
// The catalogue that ships: every device loads as itself, selects, and its
// fuse map is the one it names.
#include <gtest/gtest.h>

#include <set>

#include "device/catalogue.h"
#include "image/device_image.h"
#include "support/golden.h"
#include "support/devices.h"

namespace quorvi {
namespace {

// An earlier line starting with a device's name would load in its place.
TEST(ShippedCatalogue, ListsEveryDeviceWeSupportOnceAndEachLoadsAsItself) {
  std::vector<std::string> names;
  for (const DeviceDescriptor& d : test::ShippedCatalogue()) names.push_back(d.name);
  EXPECT_EQ(names, test::Words(test::DataSections("shipped_devices.txt").at("in catalogue order")));
}

TEST(ShippedCatalogue, EveryDeviceHasItsOwnMapAndSelects) {
  const CatalogueText catalogue = ReadCatalogue(std::string(QUORVI_DATA_DIR) + "/device.ini").value();
  MemoryImage image;
  for (DeviceDescriptor d : test::ShippedCatalogue()) {
    SCOPED_TRACE(d.name);
    if (d.fuseMap != 0) {
      EXPECT_EQ(d.fuseNames[14], std::to_string(d.fuseMap)) << "the map line was not found";
    }
    EXPECT_EQ(d.fuseNames[15], d.fuseMap != 0 ? "-" : "");
    EXPECT_FALSE(d.pairFlag);
    EXPECT_GT(d.programSize, 0);
    EXPECT_LE(d.programSize, 0xFFFF);
    EXPECT_LE(d.dataBytes, 256);
    EXPECT_TRUE(std::set<int>({8, 14, 18, 28, 40}).contains(d.pinCount)) << d.pinCount;
    if (d.family == Family::kSerialEeprom) {
      EXPECT_GT(d.pageSize, 0);
    } else {
      EXPECT_GT(d.vddMin, 2.0F);
      EXPECT_LT(d.vddMax, 6.5F);
      EXPECT_LT(d.vddMin, d.vddMax);
    }
    // 12-bit cores have no bits 13:12 to name; code protection is named so
    // that its buttons treat 0 as on.
    const int width = d.family == Family::kCore12 || (d.family == Family::kFuture && d.fuseMap == 13) ? 12 : 14;
    for (size_t bit = static_cast<size_t>(width); bit < 14; ++bit) EXPECT_EQ(d.fuseNames[bit], d.fuseMap ? "-" : "");
    for (const char* fuse : {"CP0", "CP1", "CPD"}) EXPECT_GE(FuseMask(d, fuse), 0) << fuse;

    Result<SelectionView> view = SelectDevice(catalogue, d.name, d, image, false);
    ASSERT_TRUE(view.ok()) << view.message();
    EXPECT_EQ(view.value().message.has_value(), d.family == Family::kFuture);
    if (view.value().oscillatorList) {
      // The field the list fills must match the bits the index is read from.
      EXPECT_TRUE(view.value().config.oscIndex.has_value()) << "the blank word's index is outside the list";
      if (d.oscList >= 1) {
        const auto entries = static_cast<int>(view.value().oscillatorList->entries.size());
        EXPECT_EQ(entries, OscillatorIndex(d.oscList, 0x3FFF) + 1);
      }
    }
  }
}

}  // namespace
}  // namespace quorvi

// SPDX-License-Identifier: GPL-3.0-or-later
// The shipped catalogue and the simulator's own chip table are written apart,
// from the data sheets and the programming documents; each checks the other.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <set>

#include "device/catalogue.h"
#include "device/config18.h"
#include "device/part_facts.h"
#include "hw/port_link.h"
#include "sim/chip_info.h"
#include "sim/pic18_chip.h"
#include "support/devices.h"
#include "support/recorded_link.h"
#include "support/sim_link.h"

namespace quorvi {
namespace {

const std::string kCatalogue = std::string(QUORVI_DATA_DIR) + "/device.ini";

int Bits(const DeviceDescriptor& d, const char* fuse) { return std::abs(int{FuseMask(d, fuse)}); }

// The Vpp switch the host's line layer picks for this device.
int HostVppSwitch(const DeviceDescriptor& d) {
  test::RecordedLink r;
  r.link.SetVdd("off");
  r.link.SetProgrammingVoltage(kFalse, d.pinCount, d.rules.calibrationBlock);
  r.TakeWrites();
  r.link.SetProgrammingVoltage(kTrue, d.pinCount, d.rules.calibrationBlock);
  const uint8_t on = static_cast<uint8_t>(~r.link.outputShadow());
  if (on & line::kVpp1) return 1;
  if (on & line::kVpp2) return 2;
  if (on & line::kVpp3) return 3;
  return 0;
}

// Sizes, pins, Vpp switches, calibration, protection bits, device IDs,
// entry and bus speed of every catalogue part against the simulated chip.
TEST(CatalogueAndSimulator, AgreeOnEveryPart) {
  std::set<std::string> listed;
  int pics = 0;
  for (const DeviceDescriptor& d : test::ShippedCatalogue()) {
    SCOPED_TRACE(d.name);
    listed.insert(d.name);
    Result<const sim::ChipInfo*> found = sim::FindChip(d.name);
    if (d.family == Family::kFuture) {
      EXPECT_FALSE(found.ok()) << "a future product the simulator can program";
      continue;
    }
    ASSERT_TRUE(found.ok()) << found.message();
    const sim::ChipInfo& chip = *found.value();
    EXPECT_EQ(d.pinCount, chip.pins);
    // The part table the operations use and the simulator's own, written apart.
    const PartFacts facts = FactsFor(d);
    EXPECT_EQ(facts.name, d.name) << "a catalogue part missing from the part table";
    if (chip.deviceId >= 0) {
      ASSERT_TRUE(facts.deviceId.has_value());
      EXPECT_EQ(*facts.deviceId, chip.deviceId & ~kRevisionBits);
    } else {
      EXPECT_FALSE(facts.deviceId.has_value());
    }
    if (d.family == Family::kSerialEeprom) {
      EXPECT_EQ(facts.bus == BusSpeed::kFast, chip.fastBus);
      EXPECT_EQ(chip.kind, sim::ChipClass::kEeprom24);
      // programSize is the highest byte address the board can reach: above
      // 7FFFh only the 24LC515's upper block has its own control byte.
      const int reachable = d.name == "24LC515" ? chip.programWords : std::min(chip.programWords, 32768);
      EXPECT_EQ(d.programSize + 1, reachable);
      EXPECT_EQ(d.dataBytes, 0);
      // A page write the catalogue asks for must fit the chip's page buffer
      // and never straddle two of its pages.
      ASSERT_GT(d.pageSize, 0);
      EXPECT_LE(d.pageSize, chip.pageBytes);
      EXPECT_EQ(chip.pageBytes % d.pageSize, 0);
      // One address byte below 2 KB, as the bus layer decides it.
      EXPECT_EQ(chip.addressBytes, d.programSize < 2048 ? 1 : 2);
      continue;
    }
    EXPECT_EQ(d.programSize + 1, chip.programWords);
    EXPECT_EQ(d.dataBytes, chip.dataBytes);
    EXPECT_EQ(HostVppSwitch(d), chip.vppSwitch);
    if (d.family == Family::kPic18) {
      EXPECT_EQ(chip.kind, sim::ChipClass::kPic18);
      for (int offset = 0; offset < kConfig18Registers; ++offset) {
        EXPECT_EQ(Config18ImplementedBits(d, offset), sim::Config18Mask(chip, offset)) << "register " << offset;
      }
      continue;
    }
    ++pics;
    switch (chip.kind) {
      case sim::ChipClass::kOtp12: EXPECT_EQ(d.family, Family::kCore12); break;
      case sim::ChipClass::kOtp14:
        EXPECT_TRUE(d.family == Family::kEprom || d.family == Family::kEpromCalibrated) << FamilyCode(d.family);
        break;
      case sim::ChipClass::kFlash14: EXPECT_EQ(FamilyCode(d.family), test::FamilyOf(chip)); break;
      case sim::ChipClass::kEeprom24:
      case sim::ChipClass::kPic18: ADD_FAILURE() << "a serial EEPROM or 18F among the 12/14-bit lines"; break;
    }
    const bool lastWordCalibration = d.oscList == 2 || d.oscList == 3 || d.oscList == 5 || d.oscList == 7;
    EXPECT_EQ(lastWordCalibration, chip.calibration == sim::Calibration::kRetlwLastWord ||
                                       chip.calibration == sim::Calibration::kMovlwLastWord);
    EXPECT_EQ(d.name == "14000", chip.calibration == sim::Calibration::kBlock);
    EXPECT_EQ(d.fuseMap == 21, chip.bandgapMask == 0x3000);
    if (d.fuseMap == 21) {
      EXPECT_EQ(Bits(d, "BG1") | Bits(d, "BG0"), 0x3000);
    }
    EXPECT_EQ(Bits(d, "CP0") | Bits(d, "CP1"), chip.cpMask);
    EXPECT_EQ(Bits(d, "CPD"), chip.cpdMask);
    int named = 0;
    for (int bit = 0; bit < 14; ++bit) {
      const std::string& fuse = d.fuseNames[static_cast<size_t>(bit)];
      if (!fuse.empty() && fuse != "-") named |= 1 << bit;
    }
    EXPECT_EQ(named & ~chip.configBits, 0) << "a fuse named on a bit the chip does not have";
    // The band-gap bits are implemented but the factory's, never compared.
    EXPECT_EQ(facts.configMask, chip.configBits & ~chip.bandgapMask);
    EXPECT_EQ(facts.vppFirst, chip.entry == sim::Entry::kVppFirstOrQuick);
  }
  EXPECT_GT(pics, 40);
  for (const auto& table : {sim::Pic18Table(), sim::SerialEepromTable()}) {
    for (const sim::ChipInfo& chip : table) {
      EXPECT_TRUE(listed.contains(std::string(chip.name))) << chip.name << " is simulated but not in the catalogue";
    }
  }
}

}  // namespace
}  // namespace quorvi

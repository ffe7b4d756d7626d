// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/part_facts.h"

#include <algorithm>
#include <array>

namespace quorvi {

namespace {

using T = TimingClass;

// Configuration masks: the bits the data sheets name; gputils' device data
// (gpasm -s -p PART) agrees wherever it knows the part, and a test checks it.
// Device IDs: the programming documents' device ID tables.
constexpr std::array kParts = {
    // DS40152 (12C5XX): MCLRE, /CP, WDTE, FOSC1:0; bits 11:5 not implemented.
    PartFacts{.name = "12C508", .timing = T::kEprom12, .configMask = 0x01F},
    PartFacts{.name = "12C508A", .timing = T::kEprom12, .configMask = 0x01F},
    PartFacts{.name = "12C509", .timing = T::kEprom12, .configMask = 0x01F},
    PartFacts{.name = "12C509A", .timing = T::kEprom12, .configMask = 0x01F},
    PartFacts{.name = "12CE518", .timing = T::kEprom12, .configMask = 0x01F},
    PartFacts{.name = "12CE519", .timing = T::kEprom12, .configMask = 0x01F},
    // PIC16C505 data sheet: /CP copies 11:6 and 4, MCLRE, WDTE, FOSC2:0.
    PartFacts{.name = "16C505", .timing = T::kEprom12, .configMask = 0xFFF},
    // PIC16C61/71 and original PIC16C62/64/65/73/74 data sheets: the bits
    // above the code protection are not implemented.
    PartFacts{.name = "16C61", .timing = T::kEprom14, .configMask = 0x001F},
    PartFacts{.name = "16C71", .timing = T::kEprom14, .configMask = 0x001F},
    PartFacts{.name = "16C62", .timing = T::kEprom14, .configMask = 0x003F},
    PartFacts{.name = "16C64", .timing = T::kEprom14, .configMask = 0x003F},
    PartFacts{.name = "16C65", .timing = T::kEprom14, .configMask = 0x003F},
    PartFacts{.name = "16C73", .timing = T::kEprom14, .configMask = 0x003F},
    PartFacts{.name = "16C74", .timing = T::kEprom14, .configMask = 0x003F},
    // PIC16C63/72/76/77 data sheets: bit 7 not implemented.
    PartFacts{.name = "16C63", .timing = T::kEprom14, .configMask = 0x3F7F},
    PartFacts{.name = "16C72", .timing = T::kEprom14, .configMask = 0x3F7F},
    PartFacts{.name = "16C76", .timing = T::kEprom14, .configMask = 0x3F7F},
    PartFacts{.name = "16C77", .timing = T::kEprom14, .configMask = 0x3F7F},
    // PIC14000 data sheet: /PWRTE, WDTE, FOSC and three code-protect groups;
    // the groups are kept in the mask, bits 6 and 1 are not implemented.
    PartFacts{.name = "14000", .timing = T::kEprom14, .configMask = 0x3FBD},
    // PIC16C84 data sheet: /CP at bit 4 only.
    PartFacts{.name = "16C84", .timing = T::kFlash16F8x, .configMask = 0x001F},
    PartFacts{.name = "16F83", .timing = T::kFlash16F8x},
    PartFacts{.name = "16F84", .timing = T::kFlash16F8x},
    // DS30262 lists no device ID the 16F84A answers with that we could
    // confirm: it is written without the check.
    PartFacts{.name = "16F84A", .timing = T::kFlash16F8x},
    // DS30034 (16F627/628): bit 9 not implemented.
    PartFacts{.name = "16F627", .timing = T::kFlash16F62x, .deviceId = 0x07A0, .configMask = 0x3DFF, .vppFirst = true},
    PartFacts{.name = "16F628", .timing = T::kFlash16F62x, .deviceId = 0x07C0, .configMask = 0x3DFF, .vppFirst = true},
    // DS41196 (16F627A/628A/648A): bits 12:9 not implemented, read as 0.
    PartFacts{.name = "16F627A", .timing = T::kFlash16F62xA, .deviceId = 0x1040, .configMask = 0x21FF,
              .vppFirst = true},
    PartFacts{.name = "16F628A", .timing = T::kFlash16F62xA, .deviceId = 0x1060, .configMask = 0x21FF,
              .vppFirst = true},
    PartFacts{.name = "16F648A", .timing = T::kFlash16F62xA, .deviceId = 0x1100, .configMask = 0x21FF,
              .vppFirst = true},
    // DS39025 (16F87x): bit 10 not implemented.
    PartFacts{.name = "16F870", .timing = T::kFlash16F87x, .deviceId = 0x0D00, .configMask = 0x3BFF},
    PartFacts{.name = "16F871", .timing = T::kFlash16F87x, .deviceId = 0x0D20, .configMask = 0x3BFF},
    PartFacts{.name = "16F872", .timing = T::kFlash16F87x, .deviceId = 0x08E0, .configMask = 0x3BFF},
    PartFacts{.name = "16F873", .timing = T::kFlash16F87x, .deviceId = 0x0960, .configMask = 0x3BFF},
    PartFacts{.name = "16F874", .timing = T::kFlash16F87x, .deviceId = 0x0920, .configMask = 0x3BFF},
    PartFacts{.name = "16F876", .timing = T::kFlash16F87x, .deviceId = 0x09E0, .configMask = 0x3BFF},
    PartFacts{.name = "16F877", .timing = T::kFlash16F87x, .deviceId = 0x09A0, .configMask = 0x3BFF},
    // DS39589 (16F87xA): bits 12, 5 and 4 not implemented.
    PartFacts{.name = "16F873A", .timing = T::kFlash16F87xA, .deviceId = 0x0E40, .configMask = 0x2FCF},
    PartFacts{.name = "16F874A", .timing = T::kFlash16F87xA, .deviceId = 0x0E60, .configMask = 0x2FCF},
    PartFacts{.name = "16F876A", .timing = T::kFlash16F87xA, .deviceId = 0x0E00, .configMask = 0x2FCF},
    PartFacts{.name = "16F877A", .timing = T::kFlash16F87xA, .deviceId = 0x0E20, .configMask = 0x2FCF},
    // DS39603 (16F818/819): internal oscillator and MCLR as input, like the 16F62x.
    PartFacts{.name = "16F818", .timing = T::kFlash16F81x, .deviceId = 0x04C0, .vppFirst = true},
    PartFacts{.name = "16F819", .timing = T::kFlash16F81x, .deviceId = 0x04E0, .vppFirst = true},
    // DS41191 (12F629/675, 16F630/676): band-gap bits 13:12 are the
    // factory's, bits 11:9 not implemented; MCLR may be an input.
    PartFacts{.name = "12F629", .timing = T::kFlash12F629, .deviceId = 0x0F80, .configMask = 0x01FF, .vppFirst = true},
    PartFacts{.name = "12F675", .timing = T::kFlash12F629, .deviceId = 0x0FC0, .configMask = 0x01FF, .vppFirst = true},
    PartFacts{.name = "16F630", .timing = T::kFlash12F629, .deviceId = 0x10C0, .configMask = 0x01FF, .vppFirst = true},
    PartFacts{.name = "16F676", .timing = T::kFlash12F629, .deviceId = 0x10E0, .configMask = 0x01FF, .vppFirst = true},
    // DS39576 (18FXX2/XX8): device IDs; configuration in bytes of their own.
    PartFacts{.name = "18F252", .timing = T::kPic18, .deviceId = 0x0400},
    PartFacts{.name = "18F452", .timing = T::kPic18, .deviceId = 0x0420},
    PartFacts{.name = "18F258", .timing = T::kPic18, .deviceId = 0x0840},
    PartFacts{.name = "18F458", .timing = T::kPic18, .deviceId = 0x0860},
    // The plain 24Cxx names may stand for the old 100 kHz parts (24C01A..24C16,
    // DS21202); the 24LC512/24LC515 (DS21754, DS21673) and the AT24C256 take
    // 400 kHz at 4.5-5.5 V.
    PartFacts{.name = "24C01"},
    PartFacts{.name = "24C02"},
    PartFacts{.name = "24C04"},
    PartFacts{.name = "24C08"},
    PartFacts{.name = "24C16"},
    PartFacts{.name = "24C32"},
    PartFacts{.name = "24C64"},
    PartFacts{.name = "24C128"},
    PartFacts{.name = "ST24256"},
    PartFacts{.name = "24LC512", .bus = BusSpeed::kFast},
    PartFacts{.name = "24LC515", .bus = BusSpeed::kFast},
    PartFacts{.name = "AT24C256", .bus = BusSpeed::kFast},
};

bool IsPic18Timing(const PartFacts& p) { return p.timing == TimingClass::kPic18; }

// The most careful facts for a part the table does not know.
PartFacts FallbackFor(const DeviceDescriptor& device) {
  PartFacts facts;
  facts.name = "";
  facts.timing = device.traits().fallbackTiming;
  facts.configMask = device.core() == Core::k12Bit ? 0xFFF : device.rules.bandgap ? 0x01FF : 0x3FFF;
  facts.vppFirst = device.rules.vppFirstByName;
  return facts;
}

}  // namespace

std::span<const PartFacts> KnownParts() { return kParts; }

PartFacts FactsFor(const DeviceDescriptor& device) {
  const auto it = std::find_if(kParts.begin(), kParts.end(), [&](const PartFacts& p) { return p.name == device.name; });
  return it != kParts.end() ? *it : FallbackFor(device);
}

std::optional<std::string_view> PartWithId(int idWord, bool pic18) {
  for (const PartFacts& p : kParts) {
    if (p.deviceId && IsPic18Timing(p) == pic18 && *p.deviceId == (idWord & ~kRevisionBits)) return p.name;
  }
  return std::nullopt;
}

}  // namespace quorvi

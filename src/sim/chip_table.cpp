// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <string>

#include "sim/chip_info.h"

namespace quorvi::sim {

namespace {

// Cycle times are the documents' figures: a cycle completes only when the host
// waited that long (a chip state may scale them with an injected timing
// margin). Configuration bits a part does not implement read as its data
// sheet says; where the sheet is unsure they read 0, the stricter choice for
// a host that compares them.

// DS30189 (16C84) and DS30262 (16F83/84/84A): Begin Erase/Programming is
// internally timed, 10 ms max; bulk erase needs Begin Programming after it and
// Vdd 4.5 V or more; 000001/000111 + Begin Programming erases a protected part.
// PIC16C84 data sheet: configuration bits 13:5 not implemented (read: unsure, 0).
constexpr ChipInfo Classic84(std::string_view name, int words, int cp, int configBits) {
  return {.name = name, .kind = ChipClass::kFlash14, .programWords = words, .dataBytes = 64, .pins = 18,
          .vppSwitch = 1, .configBits = configBits, .cpMask = cp, .begin = BeginMode::kEraseProgramInternal,
          .bulk = BulkMode::kThenBeginProgramming, .cpDisable = true, .programUs = 10'000, .eraseUs = 10'000,
          .dataUs = 10'000, .minEraseVdd = 4.5, .document = "DS30262"};
}

// DS30034 (16F627/628): the classic command set; with the internal oscillator
// and MCLR as an input the part runs its own code unless Vpp comes first.
// Begin Erase/Programming 4 ms (TPROG), code-protect erase 10 ms; device ID
// at 2006h; configuration bit 9 not implemented (read: unsure, 0). Its data
// EEPROM time is unsure: the A parts' 6 ms (DS41196 p.5) is asked.
constexpr ChipInfo F62x(std::string_view name, int words, int id) {
  return {.name = name, .kind = ChipClass::kFlash14, .programWords = words, .dataBytes = 128, .pins = 18,
          .vppSwitch = 1, .configBits = 0x3DFF, .cpMask = 0x3C00, .cpdMask = 0x0100, .deviceId = id,
          .entry = Entry::kVppFirstOrQuick, .vppWindowUs = 250, .mclreMask = 0x0020,
          .begin = BeginMode::kEraseProgramInternal,
          .bulk = BulkMode::kThenBeginProgramming, .cpDisable = true, .programUs = 4'000, .eraseUs = 10'000,
          .dataUs = 6'000, .minEraseVdd = 4.5, .document = "DS30034"};
}

// DS41196 (16F627A/628A/648A): the classic set without the code-protect
// erase pair: Bulk Erase Program Memory after Load Configuration clears the
// protection and the configuration word, self-timed (TERA 6 ms); Begin
// Programming internally timed, TPROG 4 ms; bits 12:9 are not implemented.
constexpr ChipInfo F62xA(std::string_view name, int words, int data, int id) {
  return {.name = name, .kind = ChipClass::kFlash14, .programWords = words, .dataBytes = data, .pins = 18,
          .vppSwitch = 1, .configBits = 0x21FF, .cpMask = 0x2000, .cpdMask = 0x0100, .deviceId = id,
          .entry = Entry::kVppFirstOrQuick, .vppWindowUs = 250, .mclreMask = 0x0020,
          .begin = BeginMode::kEraseProgramInternal,
          .bulk = BulkMode::kSelfTimed, .programUs = 4'000, .eraseUs = 6'000, .dataUs = 6'000,
          .minEraseVdd = 4.5, .document = "DS41196"};
}

// DS41191 (12F629/675, 16F630/676): OSCCAL RETLW at 3FFh and band-gap bits
// 13:12 are erased by Bulk Erase Program Memory with the address in
// configuration space; bulk erases are self-timed (TERA 8 ms); TPROG 2.5 ms,
// data TDPROG 6 ms; configuration bits 11:9 read 0; device ID at 2006h.
constexpr ChipInfo F629(std::string_view name, int pins, int id) {
  return {.name = name, .kind = ChipClass::kFlash14, .programWords = 1024, .dataBytes = 128, .pins = pins,
          .vppSwitch = 1, .configBits = 0x31FF, .cpMask = 0x0080, .cpdMask = 0x0100, .deviceId = id,
          .calibration = Calibration::kRetlwLastWord, .bandgapMask = 0x3000, .entry = Entry::kVppFirstOrQuick,
          .vppWindowUs = 250, .mclreMask = 0x0020, .begin = BeginMode::kEraseProgramInternal, .bulk = BulkMode::kSelfTimed,
          .programUs = 2'500, .eraseUs = 8'000, .dataUs = 6'000, .minEraseVdd = 4.5, .document = "DS41191"};
}

// DS39025 (16F870..877): Begin Erase/Programming 8 ms, Begin Programming Only
// 4 ms, both internally timed; no bulk erase command: the Bulk Erase Setup
// pair 000001/000111 + Begin Erase/Programming erases the whole part (8 ms).
// PIC16F87X data sheet: configuration bit 10 not implemented, read as 1.
constexpr ChipInfo F87x(std::string_view name, int words, int data, int pins, int id) {
  return {.name = name, .kind = ChipClass::kFlash14, .programWords = words, .dataBytes = data, .pins = pins,
          .vppSwitch = 2, .configBits = 0x3BFF, .configReadOnes = 0x0400, .cpMask = 0x3030, .cpdMask = 0x0100,
          .deviceId = id,
          .begin = BeginMode::kEraseProgramInternal, .programOnly = ProgramOnlyMode::kInternal,
          .cpDisable = true, .programUs = 8'000, .programOnlyUs = 4'000, .eraseUs = 8'000, .dataUs = 8'000,
          .minEraseVdd = 4.5, .document = "DS39025"};
}

// DS39589 p.7 (16F873A..877A): Begin Erase/Programming internally timed 8 ms;
// Begin Programming Only externally timed, 1 ms minimum, ended by 010111;
// program memory through eight write latches; Chip Erase 011111 8 ms.
// PIC16F87XA data sheet: configuration bits 12, 5 and 4 read as 1.
constexpr ChipInfo F87xA(std::string_view name, int words, int data, int pins, int id) {
  return {.name = name, .kind = ChipClass::kFlash14, .programWords = words, .dataBytes = data, .pins = pins,
          .vppSwitch = 2, .configBits = 0x2FCF, .configReadOnes = 0x1030, .cpMask = 0x2000, .cpdMask = 0x0100,
          .deviceId = id,
          .begin = BeginMode::kEraseProgramInternal, .programOnly = ProgramOnlyMode::kExternal,
          .endsWith23 = true, .bulk = BulkMode::kSelfTimed, .chipErase = true, .latchWords = 8,
          .programUs = 8'000, .programOnlyUs = 1'000, .eraseUs = 8'000, .dataUs = 8'000, .minEraseVdd = 4.5,
          .document = "DS39589"};
}

// DS39603 (16F818/819): the 16F87xA command set with four write latches;
// internal oscillator and MCLR as input make Vpp-first (or at once) entry
// necessary. End Programming is 010111 in our reading of the document, and
// its cycle times are unsure (2 and 5 ms): the model asks the 16F87xA's 8 ms.
constexpr ChipInfo F81x(std::string_view name, int words, int data, int id) {
  return {.name = name, .kind = ChipClass::kFlash14, .programWords = words, .dataBytes = data, .pins = 18,
          .vppSwitch = 1, .cpMask = 0x2000, .cpdMask = 0x0100, .deviceId = id,
          .entry = Entry::kVppFirstOrQuick, .vppWindowUs = 250, .mclreMask = 0x0020,
          .begin = BeginMode::kEraseProgramInternal,
          .programOnly = ProgramOnlyMode::kExternal, .endsWith23 = true, .bulk = BulkMode::kSelfTimed,
          .chipErase = true, .latchWords = 4, .programUs = 8'000, .programOnlyUs = 1'000, .eraseUs = 8'000,
          .dataUs = 8'000, .minEraseVdd = 4.5, .document = "DS39603"};
}

// DS30324 (16F72..77): no data EEPROM; two words per externally timed
// Begin Programming (1 ms minimum) ended by 001110; Bulk Erase Program Memory
// self-timed 30 ms, clears the configuration word too, Vdd 4.5 V or more.
constexpr ChipInfo F7x(std::string_view name, int words, int pins) {
  return {.name = name, .kind = ChipClass::kFlash14, .programWords = words, .pins = pins, .vppSwitch = 2,
          .cpMask = 0x0010, .begin = BeginMode::kProgramExternal, .endsWith14 = true,
          .bulk = BulkMode::kSelfTimed, .bulkEraseTakesConfig = true, .latchWords = 2, .programUs = 1'000,
          .eraseUs = 30'000, .minEraseVdd = 4.5, .document = "DS30324"};
}

// DS30228 (16C6x/7x EPROM): 100 us programming pulses (Begin Programming ...
// End Programming), Vdd 4.75..5.25 V while programming; no electrical erase.
// Configuration bits the data sheets leave unimplemented read 0 (unsure).
constexpr ChipInfo C6x(std::string_view name, int words, int pins, int cp, int configBits) {
  return {.name = name, .kind = ChipClass::kOtp14, .programWords = words, .pins = pins,
          .vppSwitch = pins <= 18 ? 1 : 2, .configBits = configBits, .cpMask = cp, .programUs = 100,
          .minWriteVdd = 4.75, .document = "DS30228"};
}

// 12C5XX programming document (DS40152): the address counter resets to the
// configuration word (FFFh); 100 us pulses; MOVLW calibration in the last word.
// The 12C5xx implement configuration bits 4:0 only (read: unsure, 0).
constexpr ChipInfo C5xx(std::string_view name, int words, int pins, int cp, int configBits) {
  return {.name = name, .kind = ChipClass::kOtp12, .programWords = words, .pins = pins, .vppSwitch = 1,
          .idAddress = words, .configAddress = 0xFFF, .configBits = configBits, .cpMask = cp,
          .calibration = Calibration::kMovlwLastWord, .programUs = 100, .minWriteVdd = 4.75,
          .document = "DS40152"};
}

constexpr std::array kChips = {
    Classic84("16C84", 1024, 0x0010, 0x001F),
    Classic84("16F83", 512, 0x3FF0, 0x3FFF),
    Classic84("16F84", 1024, 0x3FF0, 0x3FFF),
    Classic84("16F84A", 1024, 0x3FF0, 0x3FFF),
    // Device IDs from the programming documents' tables, with a silicon
    // revision in bits 4:0 that no host may compare.
    F62x("16F627", 1024, 0x07A3),
    F62x("16F628", 2048, 0x07C3),
    F62xA("16F627A", 1024, 128, 0x1041),
    F62xA("16F628A", 2048, 128, 0x1066),
    F62xA("16F648A", 4096, 256, 0x1102),
    F629("12F629", 8, 0x0F82),
    F629("12F675", 8, 0x0FC4),
    F629("16F630", 14, 0x10C1),
    F629("16F676", 14, 0x10E1),
    F87x("16F870", 2048, 64, 28, 0x0D00),
    F87x("16F871", 2048, 64, 40, 0x0D20),
    F87x("16F872", 2048, 64, 28, 0x08E0),
    F87x("16F873", 4096, 128, 28, 0x0960),
    F87x("16F874", 4096, 128, 40, 0x0920),
    F87x("16F876", 8192, 256, 28, 0x09E0),
    F87x("16F877", 8192, 256, 40, 0x09A0),
    F87xA("16F873A", 4096, 128, 28, 0x0E40),
    F87xA("16F874A", 4096, 128, 40, 0x0E60),
    F87xA("16F876A", 8192, 256, 28, 0x0E00),
    F87xA("16F877A", 8192, 256, 40, 0x0E23),
    F81x("16F818", 1024, 128, 0x04C0),
    F81x("16F819", 2048, 256, 0x04E0),
    F7x("16F72", 2048, 28),
    F7x("16F73", 4096, 28),
    F7x("16F74", 4096, 40),
    F7x("16F76", 8192, 28),
    F7x("16F77", 8192, 40),
    // The original 16C62/64/65/73/74 protect with bits 5:4 only; the parts
    // that came with brown-out reset repeat the pair up to bit 13.
    C6x("16C61", 1024, 18, 0x0010, 0x001F),
    C6x("16C62", 2048, 28, 0x0030, 0x003F),
    C6x("16C63", 4096, 28, 0x3F30, 0x3F7F),
    C6x("16C64", 2048, 40, 0x0030, 0x003F),
    C6x("16C65", 4096, 40, 0x0030, 0x003F),
    C6x("16C71", 1024, 18, 0x0010, 0x001F),
    C6x("16C72", 2048, 28, 0x3F30, 0x3F7F),
    C6x("16C73", 4096, 28, 0x0030, 0x003F),
    C6x("16C74", 4096, 40, 0x0030, 0x003F),
    C6x("16C76", 8192, 28, 0x3F30, 0x3F7F),
    C6x("16C77", 8192, 40, 0x3F30, 0x3F7F),
    // 16C55x programming document: the 16C6x algorithm on an 18-pin package.
    C6x("16C554", 512, 18, 0x3F30, 0x3F3F),
    C6x("16C556", 1024, 18, 0x3F30, 0x3F3F),
    C6x("16C558", 2048, 18, 0x3F30, 0x3F3F),
    // PIC14000 programming document: a 28-pin part whose MCLR only Vpp3
    // reaches; factory calibration block at 0FC0h..0FFFh, kept by the user.
    // Its data sheet leaves configuration bits 6 and 1 unimplemented.
    ChipInfo{.name = "14000", .kind = ChipClass::kOtp14, .programWords = 4096, .pins = 28, .vppSwitch = 3,
             .configBits = 0x3FBD, .calibration = Calibration::kBlock, .calibrationFirst = 0x0FC0,
             .calibrationLast = 0x0FFF, .programUs = 100, .minWriteVdd = 4.75, .document = "PIC14000 programming document"},
    C5xx("12C508", 512, 8, 0x008, 0x01F),
    C5xx("12C508A", 512, 8, 0x008, 0x01F),
    C5xx("12C509", 1024, 8, 0x008, 0x01F),
    C5xx("12C509A", 1024, 8, 0x008, 0x01F),
    // The 16 bytes of EEPROM on the 12CE51x sit on an internal I2C bus the
    // programming interface does not reach.
    C5xx("12CE518", 512, 8, 0x008, 0x01F),
    C5xx("12CE519", 1024, 8, 0x008, 0x01F),
    C5xx("16C505", 1024, 14, 0xFD0, 0xFFF),
};

// 24Cxx two-wire EEPROMs. Control byte 1010 xyz R/W: x, y, z are chip-select
// pins A2..A1..A0 or block bits, per part. The socket ties A2 high and A1, A0
// low (the host's A8h); parts with fewer pins read a fixed 0 or a block bit
// there. Self-timed write cycle TWC 5 ms (Microchip 24xx data sheets,
// Atmel AT24C256 tWR 5 ms). 8-pin packages.
// The bus speed: 100 kHz for the names that may stand for the old 24C01A..
// 24C16 and 24C32 parts (their data sheets' standard mode), 400 kHz for the
// 24LC512/515 (4.5-5.5 V) and the AT24C256 (5 V).
constexpr ChipInfo Eeprom(std::string_view name, int bytes, int page, int addressBytes, int selectPins,
                          int fixedZero, int blockMask, int blockShift, std::string_view document,
                          bool fast = false) {
  return {.name = name, .kind = ChipClass::kEeprom24, .programWords = bytes, .dataBytes = 0, .pins = 8,
          .vppSwitch = 2, .configBits = 0, .programUs = 5'000, .pageBytes = page, .addressBytes = addressBytes,
          .selectPins = selectPins, .fixedZeroBits = fixedZero, .blockMask = blockMask, .blockShift = blockShift,
          .fastBus = fast, .maxVdd = 6.25, .minWriteVdd = 2.5, .document = document};
}

constexpr std::array kSerialEeproms = {
    Eeprom("24C01", 128, 8, 1, 0b111, 0, 0, 0, "DS21201 (24C01A/24LC01B)"),
    Eeprom("24C02", 256, 8, 1, 0b111, 0, 0, 0, "DS21202 (24C02A/24LC02B)"),
    // A2, A1 pins; bit 1 of the control byte is block P0 (address bit 8).
    Eeprom("24C04", 512, 16, 1, 0b110, 0, 0b001, 8, "DS21708 (24LC04B)"),
    // A2 pin; P1 P0 carry address bits 9:8.
    Eeprom("24C08", 1024, 16, 1, 0b100, 0, 0b011, 8, "DS21710 (24LC08B)"),
    // No select pins; P2..P0 carry address bits 10:8.
    Eeprom("24C16", 2048, 16, 1, 0, 0, 0b111, 8, "DS21703 (24LC16B)"),
    Eeprom("24C32", 4096, 32, 2, 0b111, 0, 0, 0, "DS21072 (24LC32A)"),
    Eeprom("24C64", 8192, 32, 2, 0b111, 0, 0, 0, "DS21189 (24LC64)"),
    Eeprom("24C128", 16384, 64, 2, 0b111, 0, 0, 0, "DS21191 (24LC128)"),
    // Only A1, A0 pins; the control byte's bit 3 must be 0.
    Eeprom("AT24C256", 32768, 64, 2, 0b011, 0b100, 0, 0, "Atmel AT24C256", true),
    Eeprom("ST24256", 32768, 64, 2, 0b011, 0b100, 0, 0, "ST 24256 (two address pins)"),
    Eeprom("24LC512", 65536, 128, 2, 0b111, 0, 0, 0, "DS21754 (24LC512)", true),
    // A2 must be tied high to operate (the socket does); bit 3 is block
    // select B0 = address bit 15; sequential reads wrap inside the block.
    ChipInfo{.name = "24LC515", .kind = ChipClass::kEeprom24, .programWords = 65536, .dataBytes = 0, .pins = 8,
             .vppSwitch = 2, .configBits = 0, .programUs = 5'000, .pageBytes = 64, .addressBytes = 2,
             .selectPins = 0b011, .blockMask = 0b100, .blockShift = 13, .rollWithinBlock = true, .fastBus = true,
             .maxVdd = 6.25, .minWriteVdd = 2.5, .document = "DS21673 (24LC515)"},
};

// DS39576 (PIC18FXX2/XX8 Flash programming): 16K words, 256 bytes of data
// EEPROM, 8-byte panel write buffers, 4 panels of 8 KB. Device IDs from its
// device ID table (DEVID2:DEVID1, revision bits 4:0 as 0). MCLR on Vpp2 in
// the 28- and 40-pin sockets.
constexpr ChipInfo Pic18(std::string_view name, int pins, int id, bool ccp2mx) {
  return {.name = name, .kind = ChipClass::kPic18, .programWords = 16384, .dataBytes = 256, .pins = pins,
          .vppSwitch = 2, .configBits = 0, .deviceId = id, .programUs = 1'000, .eraseUs = 5'000,
          .hasCcp2mx = ccp2mx, .minWriteVdd = 4.5, .minEraseVdd = 4.5, .document = "DS39576"};
}

constexpr std::array kPic18Chips = {
    Pic18("18F252", 28, 0x0400, true),
    Pic18("18F452", 40, 0x0424, true),
    Pic18("18F258", 28, 0x0840, false),
    Pic18("18F458", 40, 0x0863, false),
};

}  // namespace

std::span<const ChipInfo> ChipTable() { return kChips; }
std::span<const ChipInfo> Pic18Table() { return kPic18Chips; }
std::span<const ChipInfo> SerialEepromTable() { return kSerialEeproms; }

Result<const ChipInfo*> FindChip(std::string_view name) {
  const auto it = std::find_if(kChips.begin(), kChips.end(), [&](const ChipInfo& s) { return s.name == name; });
  if (it != kChips.end()) return &*it;
  const auto eeprom =
      std::find_if(kSerialEeproms.begin(), kSerialEeproms.end(), [&](const ChipInfo& s) { return s.name == name; });
  if (eeprom != kSerialEeproms.end()) return &*eeprom;
  const auto pic18 =
      std::find_if(kPic18Chips.begin(), kPic18Chips.end(), [&](const ChipInfo& s) { return s.name == name; });
  if (pic18 != kPic18Chips.end()) return &*pic18;
  // DS30190: the original 16C5x are programmed with twelve data pins in
  // parallel, which the board's two serial lines cannot drive.
  for (const std::string_view parallel : {"16C54", "16C55", "16C56", "16C57", "16C58"}) {
    if (name.substr(0, 5) == parallel && (name.size() == 5 || name[5] == 'A' || name[5] == 'B')) {
      return Status::Fail("The " + std::string(name) +
                          " is programmed in parallel mode, which this board cannot do; it is not simulated");
    }
  }
  return Status::Fail("No simulated chip named " + std::string(name));
}

}  // namespace quorvi::sim

// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/pic18_protocol.h"

#include <utility>

#include "hw/delay.h"

namespace quorvi {

namespace {

constexpr int kWordBits = 14;
constexpr int kNibbleBits = 4;
constexpr int kByteBits = 8;
constexpr int kTopOfByte = 128;
// The waits the operations name; the timing table lengthens them to the document's.
constexpr float kProgramHoldMs = 1.0F;
constexpr float kBulkEraseMs = 6.0F;

bool TextBit(const std::string& text, int bit) { return text[static_cast<size_t>(kWordBits - 1 - bit)] == '1'; }

}  // namespace

Pic18Protocol::Pic18Protocol(SerialProtocol& serial) : serial_(serial), link_(serial.link()) {}

// The second pause hook of the timing layer: it waits nothing measurable.
void Pic18Protocol::PauseHook() {}

void Pic18Protocol::Send4(int command) {
  const std::string text = ToBitText(command);
  for (int bit = 0; bit < kNibbleBits; ++bit) serial_.SendBit(TextBit(text, bit));
}

void Pic18Protocol::SendWord16(uint32_t payload) { serial_.SendWord16(payload); }

void Pic18Protocol::Send8ThenRelease(int value) {
  const std::string text = ToBitText(value);
  for (int bit = 0; bit < kByteBits; ++bit) serial_.SendBit(TextBit(text, bit));
  link_.SetDataLine(kTrue);
}

int Pic18Protocol::Read8() {
  MarkByte();
  return ByteFrom(link_.TakeSamples(), 0);
}

void Pic18Protocol::MarkByte() {
  for (int i = 0; i < kByteBits; ++i) {
    serial_.Hold(IcspTiming().setupNs);
    link_.SetClockLine(kTrue);
    PauseHook();
    serial_.Hold(IcspTiming().setupNs);
    link_.SetClockLine(kFalse);
    link_.MarkSample();
  }
}

int Pic18Protocol::ByteFrom(const std::vector<bool>& bits, size_t first) {
  int value = 0;
  for (size_t i = first; i < first + kByteBits; ++i) value = value / 2 + (bits[i] ? kTopOfByte : 0);
  return value;
}

void Pic18Protocol::Transfer(int command, uint32_t payload) {
  Send4(command);
  SendWord16(payload);
}

void Pic18Protocol::SetTablePointer(int upper, int high, int low) {
  Transfer(cmd18::kCoreInstruction, insn18::kMovlw + static_cast<uint32_t>(upper));
  Transfer(cmd18::kCoreInstruction, insn18::kMovwfTblptrU);
  Transfer(cmd18::kCoreInstruction, insn18::kMovlw + static_cast<uint32_t>(high));
  Transfer(cmd18::kCoreInstruction, insn18::kMovwfTblptrH);
  Transfer(cmd18::kCoreInstruction, insn18::kMovlw + static_cast<uint32_t>(low));
  Transfer(cmd18::kCoreInstruction, insn18::kMovwfTblptrL);
}

void Pic18Protocol::SetTablePointerTo(uint32_t address) {
  SetTablePointer(static_cast<int>((address >> 16) & 0xFF), static_cast<int>((address >> 8) & 0xFF),
                  static_cast<int>(address & 0xFF));
}

void Pic18Protocol::MoveTablePointer(uint32_t address, TablePointer& pointer) {
  if (!pointer) {
    SetTablePointerTo(address);
  } else {
    // Upper, high, low, in the order SetTablePointer loads them.
    constexpr std::array<std::pair<int, uint32_t>, 3> kBytes = {
        {{16, insn18::kMovwfTblptrU}, {8, insn18::kMovwfTblptrH}, {0, insn18::kMovwfTblptrL}}};
    for (const auto& [shift, store] : kBytes) {
      const uint32_t byte = (address >> shift) & 0xFF;
      if (byte == ((*pointer >> shift) & 0xFF)) continue;
      Transfer(cmd18::kCoreInstruction, insn18::kMovlw + byte);
      Transfer(cmd18::kCoreInstruction, store);
    }
  }
  pointer = address;
}

int Pic18Protocol::ReadTableByte() {
  MarkTableByte();
  return ByteFrom(link_.TakeSamples(), 0);
}

void Pic18Protocol::MarkTableByte() {
  Send4(cmd18::kTableReadPostInc);
  Send8ThenRelease(0);
  link_.SetDataLine(kTrue);
  PauseHook();
  MarkByte();
}

std::vector<int> Pic18Protocol::ReadProgramMemory(int lastWordAddress,
                                                  const std::function<bool(int address)>& keepGoing) {
  std::vector<int> words;
  serial_.EnterProgrammingMode();
  SetTablePointer(0, 0, 0);
  // The bits are taken a block at a time: one round trip for many words on a port that queues.
  const auto take = [&] {
    const std::vector<bool> bits = link_.TakeSamples();
    for (size_t first = 0; first + 2 * kByteBits <= bits.size(); first += 2 * kByteBits) {
      words.push_back(ByteFrom(bits, first + kByteBits) * 256 + ByteFrom(bits, first));
    }
  };
  for (int address = 0; address <= lastWordAddress; ++address) {
    if (keepGoing && !keepGoing(address)) break;
    MarkTableByte();
    MarkTableByte();
    if ((address + 1) % kWordsPerTake == 0) take();
  }
  take();
  link_.SetDataLine(kFalse);
  serial_.LeaveProgrammingMode();
  return words;
}

void Pic18Protocol::PrepareWrite() {
  SetTablePointer(0x3C, 0x00, 0x06);
  Transfer(cmd18::kTableWrite, 0x0000);
}

void Pic18Protocol::BeginBlock(uint32_t address, TablePointer& pointer) {
  Transfer(cmd18::kCoreInstruction, insn18::kBsfEepgd);
  Transfer(cmd18::kCoreInstruction, insn18::kBcfCfgs);
  SetTablePointerTo(address);
  pointer = address;
}

void Pic18Protocol::SetPanelMode(bool multiPanel, TablePointer& pointer) {
  Transfer(cmd18::kCoreInstruction, insn18::kBsfEepgd);
  Transfer(cmd18::kCoreInstruction, insn18::kBsfCfgs);
  MoveTablePointer(addr18::kPanelModeRegister, pointer);
  Transfer(cmd18::kTableWrite, multiPanel ? kMultiPanelWrites : kSinglePanelWrites);
}

void Pic18Protocol::LoadPanelBuffer(uint32_t address, std::span<const uint8_t, kPanelBufferBytes> bytes,
                                    bool startProgramming, TablePointer& pointer) {
  MoveTablePointer(address, pointer);
  for (int pair = 0; pair < kPanelBufferBytes / 2; ++pair) {
    const auto index = static_cast<size_t>(pair * 2);
    const uint32_t payload = bytes[index] | (static_cast<uint32_t>(bytes[index + 1]) << 8);
    const bool last = pair == kPanelBufferBytes / 2 - 1;
    int command = cmd18::kTableWritePostInc2;
    if (last) command = startProgramming ? cmd18::kTableWriteStartProgram : cmd18::kTableWrite;
    Transfer(command, payload);
  }
  // Three writes moved it two bytes each; the last leaves it where it wrote.
  pointer = address + kPanelBufferBytes - 2;
  if (startProgramming) StartProgrammingHold();
}

void Pic18Protocol::StartProgrammingHold() {
  // DS39576 Figure 3-5: NOP whose fourth clock stays high for P9, then low
  // for P10 (5 us) before the operand.
  for (int bit = 0; bit < kNibbleBits - 1; ++bit) serial_.SendBit(false);
  serial_.Hold(IcspTiming().setupNs);
  link_.SetClockLine(kTrue);
  serial_.WaitAtLeast(kProgramHoldMs, serial_.timing().hold18);
  link_.SetClockLine(kFalse);
  serial_.WaitAtLeast(kOneUnitMs, serial_.timing().discharge18);
  SendWord16(insn18::kNop);
}

void Pic18Protocol::SelectConfigurationMemory() {
  Transfer(cmd18::kCoreInstruction, insn18::kBsfEepgd);
  Transfer(cmd18::kCoreInstruction, insn18::kBsfCfgs);
  // A code-protect bit programmed while the counter sits in its block could
  // lock out the writes after it.
  Transfer(cmd18::kCoreInstruction, insn18::kGotoOutsideCodeFirst);
  Transfer(cmd18::kCoreInstruction, insn18::kGotoOutsideCodeSecond);
}

void Pic18Protocol::ProgramConfigByte(int index, int value, TablePointer& pointer) {
  MoveTablePointer(addr18::kConfigBytes + static_cast<uint32_t>(index), pointer);
  const auto byte = static_cast<uint32_t>(value & 0xFF);
  Transfer(cmd18::kTableWriteStartProgram, (index % 2 == 0) ? byte : (byte << 8));
  StartProgrammingHold();
}

void Pic18Protocol::WriteConfigByte(int index, int value) {
  SelectConfigurationMemory();
  TablePointer pointer;
  ProgramConfigByte(index, value, pointer);
}

std::vector<int> Pic18Protocol::ReadBytes(uint32_t address, int count) {
  SetTablePointerTo(address);
  std::vector<int> bytes;
  for (int i = 0; i < count; ++i) bytes.push_back(ReadTableByte());
  return bytes;
}

void Pic18Protocol::WriteIdBytes(std::span<const uint8_t, kPanelBufferBytes> bytes) {
  TablePointer pointer;
  BeginBlock(addr18::kIdLocations, pointer);
  LoadPanelBuffer(addr18::kIdLocations, bytes, true, pointer);
}

int Pic18Protocol::ShiftOutTablat() {
  Send4(cmd18::kShiftOutTablat);
  Send8ThenRelease(0);
  link_.SetDataLine(kTrue);
  PauseHook();
  return Read8();
}

void Pic18Protocol::SelectDataEeprom(int address) {
  Transfer(cmd18::kCoreInstruction, insn18::kBcfEepgd);
  Transfer(cmd18::kCoreInstruction, insn18::kBcfCfgs);
  Transfer(cmd18::kCoreInstruction, insn18::kMovlw + static_cast<uint32_t>(address & 0xFF));
  Transfer(cmd18::kCoreInstruction, insn18::kMovwfEeadr);
}

int Pic18Protocol::ReadDataEeprom(int address) {
  SelectDataEeprom(address);
  Transfer(cmd18::kCoreInstruction, insn18::kBsfRd);
  Transfer(cmd18::kCoreInstruction, insn18::kMovfEedataW);
  Transfer(cmd18::kCoreInstruction, insn18::kMovwfTablat);
  return ShiftOutTablat();
}

bool Pic18Protocol::WriteDataEeprom(int address, int value) {
  SelectDataEeprom(address);
  Transfer(cmd18::kCoreInstruction, insn18::kMovlw + static_cast<uint32_t>(value & 0xFF));
  Transfer(cmd18::kCoreInstruction, insn18::kMovwfEedata);
  Transfer(cmd18::kCoreInstruction, insn18::kBsfWren);
  Transfer(cmd18::kCoreInstruction, insn18::kMovlw + 0x55);
  Transfer(cmd18::kCoreInstruction, insn18::kMovwfEecon2);
  Transfer(cmd18::kCoreInstruction, insn18::kMovlw + 0xAA);
  Transfer(cmd18::kCoreInstruction, insn18::kMovwfEecon2);
  Transfer(cmd18::kCoreInstruction, insn18::kBsfWr);
  const uint32_t t0 = link_.clock().Milliseconds();
  bool done = false;
  while (!done) {
    DelayMs(link_.clock(), 1.0F);
    Transfer(cmd18::kCoreInstruction, insn18::kMovfEecon1W);
    Transfer(cmd18::kCoreInstruction, insn18::kMovwfTablat);
    done = (ShiftOutTablat() & 0x02) == 0;  // WR clears when the write is over
    if (link_.clock().Milliseconds() - t0 >= kDataWritePollMs) break;
  }
  Transfer(cmd18::kCoreInstruction, insn18::kBcfWren);
  return done;
}

void Pic18Protocol::BulkErase() {
  SetTablePointerTo(addr18::kBulkEraseRegister);
  Transfer(cmd18::kTableWrite, kBulkEraseChip);
  Transfer(cmd18::kCoreInstruction, insn18::kNop);
  Transfer(cmd18::kCoreInstruction, insn18::kNop);
  serial_.WaitAtLeast(kBulkEraseMs, serial_.timing().bulkErase18);
}

}  // namespace quorvi

// SPDX-License-Identifier: GPL-3.0-or-later
// The 12/14-bit core serial programming commands, bit by bit on the lines.
#pragma once

#include <cstdint>
#include <string>
#include <vector>
#include <string_view>

#include "hw/port_link.h"
#include "protocol/timing.h"

namespace quorvi {

/// Words read in a row whose bits are taken in one go; a port that queues
/// writes answers them in one round trip.
inline constexpr int kWordsPerTake = 64;

/// The six-bit command codes (sent LSB first).
namespace cmd {
inline constexpr int kLoadConfiguration = 0;     // 000000
inline constexpr int kEraseSetup1 = 1;           // 000001
inline constexpr int kLoadDataProgram = 2;       // 000010
inline constexpr int kLoadDataData = 3;          // 000011
inline constexpr int kReadDataProgram = 4;       // 000100
inline constexpr int kReadDataData = 5;          // 000101
inline constexpr int kIncrementAddress = 6;      // 000110
inline constexpr int kEraseSetup2 = 7;           // 000111
inline constexpr int kBeginProgramming = 8;      // 001000
inline constexpr int kBulkEraseProgram = 9;      // 001001
inline constexpr int kBulkEraseData = 11;        // 001011
inline constexpr int kEndProgramming = 14;       // 001110
inline constexpr int kEndProgramming2 = 23;      // 010111
inline constexpr int kBeginProgrammingOnly = 24; // 011000
inline constexpr int kChipErase = 31;            // 011111
}  // namespace cmd

/// What the command layer needs to know about the selected device.
struct ProtocolTarget {
  bool core12 = false;
  /// Word cycles are Begin Programming Only ... End Programming.
  bool programOnlyCycles = false;
  bool pairFlag = false;
  int pinCount = 0;
  /// The 14000: its MCLR pin sits where only Vpp3 reaches.
  bool mclrOnVpp3 = false;
  /// The algorithm whose documented minimums the waits must meet.
  TimingClass timing = TimingClass::kFlash16F8x;
  /// Mode entry with Vpp before Vdd.
  bool vppFirst = false;
  /// A settle wait between Vdd and Vpp (18-pin parts that may run their code).
  bool settlesBeforeVpp = false;
  /// Turns a named wait and its minimum into a DelayMs request.
  WaitPlanner plan = LengthenedWait;
};

/// 14 characters of "1"/"0", bit 13 first.
std::string ToBitText(int value);
/// "001000" -> 8: each digit weighted by 2 to its distance from the right end.
int CommandCodeFromText(std::string_view text);
/// The two check bits a pairFlag device expects before bit 0 of a word.
struct CheckBits {
  bool first;   // odd count of 1s among bits 13, 11, ..., 1
  bool second;  // even count of 1s among bits 12, 10, ..., 0
};
CheckBits CheckBitsFor(int word);

/// Serial programming of 12- and 14-bit core parts over a PortLink. Keeps no
/// state of its own: the address counter lives in the chip.
class SerialProtocol {
 public:
  SerialProtocol(PortLink& link, ProtocolTarget target);

  const ProtocolTarget& target() const { return target_; }
  PortLink& link() { return link_; }
  const ProgrammingTiming& timing() const { return TimingOf(target_.timing); }
  /// Waits `requestedMs`, or longer when the chip's document asks for more.
  void WaitAtLeast(float requestedMs, const MinimumWait& minimum);
  /// Spins until `minimumNs` (with the margin) have passed since the last port access.
  void Hold(int64_t minimumNs);

  /// One bit: data line, then a clock pulse; the chip latches on the falling edge.
  void SendBit(bool bit);
  void SendCommand(int code);
  void SendCommandForRead(int code);
  void SendWord16(uint32_t value);
  void LoadConfiguration(int word);
  void LoadProgramData(int word);
  void LoadDataMemory(int value);
  int ReadProgramWord();
  /// `count` words from the address on, each followed by an increment: a
  /// port that queues answers a block of them in one round trip.
  std::vector<int> ReadProgramWords(int count);
  int ReadDataMemory();
  void IncrementAddress();
  /// Load Configuration with `data`, then seven increments: the counter on
  /// the configuration word (2007h).
  void GoToConfigurationWord(int data);
  void BeginProgramming();
  void EndProgramming();
  /// Supplies off, 100 ms, Vdd on, the 18-pin settle wait, Vpp on, 100 ms;
  /// a Vpp-first part gets Vpp before Vdd.
  void EnterProgrammingMode();
  /// Vpp on, then Vdd, with the part's documented gap between them.
  void PowerVppFirst();
  void LeaveProgrammingMode();

  /// Erases a code-protected part through the configuration word.
  void CodeProtectEraseConfigPath();

 private:
  /// One clock pulse, with the setup (or, after a command, tdly2) before it.
  void Pulse();
  void SendBits(int value, int count);
  void SendDataFrame(int word, bool withCheckBits);
  int ReadFrame();
  /// ReadFrame's line sequence with its data bits marked, and the word from taken bits.
  void MarkFrame();
  static int WordFrom(const std::vector<bool>& bits, size_t first);
  void Wait(float ms);

  PortLink& link_;
  ProtocolTarget target_;
  bool afterCommand_ = false;
};

}  // namespace quorvi

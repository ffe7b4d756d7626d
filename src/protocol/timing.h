// SPDX-License-Identifier: GPL-3.0-or-later
// The waits the chips' programming documents require, per programming
// algorithm, and how a wait the protocols name is lengthened to meet them.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

namespace quorvi {

/// One documented minimum: how long, and where the figure comes from.
struct MinimumWait {
  float ms = 0.0F;  // 0: the document sets none
  std::string_view source;
};

/// The programming algorithms that differ in their waits.
enum class TimingClass {
  kFlash16F8x,   // 16C84, 16F83, 16F84, 16F84A
  kFlash16F62x,  // 16F627, 16F628
  kFlash16F62xA, // 16F627A, 16F628A, 16F648A
  kFlash12F629,  // 12F629, 12F675, 16F630, 16F676
  kFlash16F87x,  // 16F870 .. 16F877
  kFlash16F87xA, // 16F873A .. 16F877A
  kFlash16F81x,  // 16F818, 16F819
  kFlash16F7x,   // 16F72 .. 16F77
  kEprom14,      // 16C6x/7x, 16C55x, 14000
  kEprom12,      // 12C5xx, 12CE5xx, 16C505
  kPic18,        // 18FXX2/XX8
};

/// The minimums of one algorithm. A wait the part does not use stays 0.
struct ProgrammingTiming {
  TimingClass id;
  std::string_view name;
  MinimumWait program{};       // Begin Programming 001000, internally timed (program, ID, configuration)
  MinimumWait programOnly{};   // 011000 (or 001000 on the 16F7x) until End Programming
  MinimumWait data{};          // data EEPROM byte, internally timed
  MinimumWait bulkErase{};     // Bulk Erase Program / Data Memory
  MinimumWait chipErase{};     // Chip Erase 011111
  MinimumWait protectErase{};  // the 000001/000111 + Begin Programming erase of a protected part
  MinimumWait pulse{};         // one EPROM programming pulse, Begin .. End Programming
  MinimumWait hold18{};        // 18F P9: PGC held high to program
  MinimumWait discharge18{};   // 18F P10: PGC low after P9
  MinimumWait bulkErase18{};   // 18F P11: bulk erase with the clocks held low
};

/// Bit-level minimums of the 12/14-bit serial interface, common to every part.
struct IcspBitTiming {
  int64_t setupNs;         // data before the falling clock edge
  int64_t holdNs;          // data after the falling clock edge
  int64_t commandToDataNs; // tdly2: last falling edge of a command to the next rising edge
  int64_t vppToCommandNs;  // thld0: Vpp (or Vdd, for a Vpp-first entry) to the first clock
  int64_t vppBeforeVddNs;  // Vpp-first entry: MCLR at Vpp before Vdd rises
  int64_t vddBeforeVppNs;  // Vdd-first entry: Vdd settled before MCLR rises
};
const IcspBitTiming& IcspTiming();

/// The two-wire bus speeds of 24Cxx memories at 5 V.
enum class BusSpeed { kStandard, kFast };

/// Two-wire bus minimums of one speed class (I2C standard 100 kHz, fast 400 kHz).
struct BusTiming {
  std::string_view name;
  int64_t highNs;       // tHIGH
  int64_t lowNs;        // tLOW
  int64_t startSetupNs; // tSU:STA
  int64_t startHoldNs;  // tHD:STA
  int64_t stopSetupNs;  // tSU:STO
  int64_t busFreeNs;    // tBUF
  int64_t dataSetupNs;  // tSU:DAT
  std::string_view source;
};
const BusTiming& BusTimingFor(BusSpeed speed);

/// The table entry of an algorithm.
const ProgrammingTiming& TimingOf(TimingClass id);

/// How much longer than the document a lengthened wait runs: room for a
/// clock that runs a little fast and a chip at the edge of its figures.
inline constexpr double kWaitMargin = 1.1;

/// A bit-level minimum with the margin, in whole nanoseconds.
int64_t WithWaitMargin(int64_t minimumNs);

/// The `DelayMs` argument for a wait the protocols name as `requestedMs`:
/// unchanged when it already lasts the minimum with the margin, else the
/// shortest request that does.
float LengthenedWait(float requestedMs, const MinimumWait& minimum);

/// How a protocol turns a named wait and its minimum into a `DelayMs`
/// request. The programs use `LengthenedWait`; tests put in shorter ones to
/// show that the simulated chips refuse them.
using WaitPlanner = std::function<float(float requestedMs, const MinimumWait& minimum)>;

}  // namespace quorvi

// SPDX-License-Identifier: GPL-3.0-or-later
#include "protocol/timing.h"

#include <array>
#include <cmath>

#include "hw/delay.h"

namespace quorvi {

namespace {

// Where two sources differ, the longer figure is kept; "unsure" marks a
// figure that the document leaves open, and the longer choice is taken.
constexpr std::array<ProgrammingTiming, 11> kTimings{{
    {.id = TimingClass::kFlash16F8x,
     .name = "16C84/16F83/16F84/16F84A",
     .program = {10.0F, "DS30189 p.4: Begin Erase/Programming, WAIT 10 ms (DS30262 p.4 gives 8 ms for the 16F84A)"},
     .data = {10.0F, "DS30189 p.4: data memory, WAIT 10 ms"},
     .bulkErase = {10.0F, "DS30262: bulk erase 10 ms"},
     .protectErase = {10.0F, "DS30262: disable code protection, wait 10 ms"}},
    {.id = TimingClass::kFlash16F62x,
     .name = "16F627/628",
     .program = {4.0F, "DS41196 p.5 (TPROG, the 16F62x figure)"},
     .data = {6.0F, "DS41196 p.5 (TDPROG)"},
     .bulkErase = {10.0F, "DS30034: bulk erase (unsure: taken as the 16F84's 10 ms)"},
     .protectErase = {10.0F, "DS30034: code-protect erase 10 ms"}},
    {.id = TimingClass::kFlash16F62xA,
     .name = "16F627A/628A/648A",
     .program = {4.0F, "DS41196 p.5 (TPROG)"},
     .data = {6.0F, "DS41196 p.5 (TDPROG)"},
     .bulkErase = {6.0F, "DS41196 (TERA)"}},
    {.id = TimingClass::kFlash12F629,
     .name = "12F629/675, 16F630/676",
     .program = {2.5F, "DS41191 (TPROG)"},
     .data = {6.0F, "DS41191 (TDPROG)"},
     .bulkErase = {8.0F, "DS41191 (TERA)"}},
    {.id = TimingClass::kFlash16F87x,
     .name = "16F870..877",
     .program = {8.0F, "DS39025: Begin Erase/Programming 8 ms"},
     .programOnly = {4.0F, "DS39025: Begin Programming Only 4 ms, internally timed"},
     .data = {8.0F, "DS39025: data memory 8 ms"},
     .protectErase = {8.0F, "DS39025: bulk erase setup and Begin Erase/Programming 8 ms"}},
    {.id = TimingClass::kFlash16F87xA,
     .name = "16F873A..877A",
     .program = {8.0F, "DS39589 p.7: Begin Erase/Programming, internally timed 8 ms"},
     .programOnly = {1.0F, "DS39589 p.7: Begin Programming Only to End Programming, TPROG 1 ms"},
     .data = {8.0F, "DS39589 p.7: data memory 8 ms"},
     .bulkErase = {8.0F, "DS39589 p.7: bulk erase 8 ms"},
     .chipErase = {8.0F, "DS39589 p.7: Chip Erase 8 ms (an open programmer waits 10 ms)"}},
    {.id = TimingClass::kFlash16F81x,
     .name = "16F818/819",
     .program = {8.0F, "DS39603 (unsure: 2 ms; the 16F87xA's 8 ms is kept)"},
     .programOnly = {1.0F, "DS39603: Begin Programming Only to End Programming 1 ms"},
     .data = {8.0F, "DS39603 (unsure; the 16F87xA's 8 ms is kept)"},
     .bulkErase = {8.0F, "DS39603 (unsure: 5 ms; the 16F87xA's 8 ms is kept)"},
     .chipErase = {8.0F, "DS39603 (unsure: 5 ms; the 16F87xA's 8 ms is kept)"}},
    {.id = TimingClass::kFlash16F7x,
     .name = "16F72..77",
     .programOnly = {1.0F, "DS30324: Begin Programming to End Programming 1 ms"},
     .bulkErase = {30.0F, "DS30324: bulk erase 30 ms"}},
    {.id = TimingClass::kEprom14,
     .name = "14-bit EPROM",
     .pulse = {0.1F, "DS30228: programming pulse 100 us"}},
    {.id = TimingClass::kEprom12,
     .name = "12-bit EPROM",
     .pulse = {0.1F, "DS40175 p.7: programming pulse 100 us"}},
    {.id = TimingClass::kPic18,
     .name = "18FXX2/XX8",
     .hold18 = {1.0F, "DS39576 P9: PGC high 1 ms to program"},
     .discharge18 = {0.005F, "DS39576 P10: PGC low 5 us after P9"},
     .bulkErase18 = {5.0F, "DS39576 P11: bulk erase 5 ms (an open programmer waits 10 ms)"}},
}};

// DS30262 and DS39025 (p.18 Table 6-1): setup and hold 100 ns, tdly2 1 us, thld0 5 us;
// DS41196 and DS41191: TPPDP, MCLR at Vpp 5 us before Vdd on a Vpp-first entry.
// The Vdd-first entry figures show Vdd settled before MCLR rises without a
// number (unsure): the same 5 us is kept.
constexpr IcspBitTiming kIcsp{.setupNs = 100,
                              .holdNs = 100,
                              .commandToDataNs = 1000,
                              .vppToCommandNs = 5000,
                              .vppBeforeVddNs = 5000,
                              .vddBeforeVppNs = 5000};

// Microchip 24xx data sheets (DS21202, DS21754), AT24C256 data sheet, and the
// I2C bus specification's standard and fast modes.
constexpr BusTiming kStandardBus{.name = "100 kHz",
                                 .highNs = 4000,
                                 .lowNs = 4700,
                                 .startSetupNs = 4700,
                                 .startHoldNs = 4000,
                                 .stopSetupNs = 4700,
                                 .busFreeNs = 4700,
                                 .dataSetupNs = 250,
                                 .source = "24C01A/02A (DS21202) and I2C standard mode"};
constexpr BusTiming kFastBus{.name = "400 kHz",
                             .highNs = 600,
                             .lowNs = 1300,
                             .startSetupNs = 600,
                             .startHoldNs = 600,
                             .stopSetupNs = 600,
                             .busFreeNs = 1300,
                             .dataSetupNs = 100,
                             .source = "24LC512 (DS21754) at 4.5-5.5 V and I2C fast mode"};

}  // namespace

const IcspBitTiming& IcspTiming() { return kIcsp; }

const BusTiming& BusTimingFor(BusSpeed speed) { return speed == BusSpeed::kFast ? kFastBus : kStandardBus; }

const ProgrammingTiming& TimingOf(TimingClass id) {
  for (const ProgrammingTiming& timing : kTimings) {
    if (timing.id == id) return timing;
  }
  return kTimings.front();  // every class has its row; a test checks that
}

int64_t WithWaitMargin(int64_t minimumNs) {
  return static_cast<int64_t>(std::ceil(static_cast<double>(minimumNs) * kWaitMargin));
}

float LengthenedWait(float requestedMs, const MinimumWait& minimum) {
  const double target = static_cast<double>(minimum.ms) * kWaitMargin;
  if (minimum.ms <= 0.0F || RealDelayMs(requestedMs) >= target) return requestedMs;
  // Short waits move in steps of a tenth of a millisecond, long ones in whole ones.
  for (auto tenths = static_cast<int64_t>(std::floor(requestedMs * 10.0F)) + 1;; ++tenths) {
    const float candidate = static_cast<float>(tenths) / 10.0F;
    if (RealDelayMs(candidate) >= target) return candidate;
  }
}

}  // namespace quorvi

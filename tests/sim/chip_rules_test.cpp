// SPDX-License-Identifier: GPL-3.0-or-later
// Each rule a real chip or the board enforces holds for the host's own layers,
// which keep every documented minimum; a host that breaks it once loses the
// write, and the chip or the board names the rule.
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <span>
#include <string>
#include <tuple>
#include <utility>

#include "protocol/eeprom_bus.h"
#include "protocol/pic18_protocol.h"
#include "support/sim_link.h"

namespace quorvi {
namespace {

using test::SimLink;

struct Rule {
  const char* rule;  // with the document that sets it
  const char* chip;
  int cell;  // a program word, or 300000h.. an 18F configuration byte
  int kept, broken;
  const char* named;  // part of what the chip or the board records
  std::function<void(SimLink&, bool keep)> host;
};

void CheckRules(std::span<const Rule> rules, int64_t portAccessNs) {
  for (const Rule& rule : rules) {
    for (const bool keep : {true, false}) {
      SCOPED_TRACE(std::string(rule.chip) + ", " + rule.rule + (keep ? ", kept" : ", broken"));
      SimLink s(rule.chip, portAccessNs);
      rule.host(s, keep);
      s.shortWaits = false;
      s.Wait(50.0F);  // every cycle the host started has had its time
      const sim::ChipState& c = s.state();
      const auto index = static_cast<size_t>(rule.cell & 0xFFFF);
      EXPECT_EQ(rule.cell >= 0x300000 ? c.configBytes[index] : c.program[index], keep ? rule.kept : rule.broken);
      const std::string problems = s.Problems();
      EXPECT_TRUE(keep ? problems.empty() : problems.find(rule.named) != std::string::npos) << problems;
    }
  }
}

// Load Data for Program Memory clocked by hand, with the bit-level gaps given.
struct Gaps {
  int64_t setupNs = 200, holdNs = 200, commandToDataNs = 2000;
};

void HandLoad(SimLink& s, int word, Gaps g) {
  const auto bit = [&](bool high) {
    s.clock.Advance(g.holdNs);
    s.link.SetDataLine(high ? kTrue : kFalse);
    s.clock.Advance(g.setupNs);
    s.link.PulseClock();
  };
  s.clock.Advance(g.commandToDataNs);  // after the command before it, too
  for (int i = 0; i < 6; ++i) bit(((cmd::kLoadDataProgram >> i) & 1) != 0);
  s.clock.Advance(g.commandToDataNs);
  for (int i = 0; i < 16; ++i) bit((((word & 0x3FFF) << 1 >> i) & 1) != 0);  // start and stop bits 0
  s.clock.Advance(g.holdNs);
  s.link.SetDataLine(kFalse);
}

using Minimum = MinimumWait ProgrammingTiming::*;
constexpr Minimum kProgram = &ProgrammingTiming::program;
constexpr Minimum kProgramOnly = &ProgrammingTiming::programOnly;

// The documented wait, or half of it for a host that cuts it.
void Wait(SimLink& s, bool keep, Minimum minimum) {
  s.shortWaits = !keep;
  s.p.WaitAtLeast(0.0F, s.p.timing().*minimum);
  s.shortWaits = false;
}

// Entry, Load 1234h at 0, `begin`, its wait, and `end` when the part's cycle is externally timed.
void Cycle(SimLink& s, int begin, Minimum minimum, bool keepWait = true, int end = -1) {
  s.p.EnterProgrammingMode();
  s.p.LoadProgramData(0x1234);
  s.p.SendCommand(begin);
  Wait(s, keepWait, minimum);
  if (end >= 0) s.p.SendCommand(end);
}

Pic18Protocol Enter18(SimLink& s) {
  s.p.EnterProgrammingMode();
  return Pic18Protocol(s.p);
}

Rule BitRule(const char* rule, Gaps cut, const char* named) {
  return {rule, "16F84A", 2, 0x1234, 0x3FFF, named, [cut](SimLink& s, bool keep) {
            s.p.EnterProgrammingMode();
            s.p.IncrementAddress();  // back to back: tdly2 applies
            s.p.IncrementAddress();
            keep ? s.p.LoadProgramData(0x1234) : HandLoad(s, 0x1234, cut);
            s.p.BeginProgramming();
            Wait(s, true, kProgram);
          }};
}

// On a port that costs nothing the host's own waits must keep these.
const Rule kBitRules[] = {
    BitRule("data set up 100 ns before the falling clock edge (DS30262, DS39025 Table 6-1)", {.setupNs = 0},
            "before the falling clock edge"),
    BitRule("data held 100 ns after the falling clock edge (DS30262, DS39025 Table 6-1)", {.holdNs = 0},
            "after the falling clock edge"),
    BitRule("tdly2 1 us from a command to the next clock (DS30262, DS39025 Table 6-1)", {.commandToDataNs = 0},
            "(tdly2)"),
    {"thld0 5 us from entry to the first clock (DS30262, DS39025 Table 6-1)", "16F84A", 0, 0x1234, 0x3FFF, "(thld0)",
     [](SimLink& s, bool keep) {
       s.p.EnterProgrammingMode();
       if (!keep) {  // enters again and loads at once
         s.link.SetVpp1(kFalse);
         s.Wait(10.0F);
         s.link.SetVpp1(kTrue);
       }
       s.p.LoadProgramData(0x1234);
       s.p.BeginProgramming();
       Wait(s, true, kProgram);
     }},
    {"18F: PGC low 5 us after programming, or the next command is lost (DS39576 P10)", "18F452", 4, 0x0000, 0xFFFF,
     "P10 keeps PGC low 5 us", [](SimLink& s, bool keep) {
       const std::array<uint8_t, 8> first{0x34, 0x12, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
       const std::array<uint8_t, 8> zeros{};
       Pic18Protocol p18 = Enter18(s);
       TablePointer pointer;
       p18.BeginBlock(0, pointer);
       p18.LoadPanelBuffer(0, first, false, pointer);
       p18.Transfer(cmd18::kTableWriteStartProgram, 0xFFFF);
       if (keep) {
         p18.StartProgrammingHold();
       } else {  // the programming hold without its P10
         for (int bit = 0; bit < 3; ++bit) s.p.SendBit(false);
         s.link.SetClockLine(kTrue);
         Wait(s, true, &ProgrammingTiming::hold18);
         s.link.SetClockLine(kFalse);
         s.p.SendWord16(insn18::kNop);
       }
       // The command lost is the MOVLW that moves the pointer on: the zeros go to group 0.
       p18.LoadPanelBuffer(8, zeros, true, pointer);
     }},
};

const std::array<uint8_t, 8> kBytes{1, 2, 3, 4, 5, 6, 7, 8};

// A multi-panel write of kBytes at offset 10h of each panel of an 18F452 but
// the `skipped` one, the last panel's group at `lastOffset`.
void MultiPanelWrite(SimLink& s, uint32_t skipped, uint32_t lastOffset) {
  Pic18Protocol p18 = Enter18(s);
  TablePointer pointer;
  p18.SetPanelMode(true, pointer);
  p18.BeginBlock(0x10, pointer);
  for (uint32_t panel = 0; panel < 4; ++panel) {
    const bool last = panel == 3;
    if (panel != skipped) p18.LoadPanelBuffer(panel * kPanelSpan + (last ? lastOffset : 0x10), kBytes, last, pointer);
  }
}

const Rule kCycleRules[] = {
    {"a Load before every Begin Programming (DS30262 p.4)", "16F84A", 1, 0x1234, 0x3FFF, "without a Load",
     [](SimLink& s, bool keep) {
       Cycle(s, cmd::kBeginProgramming, kProgram);
       s.p.IncrementAddress();
       if (keep) s.p.LoadProgramData(0x1234);
       s.p.BeginProgramming();
       Wait(s, true, kProgram);
     }},
    {"no clock in the 10 ms self-timed write; the cell is left erased (DS30262 p.4)", "16F84A", 0, 0x1234, 0x3FFF,
     "into a self-timed cycle", [](SimLink& s, bool keep) {
       s.state().program[0] = 0x0555;
       Cycle(s, cmd::kBeginProgramming, kProgram, keep);
       s.p.IncrementAddress();
     }},
    {"no clock in the 8 ms Chip Erase (DS39589 p.7)", "16F877A", 5, 0x3FFF, 0x0000, "into a self-timed cycle",
     [](SimLink& s, bool keep) {
       s.state().program[5] = 0x0000;
       Cycle(s, cmd::kChipErase, &ProgrammingTiming::chipErase, keep);
       s.p.IncrementAddress();
     }},
    {"End Programming no sooner than TPROG 1 ms (DS39589 p.7)", "16F877A", 0, 0x1234, 0x3FFF, "needs 1000 us",
     [](SimLink& s, bool keep) { Cycle(s, cmd::kBeginProgrammingOnly, kProgramOnly, keep, cmd::kEndProgramming2); }},
    {"End Programming 010111 and no other (DS39589 p.7)", "16F877A", 0, 0x1234, 0x3FFF,
     "not by the End Programming of DS39589", [](SimLink& s, bool keep) {
       Cycle(s, cmd::kBeginProgrammingOnly, kProgramOnly, true, keep ? cmd::kEndProgramming2 : cmd::kEndProgramming);
     }},
    {"End Programming 001110 and no other (DS30324)", "16F77", 0, 0x1234, 0x3FFF,
     "not by the End Programming of DS30324", [](SimLink& s, bool keep) {
       Cycle(s, cmd::kBeginProgramming, kProgramOnly, true, keep ? cmd::kEndProgramming : cmd::kEndProgramming2);
     }},
    {"EPROM pulses of 100 us (DS30228)", "16C73", 0, 0x1234, 0x3FFF, "programming pulse of",
     [](SimLink& s, bool keep) {
       s.state().pulses = {.seed = 1, .minPulses = 1, .maxPulses = 1};
       Cycle(s, cmd::kBeginProgramming, &ProgrammingTiming::pulse, keep, cmd::kEndProgramming);
     }},
    {"Vdd stays while MCLR is at Vpp: Vpp goes first (DS30262)", "16F84A", 0, 0x1234, 0x3FFF,
     "Vdd switched off while MCLR was at Vpp", [](SimLink& s, bool keep) {
       s.p.EnterProgrammingMode();
       s.p.LoadProgramData(0x1234);
       s.p.BeginProgramming();
       if (!keep) s.link.SetVdd("off");
       Wait(s, true, kProgram);
       s.p.LeaveProgrammingMode();
     }},
    {"board: no Vpp without Vdd on a Vdd-first part (DS30262)", "16F84A", 0, 0x1234, 0x3FFF,
     "Vpp1 on for 5 us without Vdd", [](SimLink& s, bool keep) {
       ProtocolTarget target = s.p.target();
       target.vppFirst = !keep;
       SerialProtocol host(s.link, target);
       host.EnterProgrammingMode();
       host.LoadProgramData(0x1234);
       host.BeginProgramming();
       host.WaitAtLeast(0.0F, host.timing().program);
     }},
    {"board: no supply on for less than 1 ms, here the 24C02's write cycle (DS21202)", "24C02", 0x40, 0x5A, 0xFF,
     "Vdd switched on for only", [](SimLink& s, bool keep) {
       s.PowerBus();
       EepromBus bus(s.link, s.BusTarget());
       bus.EepromWriteByte(0x40, 0x5A);
       if (keep) bus.WaitForAcknowledge(0x40);
       s.link.SetVdd("off");
     }},
    {"18F: PGC high 1 ms to program (DS39576 P9)", "18F452", 0, 0x0201, 0xFFFF, "P9 needs 1 ms",
     [](SimLink& s, bool keep) {
       Pic18Protocol p18 = Enter18(s);
       TablePointer pointer;
       p18.BeginBlock(0, pointer);
       s.shortWaits = !keep;
       p18.LoadPanelBuffer(0, kBytes, true, pointer);
     }},
    {"18F: every panel's buffer loaded whole before a multi-panel write (DS39576 3.2)", "18F452", 0x1008, 0x0201,
     0xFFFF, "panel 2's buffer not loaded",
     [](SimLink& s, bool keep) { MultiPanelWrite(s, keep ? 4 : 1, 0x10); }},
    {"18F: the pointer keeps the offset the panels were loaded at (DS39576 3.2)", "18F452", 0x08, 0x0201, 0xFFFF,
     "but programmed with the pointer at", [](SimLink& s, bool keep) { MultiPanelWrite(s, 4, keep ? 0x10 : 0x18); }},
    {"18F: bulk erase 5 ms without clocks (DS39576 P11)", "18F452", 0, 0xFFFF, 0x1234, "P11 needs 5 ms",
     [](SimLink& s, bool keep) {
       s.state().program[0] = 0x1234;
       Pic18Protocol p18 = Enter18(s);
       s.shortWaits = !keep;
       p18.BulkErase();
       p18.ReadBytes(0, 2);
     }},
    {"18F: configuration written only with EEPGD and CFGS set (DS39576 pp.12-14)", "18F452", 0x300001, 0x22, 0x27,
     "without EEPGD and CFGS set", [](SimLink& s, bool keep) {
       Pic18Protocol p18 = Enter18(s);
       if (keep) return p18.WriteConfigByte(1, 0x22);
       p18.Transfer(cmd18::kCoreInstruction, insn18::kBsfEepgd);
       p18.Transfer(cmd18::kCoreInstruction, insn18::kBcfCfgs);
       p18.SetTablePointerTo(addr18::kConfigBytes + 1);
       p18.Transfer(cmd18::kTableWriteStartProgram, 0x2200);
       p18.StartProgrammingHold();
     }},
};

TEST(ChipRules, BitTimingHoldsForTheHostOnAFreePortAndFailsWhenCut) { CheckRules(kBitRules, 0); }

TEST(ChipRules, CyclesAndOrdersHoldForTheHostAndFailWhenBrokenOnce) {
  CheckRules(kCycleRules, VirtualClock::kDefaultPortAccessNs);
}

// One byte written by hand at the bus minimums `t`. A start right after a
// stop shows tBUF; one after a fresh clock rise shows tSU:STA.
void HandWrite(SimLink& s, const BusTiming& t, bool afterStop) {
  const auto sda = [&](bool high) { s.link.SetDataLine(high ? kTrue : kFalse); };
  const auto scl = [&](bool high) { s.link.SetClockLine(high ? kTrue : kFalse); };
  const auto rise = [&](bool data, int64_t highNs) {
    s.clock.Advance(t.lowNs - t.dataSetupNs);
    sda(data);
    s.clock.Advance(t.dataSetupNs);
    scl(true);
    s.clock.Advance(highNs);
  };
  const auto byte = [&](int v) {
    for (int bit = 7; bit >= -1; --bit) {  // -1: released for the acknowledge
      rise(bit < 0 || ((v >> bit) & 1) != 0, t.highNs);
      scl(false);
    }
  };
  const auto stop = [&] {
    rise(false, t.stopSetupNs);
    sda(true);
  };
  scl(false);
  if (afterStop) {
    stop();
    s.clock.Advance(t.busFreeNs);
  } else {
    rise(true, t.startSetupNs);
  }
  sda(false);
  s.clock.Advance(t.startHoldNs);
  scl(false);
  byte(AddressingFor(s.BusTarget(), 0x40).control);
  if (s.info().addressBytes == 2) byte(0x00);
  byte(0x40);
  byte(0x5A);
  stop();
}

// The host's own bus keeps them: the serial EEPROM operations run on a free port.
TEST(BusRules, EachMinimumOfTheSpeedClassHoldsAndCutInHalfLosesTheWrite) {
  constexpr std::pair<int64_t BusTiming::*, const char*> kMinimums[] = {
      {&BusTiming::highNs, "SCL high for"},
      {&BusTiming::lowNs, "SCL low for"},
      {&BusTiming::startSetupNs, "start condition after SCL rose"},
      {&BusTiming::startHoldNs, "SCL fell after the start condition"},
      {&BusTiming::stopSetupNs, "stop condition after SCL rose"},
      {&BusTiming::busFreeNs, "start condition after the last stop"},
      {&BusTiming::dataSetupNs, "SDA set up before SCL rose"},
  };
  for (const auto& [chip, speed] : {std::pair{"24C02", "100 kHz (DS21202)"}, {"24LC512", "400 kHz (DS21754)"}}) {
    for (const auto& [minimum, named] : kMinimums) {
      for (const bool keep : {true, false}) {
        SCOPED_TRACE(std::string(chip) + ", " + named + (keep ? ", kept" : ", cut"));
        SimLink s(chip, 0);
        s.PowerBus();
        BusTiming t = BusTimingFor(s.BusTarget().speed);
        if (!keep) t.*minimum /= 2;
        HandWrite(s, t, minimum != &BusTiming::startSetupNs);
        s.Wait(10.0F);
        EXPECT_EQ(s.state().program[0x40], keep ? 0x5A : 0xFF);
        const std::string problems = s.Problems();
        EXPECT_TRUE(keep ? problems.empty() : problems.find(named) != std::string::npos &&
                                                   problems.find(speed) != std::string::npos) << problems;
      }
    }
  }
}

TEST(ConfigurationWord, UnimplementedBitsReadAsTheDataSheetSays) {
  for (const auto& [chip, written, read] : {std::tuple{"16F877", 0x0000, 0x0400},   // PIC16F87X: bit 10 reads 1
                                            {"16F877A", 0x0000, 0x1030},  // PIC16F87XA: bits 12, 5, 4 read 1
                                            {"16F628A", 0x3FFF, 0x21FF},  // DS41196: bits 12:9 read 0
                                            {"12F675", 0x3FFF, 0x31FF}}) {  // DS41191: bits 11:9 read 0
    SimLink s(chip);
    test::WriteWord(s, 0x2007, written);
    EXPECT_EQ(test::ReadWord(s, 0x2007), read) << chip;
    EXPECT_EQ(s.Problems(), "");
  }
}

}  // namespace
}  // namespace quorvi

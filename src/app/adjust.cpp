// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/adjust.h"

#include "app/shell.h"
#include "hw/delay.h"
#include "util/arith.h"

namespace quorvi {

std::string ToggleAdjustSupply(PortLink& link, AdjustSupply supply, bool on) {
  const Flag level = on ? kTrue : kFalse;
  switch (supply) {
    case AdjustSupply::kVdd:
      link.SetVdd(on ? "on" : "off");
      return on ? kCheckVdd : "";
    case AdjustSupply::kVpp1:
      link.SetVpp1(level);
      return on ? kCheckVpp1 : "";
    case AdjustSupply::kVpp2:
      link.SetVpp2(level);
      return on ? kCheckVpp2 : "";
    case AdjustSupply::kVpp3:
      link.SetVpp3(level);
      return on ? kCheckVpp3 : "";
  }
  return "";
}

std::variant<AdjustVddEntry, UserMessage> ReadAdjustVddEntry(std::string answer) {
  if (answer.size() == 1) answer += ".0";
  const double value = VbVal(answer);
  if (value >= 10.0) return UserMessage{kVoltageTooHigh, title::kQuorvi2, MessageIcon::kCritical};
  if (value <= 0.0) return UserMessage{kWrongValue, title::kQuorvi2, MessageIcon::kNone};
  return AdjustVddEntry{answer, static_cast<float>(value)};
}

void CloseAdjust(PortLink& link, bool shiftHeld) {
  Clock& clock = link.clock();
  if (shiftHeld) {
    for (void (PortLink::*vpp)(Flag) : {&PortLink::SetVpp1, &PortLink::SetVpp2, &PortLink::SetVpp3}) {
      (link.*vpp)(kTrue);
      DelayMs(clock, 250.0F);
      (link.*vpp)(kFalse);
      DelayMs(clock, 250.0F);
    }
    link.SetVdd("on");
    DelayMs(clock, 250.0F);
    link.SetVdd("off");
  }
  // Every Vpp goes before Vdd, Vpp3 too: no chip's programming document
  // allows MCLR at Vpp once its supply is gone.
  link.SetVpp1(kFalse);
  link.SetVpp2(kFalse);
  link.SetVpp3(kFalse);
  link.SetVdd("off");
}

void ApplyAdjustVdd(PortLink& link, const AdjustVddEntry& entry) {
  // A level the counter cannot reach is not one an accepted entry gives.
  (void)link.SetVddLevel(entry.volts);
}

}  // namespace quorvi

// SPDX-License-Identifier: GPL-3.0-or-later
#include "ops/chip_id.h"

#include <vector>

#include "device/part_facts.h"
#include "ops/op_texts.h"
#include "protocol/pic18_protocol.h"
#include "util/arith.h"

namespace quorvi {

namespace {

constexpr int kIdIncrements = 6;  // Load Configuration leaves the counter at 2000h; the ID sits at 2006h
constexpr int kAllOnes14 = 0x3FFF;
constexpr int kAllOnes18 = 0xFFFF;

std::string Hex(int value) { return HexText(value) + "h"; }

// Applies the state's `wrongChip` policy to what the ID said.
OpOutcome Judge(OperationFrame& frame, const ChipIdentity& identity) {
  AppState& state = frame.state();
  const std::string text = ChipIdentityMessage(state.device, identity);
  if (text.empty()) return OpOutcome::kOk;
  UiHost& ui = frame.ui();
  switch (state.quiet() ? WrongChipPolicy::kStop : state.wrongChip) {
    case WrongChipPolicy::kForce:
      ui.ShowMessage({text + " Going on as asked.", title::kQuorvi2Alert, MessageIcon::kInformation});
      return OpOutcome::kOk;
    case WrongChipPolicy::kAsk:
      if (ui.AskYesNo({text + op_text::kGoOnAnyway, title::kQuorvi2Alert, MessageIcon::kExclamation})) {
        return OpOutcome::kOk;
      }
      return OpOutcome::kCancelled;
    case WrongChipPolicy::kStop: break;
  }
  return frame.ReportFailure({text, title::kQuorvi2Error, MessageIcon::kExclamation}, text.c_str());
}

std::optional<OpResult> Stop(OperationFrame& frame, OpOutcome identity) {
  if (identity == OpOutcome::kOk) return std::nullopt;
  frame.End();
  OpResult stopped = frame.Finish(identity);
  stopped.wrongChip = true;
  return stopped;
}

}  // namespace

ChipIdentity ReadChipIdentity(OperationFrame& frame, const PowerUpPlan& plan, bool stayOnMatch) {
  const DeviceDescriptor& device = frame.device();
  const std::optional<int> expected = FactsFor(device).deviceId;
  ChipIdentity identity;
  if (!expected) return identity;
  const bool pic18 = device.core() == Core::kPic18;
  PowerUpPlan entry = plan;
  entry.incrementFor12Bit = false;
  frame.PowerUp(entry);
  SerialProtocol& protocol = frame.protocol();
  if (pic18) {
    Pic18Protocol p18(protocol);
    const std::vector<int> bytes = p18.ReadBytes(addr18::kDeviceId, 2);
    identity.idWord = bytes[1] * 256 + bytes[0];
  } else {
    protocol.LoadConfiguration(0);
    for (int i = 0; i < kIdIncrements; ++i) protocol.IncrementAddress();
    identity.idWord = protocol.ReadProgramWord();
  }

  const int allOnes = pic18 ? kAllOnes18 : kAllOnes14;
  if (identity.idWord == 0 || identity.idWord == allOnes) {
    identity.verdict = ChipIdentity::Verdict::kNoChip;
  } else if ((identity.idWord & ~kRevisionBits) == *expected) {
    identity.verdict = ChipIdentity::Verdict::kMatch;
  } else {
    identity.verdict = ChipIdentity::Verdict::kOtherPart;
    if (const auto part = PartWithId(identity.idWord, pic18)) identity.part = std::string(*part);
  }
  identity.powered = stayOnMatch && identity.verdict == ChipIdentity::Verdict::kMatch;
  if (!identity.powered) frame.PowerDown();
  return identity;
}

std::string ChipIdentityMessage(const DeviceDescriptor& device, const ChipIdentity& identity) {
  switch (identity.verdict) {
    case ChipIdentity::Verdict::kNoId:
    case ChipIdentity::Verdict::kMatch: return "";
    case ChipIdentity::Verdict::kNoChip:
      return "No chip answers as a " + device.name + " would: its device ID reads " + Hex(identity.idWord) +
             (identity.idWord == 0 ? " (all zeros)" : " (all ones)") +
             ". Check that the right chip sits in the socket, the right way round, and that the board has power.";
    case ChipIdentity::Verdict::kOtherPart: break;
  }
  const std::string owner = identity.part ? "the ID of a " + *identity.part + " (revision " +
                                                Hex(identity.idWord & kRevisionBits) + ")"
                                          : "which is no part this program knows";
  return "The chip in the socket is not a " + device.name + ": its device ID reads " + Hex(identity.idWord) + ", " +
         owner + ".";
}

OpOutcome CheckChipIdentity(OperationFrame& frame, const PowerUpPlan& plan) {
  return Judge(frame, ReadChipIdentity(frame, plan));
}

std::optional<OpResult> StopForChipIdentity(OperationFrame& frame, const PowerUpPlan& plan) {
  return Stop(frame, CheckChipIdentity(frame, plan));
}

std::optional<OpResult> PowerUpIdentifiedChip(OperationFrame& frame, const PowerUpPlan& plan) {
  const ChipIdentity identity = ReadChipIdentity(frame, plan, frame.device().core() == Core::kPic18);
  if (std::optional<OpResult> stopped = Stop(frame, Judge(frame, identity))) return stopped;
  if (!identity.powered) frame.PowerUp(plan);
  return std::nullopt;
}

}  // namespace quorvi

// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/port_link.h"

#include <cmath>
#include <cstdio>

#include "hw/delay.h"

namespace quorvi {

namespace {

// The reset pulse that puts the board's Vdd counter back to mid-scale.
constexpr float kVddResetPulseMs = 250.0F;
constexpr int kVddSteps = 256;

}  // namespace

PortLink::PortLink(std::unique_ptr<PortDriver> driver, Clock& clock) : driver_(std::move(driver)), clock_(clock) {
  Write();
}

void PortLink::SetDriver(std::unique_ptr<PortDriver> driver) {
  driver_ = std::move(driver);
  outputShadow_ = line::kIdle;
  vddStepKnown_ = false;  // another board, or the same one after who knows what
  Write();
}

Clock& PortLink::clock() {
  Clock* wire = driver_->WireClock();
  return wire != nullptr ? *wire : clock_;
}

void PortLink::Write() {
  lastAccessNs_ = clock().Nanoseconds();
  driver_->WriteData(outputShadow_);
  clock().ChargePortAccess(driver_->LastAccessCostNs());
  if (batches_ == 0) driver_->Flush();
}

void PortLink::HoldSinceLastAccess(int64_t ns) {
  const int64_t left = lastAccessNs_ + ns - clock().Nanoseconds();
  if (left > 0) clock().Spin(left);
}

void PortLink::Set(uint8_t mask) {
  outputShadow_ = static_cast<uint8_t>(outputShadow_ | mask);
  Write();
}

void PortLink::Clear(uint8_t mask) {
  outputShadow_ = static_cast<uint8_t>(outputShadow_ & ~mask);
  Write();
}

void PortLink::SetOutputByte(uint8_t value) {
  outputShadow_ = value;
  Write();
}

void PortLink::SetDataLine(Flag level) {
  if (level != 0) {
    Set(line::kDataOut);
  } else {
    Clear(line::kDataOut);
  }
}

void PortLink::SetClockLine(Flag level) {
  if (level == kTrue) {
    Set(line::kClock);
  } else {
    Clear(line::kClock);
  }
}

void PortLink::PulseClock() {
  // No pause between the edges: the clock rate is what two port writes cost.
  Set(line::kClock);
  Clear(line::kClock);
}

void PortLink::SetVdd(std::string_view state) {
  if (state == "on") {
    Clear(line::kVdd);
  } else if (state == "off") {
    Set(line::kVdd);
    SetDataLine(kFalse);
    SetClockLine(kFalse);
  }
}

void PortLink::SetVpp(uint8_t mask, Flag on) {
  if (on == kTrue) {
    Clear(mask);
  } else if (on == kFalse) {
    Set(mask);
  }
}

void PortLink::SetVpp1(Flag on) { SetVpp(line::kVpp1, on); }
void PortLink::SetVpp2(Flag on) { SetVpp(line::kVpp2, on); }
void PortLink::SetVpp3(Flag on) { SetVpp(line::kVpp3, on); }

void PortLink::SetProgrammingVoltage(Flag on, int pinCount, bool mclrOnVpp3) {
  if (on != kTrue) {
    SetVpp1(kFalse);
    SetVpp2(kFalse);
    SetVpp3(kFalse);
    return;
  }
  if (!mclrOnVpp3 && (pinCount == 64 || pinCount == 40 || pinCount == 28)) SetVpp2(kTrue);
  if (pinCount == 18 || pinCount == 14 || pinCount == 8) SetVpp1(kTrue);
  if (mclrOnVpp3) SetVpp3(kTrue);
}

int64_t VddStepFor(float volts) { return RoundHalfEven(static_cast<double>(volts) / kVoltsPerVddStep); }

void PortLink::ResetVddStep() {
  Clear(line::kVddStep);
  vddStep_ = kVddStepMidScale;
  DelayMs(clock(), kVddResetPulseMs);
  Set(line::kVddStep);
  vddStepKnown_ = true;
}

Status PortLink::SetVddLevel(float volts) {
  if (volts == 5.0F) {
    ResetVddStep();
    return Status::Ok();
  }
  if (!std::isfinite(volts)) return Status::Fail("Vdd level is not a number");
  const int64_t target = VddStepFor(volts);
  if (target < 0 || target >= kVddSteps) {
    char text[96];
    std::snprintf(text, sizeof text, "Vdd level %.3f V is outside the board's range (0 to %.3f V)",
                  static_cast<double>(volts), (kVddSteps - 1) * kVoltsPerVddStep);
    return Status::Fail(text);
  }
  if (!vddStepKnown_) ResetVddStep();
  // The counter only counts up, so lowering the level wraps through 255 to 0.
  while (vddStep_ != target) {
    Clear(line::kVddStep);
    Set(line::kVddStep);
    vddStep_ = (vddStep_ + 1) % kVddSteps;
  }
  return Status::Ok();
}

bool PortLink::ReadStatus() {
  lastAccessNs_ = clock().Nanoseconds();
  statusByte_ = driver_->ReadStatus();
  clock().ChargePortAccess(driver_->LastAccessCostNs());
  return (statusByte_ & line::kDataIn) != 0;
}

void PortLink::MarkSample() {
  lastAccessNs_ = clock().Nanoseconds();
  driver_->MarkSample();
  clock().ChargePortAccess(driver_->LastAccessCostNs());
}

std::vector<bool> PortLink::TakeSamples() {
  std::vector<bool> bits;
  for (const uint8_t status : driver_->TakeSamples()) {
    statusByte_ = status;
    bits.push_back((status & line::kDataIn) != 0);
  }
  return bits;
}

void PortLink::Flush() { driver_->Flush(); }

int PortLink::ReadDataLine(int64_t lowNs, int64_t highNs) {
  MarkDataLine(lowNs, highNs);
  return TakeSamples().back() ? 1 : 0;
}

void PortLink::MarkDataLine(int64_t lowNs, int64_t highNs) {
  SetDataLine(kTrue);
  HoldSinceLastAccess(lowNs);
  SetClockLine(kTrue);
  MarkSample();
  HoldSinceLastAccess(highNs);
  SetClockLine(kFalse);
  SetDataLine(kFalse);
}

}  // namespace quorvi

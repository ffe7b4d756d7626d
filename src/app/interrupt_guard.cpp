// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/interrupt_guard.h"

#include <csignal>

#include "hw/port_link.h"

namespace quorvi {

namespace {

// The one thing a signal handler may touch.
volatile std::sig_atomic_t gSignal = 0;

extern "C" void NoteSignal(int signal) { gSignal = signal; }

}  // namespace

void InstallInterruptHandlers() {
  struct sigaction action {};
  action.sa_handler = NoteSignal;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

bool Interrupted() { return gSignal != 0; }

int InterruptedStatus() { return 128 + gSignal; }

InterruptGuardPort::InterruptGuardPort(std::unique_ptr<PortDriver> inner, std::function<void()> onStop)
    : inner_(std::move(inner)), onStop_(std::move(onStop)) {}

bool InterruptGuardPort::StopIfInterrupted() {
  if (!Interrupted() || stopping_) return false;
  stopping_ = true;
  // The power-down order of every operation: Vpp off, then Vdd off, then lines low.
  uint8_t byte = static_cast<uint8_t>(last_ | line::kVpp1 | line::kVpp2 | line::kVpp3);
  inner_->WriteData(byte);
  byte = static_cast<uint8_t>(byte | line::kVdd);
  inner_->WriteData(byte);
  byte = static_cast<uint8_t>(byte & ~(line::kDataOut | line::kClock));
  inner_->WriteData(byte);
  last_ = byte;
  inner_->Flush();
  if (onStop_) onStop_();
  return true;
}

void InterruptGuardPort::WriteData(uint8_t value) {
  if (StopIfInterrupted()) return;
  last_ = value;
  inner_->WriteData(value);
}

uint8_t InterruptGuardPort::ReadStatus() {
  StopIfInterrupted();
  return inner_->ReadStatus();
}

void InterruptGuardPort::MarkSample() {
  StopIfInterrupted();
  inner_->MarkSample();
}

}  // namespace quorvi

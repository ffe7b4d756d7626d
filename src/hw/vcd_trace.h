// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "hw/clock.h"
#include "hw/port_driver.h"
#include "hw/trace_window.h"
#include "hw/vcd_writer.h"
#include "util/result.h"

namespace quorvi {

/// A port that passes every access on and records the lines in a VCD file
/// (one wire per line, nanoseconds from the clock) for GTKWave, PulseView or
/// sigrok-cli. DataIn is known only when the status register is read, so the
/// trace shows it as of the last read. The SDA wire is the data line as a
/// two-wire decoder needs it: the port's own bus level where it has one,
/// else DataOut AND the last DataIn.
class VcdTracePort final : public PortWrapper {
 public:
  /// Starts a trace at `path`, replacing any file there (compressed as
  /// OpenTraceSink says), that keeps the changes within `window`: it opens
  /// with the levels that held at the window's start and ends at its end.
  static Result<std::unique_ptr<VcdTracePort>> Open(std::unique_ptr<PortDriver> inner, Clock& clock,
                                                    const std::string& path, TraceWindow window = {});
  ~VcdTracePort() override;

  void WriteData(uint8_t value) override;
  uint8_t ReadStatus() override;
  // Every sample is read where it is marked, so DataIn lands in the trace in time order.
  void MarkSample() override { PortDriver::MarkSample(); }
  std::vector<uint8_t> TakeSamples() override { return PortDriver::TakeSamples(); }
  std::string Describe() const override;

  /// Flushes and closes the file, if the window's end has not already;
  /// later accesses still reach the port. Fails, naming the file, when
  /// anything could not be written or the run ended before the window.
  Status Close();
 protected:
  PortDriver& Inner() const override { return *inner_; }

 private:
  VcdTracePort(std::unique_ptr<PortDriver> inner, Clock& clock, std::unique_ptr<VcdWriter> writer, std::string path,
               TraceWindow window);
  void Emit(uint8_t data, bool dataIn);
  bool Sda(uint8_t data, bool dataIn) const;
  /// Closes the file with its last stamp at `ns`.
  void CloseAt(int64_t ns);

  std::unique_ptr<PortDriver> inner_;
  Clock& clock_;
  std::unique_ptr<VcdWriter> writer_;  // null once closed
  Status closed_ = Status::Ok();      // how the file was closed
  std::string path_;
  TraceWindow window_;
  bool levelsKnown_ = false;
  int64_t lastTime_ = -1;  // of the last change
  uint8_t data_ = 0;
  bool dataIn_ = true;   // the board's pull-up until the first read says otherwise
  uint16_t levels_ = 0;  // bit i: the level of wire i
};

}  // namespace quorvi

// SPDX-License-Identifier: GPL-3.0-or-later
// quorvi2-cli: the programmer without a window.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>
#include <string>

#include "app/port_registry.h"
#include "hw/clock.h"
#include "hw/delay.h"
#include "hw/port_link.h"
#include "hw/vcd_trace.h"

namespace quorvi {
namespace {

struct GlobalOptions {
  std::string port = "record";
  std::string clock = "real";
  std::string trace;
};

std::string DescribeLines(uint8_t shadow) {
  auto supply = [&](uint8_t mask) { return (shadow & mask) == 0 ? "on " : "off"; };
  auto level = [&](uint8_t mask) { return (shadow & mask) != 0 ? '1' : '0'; };
  char text[96];
  std::snprintf(text, sizeof text, "Vdd %s  Vpp1 %s  Vpp2 %s  Vpp3 %s  Clock %c  DataOut %c", supply(line::kVdd),
                supply(line::kVpp1), supply(line::kVpp2), supply(line::kVpp3), level(line::kClock),
                level(line::kDataOut));
  return text;
}

int Fail(const std::string& message) {
  std::fprintf(stderr, "quorvi2-cli: %s\n", message.c_str());
  return 1;
}

// Opens the port the options name, traced if asked, on the clock they name.
struct Session {
  std::unique_ptr<Clock> clock;
  std::unique_ptr<PortLink> link;
};

Result<Session> OpenSession(const GlobalOptions& options) {
  const bool hardware = options.port != "record";
  if (options.clock == "virtual" && hardware) {
    return Status::Fail("the virtual clock is only for ports without hardware (record)");
  }
  Session session;
  if (options.clock == "virtual") {
    session.clock = std::make_unique<VirtualClock>();
  } else {
    session.clock = std::make_unique<RealClock>();
  }
  Result<std::unique_ptr<PortDriver>> driver = OpenPort(options.port);
  if (!driver) return driver.status();
  std::unique_ptr<PortDriver> port = std::move(driver).value();
  if (!options.trace.empty()) {
    Result<std::unique_ptr<VcdTracePort>> traced = VcdTracePort::Open(std::move(port), *session.clock, options.trace);
    if (!traced) return traced.status();
    port = std::move(traced).value();
  }
  session.link = std::make_unique<PortLink>(std::move(port), *session.clock);
  return session;
}

// Powers a target up in the usual order and down again: a first check of a
// board with a meter, or of the lines in a trace.
int PowerCycle(const GlobalOptions& options, const std::string& device, int pins) {
  Result<Session> opened = OpenSession(options);
  if (!opened) return Fail(opened.message());
  Session& s = opened.value();
  PortLink& link = *s.link;
  std::printf("Power cycle of %s (%d pins) on %s, %s clock\n", device.c_str(), pins, link.driver().Describe().c_str(),
              options.clock.c_str());
  auto step = [&](const char* what) {
    std::printf("%10.3f ms  %-22s %s\n", static_cast<double>(s.clock->Nanoseconds()) / 1e6, what,
                DescribeLines(link.outputShadow()).c_str());
  };
  link.SetProgrammingVoltage(kFalse, device, pins);
  link.SetVdd("off");
  step("supplies off");
  link.SetDataLine(kFalse);
  link.SetVdd("on");
  step("Vdd on");
  DelayMs(*s.clock, 100.0F);
  link.SetProgrammingVoltage(kTrue, device, pins);
  step("Vpp on");
  DelayMs(*s.clock, 100.0F);
  link.SetProgrammingVoltage(kFalse, device, pins);
  link.SetVdd("off");
  step("target powered down");
  if (!options.trace.empty()) std::printf("Trace written to %s\n", options.trace.c_str());
  return 0;
}

int ListPorts() {
  for (const PortBackend& backend : PortBackends()) {
    std::printf("%-34s %s\n", std::string(backend.usage).c_str(), std::string(backend.description).c_str());
  }
  return 0;
}

}  // namespace
}  // namespace quorvi

int main(int argc, char** argv) {
  using namespace quorvi;
  CLI::App app{"Quorvi device programmer for PIC microcontrollers and 24Cxx EEPROMs"};
  app.require_subcommand(1);
  GlobalOptions options;
  app.add_option("--port", options.port, "Port: lpt1, lpt2, 0xADDR, /dev/parportN, raw:ADDR or record")
      ->capture_default_str();
  app.add_option("--clock", options.clock, "real, or virtual (no hardware only)")
      ->check(CLI::IsMember({"real", "virtual"}))
      ->capture_default_str();
  app.add_option("--trace", options.trace, "Write every line change to this VCD file");

  app.add_subcommand("ports", "List the kinds of port");
  std::string device = "16F84";
  int pins = 18;
  CLI::App* power = app.add_subcommand("power-cycle", "Power a target up (Vdd, then Vpp) and down again");
  power->add_option("--device", device, "Device name (chooses the Vpp switch with the pin count)")
      ->capture_default_str();
  power->add_option("--pins", pins, "Package pin count")->capture_default_str();

  CLI11_PARSE(app, argc, argv);
  if (app.got_subcommand("ports")) return ListPorts();
  return PowerCycle(options, device, pins);
}

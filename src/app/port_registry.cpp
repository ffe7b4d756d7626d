// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/port_registry.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>

#include "hw/ftdi_port.h"
#include "hw/gpio_chip.h"
#include "hw/gpio_port.h"
#include "hw/pin_map.h"
#include "hw/port_address.h"
#include "hw/recording_port.h"
#include "sim/chip_info.h"
#include "sim/chip_state.h"
#include "sim/sim_board.h"

namespace quorvi {

namespace {

constexpr std::string_view kRawPrefix = "raw:";
// Raw I/O as root writes wherever it is told: only the PC's parallel port
// bases, unless "raw!:" asks for another on purpose.
constexpr std::string_view kRawAnyPrefix = "raw!:";
constexpr std::array<long, 3> kParallelBases{0x378, 0x278, 0x3BC};
constexpr std::string_view kGpioPrefix = "gpio:";
// The adapters whose pin numbers are a GPIO chip's line offsets.
constexpr std::array<std::string_view, 1> kGpioAdapters{"rpi"};

std::string Lower(std::string_view text) {
  std::string lower(text);
  for (char& ch : lower) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
  return lower;
}

std::string Upper(std::string_view text) {
  std::string upper(text);
  for (char& ch : upper) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
  return upper;
}

bool AcceptsAddress(std::string_view port) { return ParsePortAddress(port).has_value(); }

bool AcceptsDevicePath(std::string_view port) { return port.rfind("/dev/", 0) == 0; }

bool AcceptsRaw(std::string_view port) {
  for (const std::string_view prefix : {kRawPrefix, kRawAnyPrefix}) {
    if (Lower(port.substr(0, prefix.size())) == prefix && AcceptsAddress(port.substr(prefix.size()))) return true;
  }
  return false;
}

bool AcceptsRecord(std::string_view port) { return Lower(port) == "record"; }

Result<OpenedPort> Opened(Result<std::unique_ptr<PortDriver>> driver) {
  if (!driver) return driver.status();
  OpenedPort opened;
  opened.driver = std::move(driver).value();
  return opened;
}

Result<OpenedPort> OpenByAddress(std::string_view port, const PortEnvironment& env) {
  Result<std::string> device = FindParportByAddress(*ParsePortAddress(port), env.parports);
  if (!device) return device.status();
  return Opened(OpenPpdevPort(device.value()));
}

Result<OpenedPort> OpenDevicePath(std::string_view port, const PortEnvironment&) {
  // ppdev's ioctls on any other device would at best fail and at worst do something else.
  const std::string_view name = port.substr(port.rfind('/') + 1);
  if (!name.starts_with("parport")) {
    return Status::Fail(std::string(port) + " is not a parallel port device: use /dev/parportN");
  }
  return Opened(OpenPpdevPort(std::string(port)));
}

Result<OpenedPort> OpenRaw(std::string_view port, const PortEnvironment& env) {
  const bool any = Lower(port.substr(0, kRawAnyPrefix.size())) == kRawAnyPrefix;
  const long base = *ParsePortAddress(port.substr(any ? kRawAnyPrefix.size() : kRawPrefix.size()));
  if (!any && std::find(kParallelBases.begin(), kParallelBases.end(), base) == kParallelBases.end()) {
    return Status::Fail(FormatPortAddress(base) + " is not a parallel port base (0x378, 0x278 or 0x3bc); " +
                        "raw!:" + FormatPortAddress(base) + " drives it all the same");
  }
  return Opened(OpenRawPort(base, *env.privileges));
}

bool AcceptsGpio(std::string_view port) { return Lower(port.substr(0, kGpioPrefix.size())) == kGpioPrefix; }

Result<OpenedPort> OpenGpio(std::string_view port, const PortEnvironment& env) {
  std::string chip(port.substr(kGpioPrefix.size()));
  if (chip.starts_with("gpiochip")) chip = "/dev/" + chip;
  if (!chip.starts_with("/")) {
    return Status::Fail("\"" + std::string(port) + "\" names no GPIO chip: use gpio:/dev/gpiochipN or gpio:gpiochipN");
  }
  const std::string pins = env.pins.empty() ? "rpi" : env.pins;
  Result<PinMap> map = LoadPinMap(pins);
  if (!map) return map.status();
  const std::string_view adapter = map.value().adapter->name;
  if (std::find(kGpioAdapters.begin(), kGpioAdapters.end(), adapter) == kGpioAdapters.end()) {
    return Status::Fail("The pin map " + pins + " is for the " + std::string(adapter) +
                        ", an FTDI adapter; a gpio: port needs a map of GPIO lines (adapter rpi), such as --pins rpi");
  }
  Result<std::unique_ptr<GpioChip>> gpio = OpenGpioChip(chip);
  if (!gpio) return gpio.status();
  const bool preset = PresetPinMap(pins).ok();
  return Opened(OpenGpioPort(std::move(gpio).value(), map.value(), preset ? pins + " pins" : "pins of " + pins));
}

bool AcceptsSim(std::string_view port) { return Lower(port) == "sim" || Lower(port.substr(0, 4)) == "sim:"; }

// The simulated board as a port, with the socket the front ends reach.
class SimPort final : public PortDriver, public SimulatedSocket {
 public:
  explicit SimPort(Clock& clock) : board_(clock) {}
  sim::SimBoard& board() { return board_; }

  void WriteData(uint8_t value) override { board_.WriteData(value); }
  uint8_t ReadStatus() override { return board_.ReadStatus(); }
  std::optional<bool> BusLevel() const override { return board_.BusLevel(); }
  std::string Describe() const override { return board_.Describe(); }

  std::vector<std::string> Problems() const override { return board_.Problems(); }

  void InsertNewChip(std::string_view name) override {
    if (board_.chip() != nullptr) return;
    Result<sim::ChipState> chip = NewSimChip(name);
    if (!chip) return;  // an empty socket: the device has no simulated chip
    Result<std::unique_ptr<sim::ChipModel>> model = sim::MakeChip(std::move(chip).value());
    if (model) board_.Insert(std::move(model).value());
  }

  Status SaveChip(const std::string& path) override {
    if (board_.chip() == nullptr) return Status::Ok();
    board_.Sync();
    return sim::SaveChipState(board_.chip()->state(), path);
  }

 private:
  sim::SimBoard board_;
};

Result<OpenedPort> OpenSim(std::string_view port, const PortEnvironment& env) {
  if (env.clock == nullptr) return Status::Fail("The simulated board needs a clock");
  auto board = std::make_unique<SimPort>(*env.clock);
  if (port.size() > 4) {
    const std::string chip(port.substr(4));
    Result<sim::ChipState> state = chip.ends_with(".json") ? sim::LoadChipState(chip) : NewSimChip(chip);
    if (!state) return state.status();
    Result<std::unique_ptr<sim::ChipModel>> model = sim::MakeChip(std::move(state).value());
    if (!model) return model.status();
    board->board().Insert(std::move(model).value());
  }
  SimulatedSocket* socket = board.get();
  return OpenedPort{std::move(board), {}, socket};
}

constexpr std::string_view kFtdiPrefix = "ftdi";

bool AcceptsFtdi(std::string_view port) {
  return Lower(port) == kFtdiPrefix || Lower(port.substr(0, kFtdiPrefix.size() + 1)) == "ftdi:";
}

Result<OpenedPort> OpenFtdi(std::string_view port, const PortEnvironment& env) {
  if (env.clock == nullptr) return Status::Fail("The FTDI port needs a clock");
  Result<FtdiAddress> address = ParseFtdiAddress(port.substr(kFtdiPrefix.size()));
  if (!address) return address.status();
  Result<std::unique_ptr<FtdiBus>> bus = OpenFtdiBus(address.value());
  if (!bus) return bus.status();
  Result<PinMap> map = LoadPinMap(env.pins.empty() ? std::string(PresetFor(bus.value()->Chip())) : env.pins);
  if (!map) return map.status();
  Result<std::unique_ptr<FtdiPort>> opened = FtdiPort::Open(std::move(bus).value(), map.value(), *env.clock);
  if (!opened) return opened.status();
  return Opened(std::unique_ptr<PortDriver>(std::move(opened).value()));
}

Result<OpenedPort> OpenRecord(std::string_view, const PortEnvironment&) {
  return Opened(std::unique_ptr<PortDriver>(std::make_unique<RecordingPort>()));
}

constexpr PortTraits kHardware{};

constexpr std::array kBackends{
    PortBackend{"ppdev", "lpt1 | lpt2 | 0xADDR",
                "parallel port found by its base address, through the Linux ppdev driver",
                AcceptsAddress, OpenByAddress, kHardware},
    PortBackend{"ppdev", "/dev/parportN", "parallel port device file, through the Linux ppdev driver",
                AcceptsDevicePath, OpenDevicePath, kHardware},
    PortBackend{"raw", "raw:lpt1 | raw:lpt2 | raw:0x3bc | raw!:0xADDR",
                "direct port I/O (x86, needs root, drops it afterwards); raw! for a base that is no parallel port's",
                AcceptsRaw, OpenRaw, kHardware},
    PortBackend{"ftdi", "ftdi | ftdi:SERIAL | ftdi:VID:PID[:INDEX]",
                "an FT232R, FT232H or FT2232H cable in synchronous bit-bang mode (libftdi), wired by --pins",
                AcceptsFtdi, OpenFtdi, kHardware},
    PortBackend{"gpio", "gpio:/dev/gpiochipN",
                "Linux GPIO chip through libgpiod, its lines wired as the pin map says (--pins; default rpi: the "
                "Raspberry Pi's BCM GPIO numbers)",
                AcceptsGpio, OpenGpio, kHardware},
    PortBackend{"sim", "sim | sim:CHIP | sim:FILE.json",
                "the simulated programmer board with a simulated chip in its socket", AcceptsSim, OpenSim,
                {.takesChipFile = true, .virtualClock = true, .shownSuffix = " (simulated board)"}},
    PortBackend{"record", "record", "no hardware: keeps the lines written; the chip's data line reads high",
                AcceptsRecord, OpenRecord,
                {.takesChipFile = false, .virtualClock = true, .shownSuffix = ""}},
};

const PortBackend* BackendFor(std::string_view port) {
  for (const PortBackend& backend : kBackends) {
    if (backend.accepts(port)) return &backend;
  }
  return nullptr;
}

}  // namespace

Result<sim::ChipState> NewSimChip(std::string_view name) {
  Result<const sim::ChipInfo*> info = sim::FindChip(Upper(name));
  if (!info) return info.status();
  // As a new part arrives: factory calibration in place, everything else blank.
  return sim::FactoryState(*info.value(), 1);
}

std::optional<long> ParsePortAddress(std::string_view port) {
  const std::string name = Lower(port);
  if (name == "lpt1") return kLpt1Address;
  if (name == "lpt2") return kLpt2Address;
  if (name.size() <= 2 || name.rfind("0x", 0) != 0) return std::nullopt;
  long value = 0;
  const char* end = name.data() + name.size();
  auto [ptr, ec] = std::from_chars(name.data() + 2, end, value, 16);
  if (ec != std::errc() || ptr != end) return std::nullopt;
  return value;
}

std::span<const PortBackend> PortBackends() { return kBackends; }

PortTraits TraitsOfPort(std::string_view port) {
  const PortBackend* backend = BackendFor(port);
  return backend ? backend->traits : PortTraits{};
}

std::string ChipFilePort(const std::string& file, bool there) { return there ? "sim:" + file : "sim"; }

Result<OpenedPort> OpenPort(std::string_view port, const PortEnvironment& env) {
  if (const PortBackend* backend = BackendFor(port)) {
    Result<OpenedPort> opened = backend->open(port, env);
    if (opened) opened.value().traits = backend->traits;
    return opened;
  }
  std::string forms;
  for (const PortBackend& backend : kBackends) forms += (forms.empty() ? "" : ", ") + std::string(backend.usage);
  return Status::Fail("Unknown port \"" + std::string(port) + "\": use " + forms);
}

}  // namespace quorvi

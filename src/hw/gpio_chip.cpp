// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/gpio_chip.h"

#include <gpiod.h>
#include <grp.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "hw/shared_library.h"

namespace quorvi {

namespace {

#define QUORVI_GPIOD_CALLS(X)                                                                                   \
  X(gpiod_chip_open) X(gpiod_chip_close) X(gpiod_chip_num_lines) X(gpiod_chip_get_line) X(gpiod_chip_get_lines) \
  X(gpiod_line_request_input) X(gpiod_line_request_bulk_output) X(gpiod_line_release) X(gpiod_line_offset)       \
  X(gpiod_line_update) X(gpiod_line_consumer) X(gpiod_line_is_used) X(gpiod_line_set_value_bulk)                \
  X(gpiod_line_get_value)

struct GpiodCalls {
  QUORVI_LIBRARY_CALLS(QUORVI_GPIOD_CALLS)
};

// What `gpioinfo` shows as the lines' user.
constexpr const char* kConsumer = "quorvi";

constexpr std::string_view kListChips = "list the chips with: ls /dev/gpiochip*";

std::string LineText(unsigned offset, const PinMap* map) {
  const std::string plain = "line " + std::to_string(offset);
  if (map == nullptr || map->adapter == nullptr) return plain;
  for (size_t i = 0; i < kBoardLines; ++i) {
    if (map->lines[i].pin != static_cast<int>(offset)) continue;
    const std::string_view pin = offset < map->adapter->pins.size() ? map->adapter->pins[offset] : "";
    return (pin.empty() ? plain : std::string(pin)) + " (" + std::string(BoardLineName(static_cast<BoardLine>(i))) +
           ")";
  }
  return plain;
}

// Who may open `path` besides root: its group, unless that is root's own.
std::string DeviceGroup(const std::string& path) {
  struct stat info {};
  if (stat(path.c_str(), &info) != 0 || info.st_gid == 0) return "";
  std::vector<char> buffer(4096);
  group entry{};
  group* found = nullptr;
  if (getgrgid_r(info.st_gid, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) {
    return std::to_string(info.st_gid);
  }
  return found->gr_name;
}

// Refusals of the device file itself, on opening it.
GpioFailure ChipFailure(int error, const std::string& path) {
  GpioFailure failure{.error = error};
  switch (error) {
    case ENOENT:
      failure.fault = GpioFault::kNoChip;
      break;
    case ENOTTY:
    case ENODEV:
    case EISDIR:
      failure.fault = GpioFault::kNotAChip;
      break;
    case EACCES:
    case EPERM:
      failure.fault = GpioFault::kDenied;
      failure.group = DeviceGroup(path);
      break;
    default:
      failure.fault = GpioFault::kOther;
  }
  return failure;
}

// Refusals of a line request; `line` is the one refused, when known.
GpioFailure LineFailure(const GpiodCalls& gpiod, int error, const std::string& path, gpiod_line* line) {
  GpioFailure failure{.error = error};
  if (line != nullptr) failure.offset = gpiod.gpiod_line_offset(line);
  if (error == EACCES || error == EPERM) {
    failure.fault = GpioFault::kDenied;
    failure.group = DeviceGroup(path);
  } else if (error == EBUSY) {
    failure.fault = GpioFault::kBusy;
    // The line's info as the kernel has it now, not as it was when we got the line.
    if (line != nullptr && gpiod.gpiod_line_update(line) == 0) {
      const char* consumer = gpiod.gpiod_line_consumer(line);
      failure.holder = consumer != nullptr ? consumer : "";
    }
  }
  return failure;
}

class LibgpiodChip final : public GpioChip {
 public:
  LibgpiodChip(std::shared_ptr<const GpiodCalls> calls, gpiod_chip* chip, std::string path)
      : gpiod_(std::move(calls)), chip_(chip), path_(std::move(path)) {}
  LibgpiodChip(const LibgpiodChip&) = delete;
  LibgpiodChip& operator=(const LibgpiodChip&) = delete;
  // Closing the chip releases the lines; the outputs keep their last levels
  // until another program takes them, and the line layer leaves them idle.
  ~LibgpiodChip() override { gpiod_->gpiod_chip_close(chip_); }

  const std::string& Path() const override { return path_; }

  std::optional<GpioFailure> Request(std::span<const unsigned> outputs, std::span<const int> levels,
                                     unsigned input) override {
    const unsigned count = gpiod_->gpiod_chip_num_lines(chip_);
    std::vector<unsigned> offsets(outputs.begin(), outputs.end());
    for (const unsigned offset : offsets) {
      if (offset >= count) return GpioFailure{.fault = GpioFault::kNoLine, .offset = offset, .lines = count};
    }
    if (input >= count) return GpioFailure{.fault = GpioFault::kNoLine, .offset = input, .lines = count};
    if (offsets.size() != levels.size() || offsets.size() > GPIOD_LINE_BULK_MAX_LINES) {
      return GpioFailure{.error = EINVAL};
    }
    // The input first: when it is refused, no output has been driven.
    input_ = gpiod_->gpiod_chip_get_line(chip_, input);
    if (input_ == nullptr) return GpioFailure{.error = errno, .offset = input};
    if (gpiod_->gpiod_line_request_input(input_, kConsumer) != 0) return LineFailure(*gpiod_, errno, path_, input_);
    gpiod_line_bulk_init(&outputs_);
    if (gpiod_->gpiod_chip_get_lines(chip_, offsets.data(), static_cast<unsigned>(offsets.size()), &outputs_) != 0 ||
        gpiod_->gpiod_line_request_bulk_output(&outputs_, kConsumer, levels.data()) != 0) {
      const int error = errno;
      gpiod_->gpiod_line_release(input_);
      input_ = nullptr;
      // The kernel refuses the bulk as a whole: find the line someone else holds.
      gpiod_line* refused = nullptr;
      for (unsigned i = 0; i < outputs_.num_lines && error == EBUSY && refused == nullptr; ++i) {
        gpiod_line* line = outputs_.lines[i];
        if (gpiod_->gpiod_line_update(line) == 0 && gpiod_->gpiod_line_is_used(line)) refused = line;
      }
      gpiod_line_bulk_init(&outputs_);
      return LineFailure(*gpiod_, error, path_, refused);
    }
    return std::nullopt;
  }

  Status SetOutputs(std::span<const int> levels) override {
    if (levels.size() != outputs_.num_lines || levels.empty()) return Lost(EINVAL);
    if (gpiod_->gpiod_line_set_value_bulk(&outputs_, levels.data()) != 0) return Lost(errno);
    return Status::Ok();
  }

  Result<bool> GetInput() override {
    if (input_ == nullptr) return Lost(EINVAL);
    const int level = gpiod_->gpiod_line_get_value(input_);
    if (level < 0) return Lost(errno);
    return level != 0;
  }

 private:
  Status Lost(int error) { return Status::Fail(DescribeGpioFailure(path_, {.error = error})); }

  std::shared_ptr<const GpiodCalls> gpiod_;
  gpiod_chip* chip_;
  std::string path_;
  gpiod_line* input_ = nullptr;
  gpiod_line_bulk outputs_{};
};

}  // namespace

std::string DescribeGpioFailure(std::string_view device, const GpioFailure& failure, const PinMap* map) {
  const std::string chip(device);
  const std::string line = failure.offset ? LineText(*failure.offset, map) : "";
  switch (failure.fault) {
    case GpioFault::kNoChip:
      return "No GPIO chip " + chip + " (" + std::string(kListChips) + ")";
    case GpioFault::kNotAChip:
      return chip + " is not a GPIO chip (" + std::string(kListChips) + ")";
    case GpioFault::kDenied:
      if (!failure.group.empty()) {
        return "Permission denied on " + chip + ": add your user to its group '" + failure.group +
               "' (sudo adduser $USER " + failure.group + ") and log in again";
      }
      return "Permission denied on " + chip + ", which only root may use: install a udev rule giving the 'gpio' " +
             "group access (SUBSYSTEM==\"gpio\", KERNEL==\"gpiochip*\", GROUP=\"gpio\", MODE=\"0660\" in " +
             "/etc/udev/rules.d/60-gpio.rules, then sudo groupadd -f gpio; sudo udevadm trigger), add your user " +
             "to that group (sudo adduser $USER gpio) and log in again";
    case GpioFault::kNoLine: {
      const std::string range =
          failure.lines == 0 ? "it has no lines" : "its lines are 0.." + std::to_string(failure.lines - 1);
      return chip + " has no line for " + line + ": " + range + "; check the chip and the pin map (--pins)";
    }
    case GpioFault::kBusy:
      return (line.empty() ? "A line" : line) + " of " + chip + " is busy: " +
             (failure.holder.empty() ? "another program or driver" : "\"" + failure.holder + "\"") +
             " holds it; free it, or wire that board line to another pin (--pins)";
    case GpioFault::kOther:
      break;
  }
  return "Cannot use " + (line.empty() ? "" : line + " of ") + chip + ": " + std::strerror(failure.error);
}

Result<std::unique_ptr<GpioChip>> OpenGpioChip(const std::string& path) {
  const Result<std::shared_ptr<const GpiodCalls>> calls = LoadCalls<GpiodCalls>(QUORVI_GPIOD_SONAME, "A GPIO port");
  if (!calls) return calls.status();
  gpiod_chip* chip = calls.value()->gpiod_chip_open(path.c_str());
  if (chip == nullptr) return Status::Fail(DescribeGpioFailure(path, ChipFailure(errno, path)));
  return std::unique_ptr<GpioChip>(std::make_unique<LibgpiodChip>(calls.value(), chip, path));
}

}  // namespace quorvi

// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/ftdi_bus.h"

#include <ftdi.h>

#include <array>
#include <charconv>
#include <optional>
#include <cstdio>

#include "hw/shared_library.h"

namespace quorvi {

namespace {

#define QUORVI_FTDI_CALLS(X)                                                                                   \
  X(ftdi_new) X(ftdi_free) X(ftdi_usb_open_desc_index) X(ftdi_usb_close) X(ftdi_get_error_string)              \
  X(ftdi_set_bitmode) X(ftdi_set_latency_timer) X(ftdi_set_baudrate) X(ftdi_tcioflush) X(ftdi_read_data_submit) \
  X(ftdi_write_data_submit) X(ftdi_transfer_data_done)

struct FtdiCalls {
  QUORVI_LIBRARY_CALLS(QUORVI_FTDI_CALLS)
};

// FT232R, FT2232H, FT4232H, FT232H and FT-X: the chips with synchronous bit-bang.
constexpr std::array<int, 5> kBitBangProducts = {0x6001, 0x6010, 0x6011, 0x6014, 0x6015};

// libftdi multiplies a bit-bang baud rate by 4 and the chip clocks bytes out
// at up to 16 times the resulting rate: 15625 keeps every chip at or below
// one byte per microsecond, the pace the port's timeline counts with.
constexpr int kBitBangBaud = 15625;
// The chip sends what it sampled after at most this long (ms), not after the default 16.
constexpr unsigned char kLatencyMs = 1;

std::string Hex4(int value) {
  char text[8];
  std::snprintf(text, sizeof text, "%04x", value & 0xFFFF);
  return text;
}

std::string Wanted(const FtdiAddress& address) {
  std::string what = "FTDI device " + Hex4(address.vendor) + ":" + (address.product ? Hex4(address.product) : "*");
  if (!address.serial.empty()) what += " with serial " + address.serial;
  if (address.index > 0) what += " (match " + std::to_string(address.index) + ")";
  return what;
}

// ftdi_usb_open_desc_index's codes, as a user can act on them.
std::string OpenProblem(int code, const FtdiAddress& address, const char* detail) {
  const std::string wanted = Wanted(address);
  switch (code) {
    case -3:
      return "No " + wanted + " is connected (lsusb lists the USB devices)";
    case -4:
      return "Cannot open the " + wanted + ": permission denied? Install the program's udev rule "
             "(60-quorvi.rules gives the plugdev group access) and add yourself to plugdev, then replug it (" +
             detail + ")";
    case -5:
      return "The " + wanted + " is busy: another program holds it, or the ftdi_sio serial driver could not be "
             "detached (close any terminal on /dev/ttyUSB*) (" + detail + ")";
    default:
      return "Cannot open the " + wanted + ": " + detail;
  }
}

class LibFtdiBus final : public FtdiBus {
 public:
  LibFtdiBus(std::shared_ptr<const FtdiCalls> calls, ftdi_context* context, std::string name)
      : ftdi_(std::move(calls)), context_(context), name_(std::move(name)) {}
  ~LibFtdiBus() override {
    // The pins go back to inputs; the board's pull-ups keep the supplies off.
    ftdi_->ftdi_set_bitmode(context_, 0, BITMODE_RESET);
    ftdi_->ftdi_usb_close(context_);
    ftdi_->ftdi_free(context_);
  }
  LibFtdiBus(const LibFtdiBus&) = delete;
  LibFtdiBus& operator=(const LibFtdiBus&) = delete;

  FtdiChip Chip() const override {
    switch (context_->type) {
      case TYPE_R:
        return FtdiChip::kFt232r;
      case TYPE_232H:
        return FtdiChip::kFt232h;
      case TYPE_2232H:
        return FtdiChip::kFt2232h;
      default:
        return FtdiChip::kOther;
    }
  }

  std::string Describe() const override { return name_; }

  Status Start(uint8_t outputs, uint8_t levels) override {
    // Every pin an input while the idle byte is latched: the outputs come up at it, not at 0.
    if (ftdi_->ftdi_set_latency_timer(context_, kLatencyMs) < 0 || ftdi_->ftdi_set_bitmode(context_, 0, BITMODE_SYNCBB) < 0 ||
        ftdi_->ftdi_set_baudrate(context_, kBitBangBaud) < 0 || ftdi_->ftdi_tcioflush(context_) < 0) {
      return Fail("cannot enter bit-bang mode");
    }
    if (Result<std::vector<uint8_t>> latched = Transfer(std::span(&levels, 1)); !latched) return latched.status();
    if (ftdi_->ftdi_set_bitmode(context_, outputs, BITMODE_SYNCBB) < 0) return Fail("cannot drive its pins");
    return Status::Ok();
  }

  Result<std::vector<uint8_t>> Transfer(std::span<const uint8_t> out) override {
    // Both directions in flight at once: the chip stops clocking when the bytes it read are not taken.
    std::vector<uint8_t> written(out.begin(), out.end());
    std::vector<uint8_t> in(out.size());
    const int size = static_cast<int>(out.size());
    ftdi_transfer_control* reading = ftdi_->ftdi_read_data_submit(context_, in.data(), size);
    ftdi_transfer_control* writing = ftdi_->ftdi_write_data_submit(context_, written.data(), size);
    const int wrote = writing != nullptr ? ftdi_->ftdi_transfer_data_done(writing) : -1;
    const int read = reading != nullptr ? ftdi_->ftdi_transfer_data_done(reading) : -1;
    if (wrote != size || read != size) return Fail("the transfer failed");
    return in;
  }

 private:
  Status Fail(const std::string& what) const {
    return Status::Fail(name_ + ": " + what + " (" + ftdi_->ftdi_get_error_string(context_) + ")");
  }

  std::shared_ptr<const FtdiCalls> ftdi_;
  ftdi_context* context_;
  std::string name_;
};

std::string ChipName(const ftdi_context& context) {
  switch (context.type) {
    case TYPE_R:
      return "FT232R";
    case TYPE_232H:
      return "FT232H";
    case TYPE_2232H:
      return "FT2232H";
    default:
      return "FTDI chip";
  }
}

std::optional<int> HexId(std::string_view text) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
  if (error != std::errc() || end != text.data() + text.size() || text.size() > 4) return std::nullopt;
  return value;
}

}  // namespace

Result<FtdiAddress> ParseFtdiAddress(std::string_view text) {
  FtdiAddress address;
  if (text.empty()) return address;
  if (text.front() != ':' || text.size() == 1) {
    return Status::Fail("give the FTDI device as ftdi, ftdi:SERIAL or ftdi:VID:PID[:INDEX]");
  }
  text.remove_prefix(1);
  const size_t colon = text.find(':');
  if (colon == std::string_view::npos) {
    address.serial = std::string(text);
    return address;
  }
  const std::string_view rest = text.substr(colon + 1);
  const size_t second = rest.find(':');
  const std::optional<int> vendor = HexId(text.substr(0, colon));
  const std::optional<int> product = HexId(rest.substr(0, second));
  int index = 0;
  const std::string_view indexText = second == std::string_view::npos ? "0" : rest.substr(second + 1);
  const auto [end, error] = std::from_chars(indexText.data(), indexText.data() + indexText.size(), index);
  if (!vendor || !product || error != std::errc() || end != indexText.data() + indexText.size() || index < 0) {
    return Status::Fail("\"" + std::string(text) +
                        "\" is not VID:PID[:INDEX] (hex IDs such as 0403:6001, a decimal index)");
  }
  address.vendor = *vendor;
  address.product = *product;
  address.index = index;
  return address;
}

Result<std::unique_ptr<FtdiBus>> OpenFtdiBus(const FtdiAddress& address) {
  const Result<std::shared_ptr<const FtdiCalls>> calls = LoadCalls<FtdiCalls>(QUORVI_FTDI_SONAME, "An FTDI port");
  if (!calls) return calls.status();
  const FtdiCalls& ftdi = *calls.value();
  ftdi_context* context = ftdi.ftdi_new();
  if (context == nullptr) return Status::Fail("Cannot start libftdi");
  const char* serial = address.serial.empty() ? nullptr : address.serial.c_str();
  int code = -3;
  for (const int product : kBitBangProducts) {
    if (address.product != 0 && product != address.product) continue;
    code = ftdi.ftdi_usb_open_desc_index(context, address.vendor, product, nullptr, serial,
                                    static_cast<unsigned>(address.index));
    if (code != -3) break;
  }
  if (address.product != 0 && code == -3) {
    code = ftdi.ftdi_usb_open_desc_index(context, address.vendor, address.product, nullptr, serial,
                                    static_cast<unsigned>(address.index));
  }
  if (code < 0) {
    const std::string problem = OpenProblem(code, address, ftdi.ftdi_get_error_string(context));
    ftdi.ftdi_free(context);
    return Status::Fail(problem);
  }
  std::string name = ChipName(*context);
  if (!address.serial.empty()) name += " serial " + address.serial;
  return std::unique_ptr<FtdiBus>(std::make_unique<LibFtdiBus>(calls.value(), context, name));
}

}  // namespace quorvi

// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/gpio_port.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "hw/port_link.h"
#include "hw/recording_port.h"
#include "support/board_gpio.h"
#include "support/board_wiring.h"

namespace quorvi {
namespace {

// The chip's view of a board the test keeps: a refused open destroys the chip.
class BorrowedBoard final : public PortWrapper {
 public:
  explicit BorrowedBoard(PortDriver& board) : board_(board) {}

 private:
  PortDriver& Inner() const override { return board_; }
  PortDriver& board_;
};

struct Opened {
  std::unique_ptr<RecordingPort> board = std::make_unique<RecordingPort>();  // outlives the chip
  test::BoardGpioChip* chip = nullptr;  // owned by port, when it opened
  Result<std::unique_ptr<PortDriver>> port = Status::Fail("not opened");
};

Opened Open(const PinMap& map, std::optional<GpioFailure> refusal = std::nullopt) {
  Opened o;
  auto chip = std::make_unique<test::BoardGpioChip>(std::make_unique<BorrowedBoard>(*o.board), map, "/dev/gpiochip4");
  chip->refusal = std::move(refusal);
  o.chip = chip.get();
  o.port = OpenGpioPort(std::move(chip), map, "rpi pins");
  return o;
}

TEST(GpioPort, OpensIdleAndCallsTheChipOnlyForAChange) {
  Opened o = Open(test::InvertedRpiWiring());
  ASSERT_TRUE(o.port) << o.port.message();
  PortDriver& port = *o.port.value();
  // Vdd and Clock are inverted on these wires: the idle byte takes pin levels of its own.
  EXPECT_EQ(o.chip->requests, 1);
  EXPECT_EQ(o.board->Writes(), std::vector<uint8_t>{line::kIdle});
  EXPECT_EQ(port.Describe(), "/dev/gpiochip4 (GPIO, rpi pins)");

  const uint8_t powered = line::kIdle & ~line::kVdd;
  const struct {
    uint8_t byte;
    int setCalls;
    int64_t costNs;
  } writes[] = {{line::kIdle, 0, 0},
                {powered, 1, kGpioSetValuesNs},
                {powered, 1, 0},
                {powered | line::kClock, 2, kGpioSetValuesNs},
                {0x80 | powered | line::kClock, 2, 0},  // bit 7 drives no line
                {powered, 3, kGpioSetValuesNs}};
  for (const auto& w : writes) {
    port.WriteData(w.byte);
    EXPECT_EQ(o.chip->setCalls, w.setCalls) << int{w.byte};
    EXPECT_EQ(port.LastAccessCostNs(), w.costNs) << int{w.byte};
  }
  EXPECT_EQ(o.board->Writes(), (std::vector<uint8_t>{line::kIdle, powered, powered | line::kClock, powered}));

  o.board->ScriptReads({line::kDataIn, 0x00, 0xBF});
  for (const uint8_t status : {line::kDataIn, uint8_t{0}, uint8_t{0}}) {
    EXPECT_EQ(port.ReadStatus(), status);
    EXPECT_EQ(port.LastAccessCostNs(), kGpioGetValueNs);
  }
  EXPECT_EQ(o.chip->getCalls, 3);
}

TEST(GpioPort, AChipThatFailsIsNotUsedAgain) {
  Opened o = Open(test::InvertedRpiWiring());
  ASSERT_TRUE(o.port);
  PortDriver& port = *o.port.value();
  EXPECT_EQ(port.NotConnectedReason(), std::nullopt);
  o.chip->setFails = "Cannot use /dev/gpiochip4: No such device";
  port.WriteData(line::kIdle & ~line::kVdd);
  port.WriteData(line::kIdle & ~line::kVpp1);
  EXPECT_EQ(o.chip->setCalls, 1);
  EXPECT_EQ(port.ReadStatus(), 0);
  EXPECT_EQ(o.chip->getCalls, 0);
  EXPECT_EQ(port.NotConnectedReason(), *o.chip->setFails);
}

TEST(GpioPort, ARefusedOpenSaysWhichDeviceAndLineAndWhatToDo) {
  using F = GpioFault;
  const struct {
    GpioFailure refusal;
    const char* message;
  } cases[] = {
      {{.fault = F::kBusy, .offset = 6, .holder = "w1-gpio"},
       "GPIO6 (DataIn) of /dev/gpiochip4 is busy: \"w1-gpio\" holds it; free it, or wire that board line to "
       "another pin (--pins)"},
      {{.fault = F::kBusy, .offset = 27},
       "GPIO27 (Clock) of /dev/gpiochip4 is busy: another program or driver holds it; free it, or wire that board "
       "line to another pin (--pins)"},
      {{.fault = F::kNoLine, .offset = 25, .lines = 16},
       "/dev/gpiochip4 has no line for GPIO25 (Vpp3): its lines are 0..15; check the chip and the pin map (--pins)"},
      {{.fault = F::kDenied, .group = "gpio"},
       "Permission denied on /dev/gpiochip4: add your user to its group 'gpio' (sudo adduser $USER gpio) and log in "
       "again"},
      {{.fault = F::kDenied},
       "Permission denied on /dev/gpiochip4, which only root may use: install a udev rule giving the 'gpio' group "
       "access (SUBSYSTEM==\"gpio\", KERNEL==\"gpiochip*\", GROUP=\"gpio\", MODE=\"0660\" in "
       "/etc/udev/rules.d/60-gpio.rules, then sudo groupadd -f gpio; sudo udevadm trigger), add your user to that "
       "group (sudo adduser $USER gpio) and log in again"},
      {{.fault = F::kOther, .error = EIO, .offset = 5},
       "Cannot use GPIO5 (VddStep) of /dev/gpiochip4: Input/output error"},
  };
  for (const auto& c : cases) {
    Opened o = Open(PresetPinMap("rpi").value(), c.refusal);
    ASSERT_FALSE(o.port) << c.message;
    EXPECT_EQ(o.port.message(), c.message);
    EXPECT_TRUE(o.board->Writes().empty()) << "a refused open drives no line";
  }
}

}  // namespace
}  // namespace quorvi

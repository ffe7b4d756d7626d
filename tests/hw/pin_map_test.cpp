// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/pin_map.h"

#include <gtest/gtest.h>

#include <bit>

#include "hw/port_link.h"

namespace quorvi {
namespace {

constexpr std::string_view kFull =
    "adapter ft232r\nDataOut TXD\nClock RXD\nVdd RTS\nVpp1 CTS\nVpp2 DTR\nVpp3 DSR\nVddStep DCD\nDataIn RI\n";

TEST(PinMap, PresetsDriveSevenPinsAndReadAnother) {
  for (const Adapter& adapter : Adapters()) {
    const Result<PinMap> map = PresetPinMap(adapter.name);
    ASSERT_TRUE(map) << adapter.name << ": " << map.message();
    const PinAssignment in = map.value().lines[static_cast<size_t>(BoardLine::kDataIn)];
    EXPECT_EQ(std::popcount(map.value().OutputPins()), 7) << adapter.name;
    EXPECT_EQ(map.value().OutputPins() & (uint64_t{1} << in.pin), 0U) << adapter.name;
  }
}

TEST(PinMap, RefusesBadMapsNamingLineAndReason) {
  const struct {
    std::string_view text;
    std::string_view message;
  } cases[] = {
      {"DataOut TXD\n", "m line 1: name the adapter first (\"adapter NAME\")"},
      {"adapter ft9\n", "m line 1: no adapter is named \"ft9\" (ft232r, ft232h, ft2232h, rpi)"},
      {"adapter ft232r\n# c\nadapter rpi\n", "m line 3: the adapter is named twice"},
      {"adapter rpi\nMiso GPIO2\n", "m line 2: \"Miso\" is not a board line (DataOut, Clock, Vdd, Vpp1, Vpp2, Vpp3, "
                                    "VddStep, DataIn)"},
      {"adapter rpi\nClock GPIO2 upside\n", "m line 2: give \"Clock PIN\" or \"Clock PIN inverted\""},
      {"adapter rpi\nClock GPIO2\nclock GPIO3\n", "m line 3: Clock is given twice (first on line 2)"},
      {"adapter rpi\nClock GPIO2\nVdd gpio2\n", "m line 3: pin GPIO2 already drives Clock"},
      {"adapter ft232h\nVdd ADBUS8\n", "m line 2: the ft232h has no pin ADBUS8 (ADBUS0, ADBUS1, ADBUS2, ADBUS3, "
                                       "ADBUS4, ADBUS5, ADBUS6, ADBUS7)"},
      {"adapter rpi\nVdd GPIO1\n", "m line 2: the rpi has no pin GPIO1 (GPIO2, GPIO3, GPIO4, GPIO5, GPIO6, GPIO7, "
                                   "GPIO8, GPIO9, GPIO10, GPIO11, GPIO12, GPIO13, GPIO14, GPIO15, GPIO16, GPIO17, "
                                   "GPIO18, GPIO19, GPIO20, GPIO21, GPIO22, GPIO23, GPIO24, GPIO25, GPIO26, GPIO27)"},
      {"# nothing\n", "m: no adapter is named"},
      {std::string_view(kFull).substr(0, kFull.rfind("DataIn")), "m: no pin for DataIn"},
  };
  for (const auto& c : cases) {
    const Result<PinMap> map = ParsePinMap(c.text, "m");
    ASSERT_FALSE(map) << c.text;
    EXPECT_EQ(map.message(), c.message);
  }
}

TEST(PinMap, MovesAndFlipsLinesOnTheWayToTheAdapter) {
  const Result<PinMap> map = ParsePinMap(
      "adapter rpi  # a custom board\nDataOut GPIO4\nClock GPIO5 inverted\nVdd GPIO6\nVpp1 GPIO7\n"
      "Vpp2 GPIO8\nVpp3 GPIO9\nVddStep GPIO10\nDataIn GPIO11 inverted\n",
      "custom.pins");
  ASSERT_TRUE(map) << map.message();
  // Clock inverted: low on the board is a high pin; DataOut high lands on GPIO4.
  EXPECT_EQ(map.value().PinLevels(line::kDataOut), (1U << 4) | (1U << 5));
  EXPECT_EQ(map.value().PinLevels(line::kClock), 0U);
  EXPECT_EQ(map.value().PinLevels(line::kIdle), (1U << 5) | (1U << 6) | (1U << 7) | (1U << 8) | (1U << 9) | (1U << 10));
  EXPECT_TRUE(map.value().DataIn(0));
  EXPECT_FALSE(map.value().DataIn(1U << 11));
}

}  // namespace
}  // namespace quorvi

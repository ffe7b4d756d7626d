// SPDX-License-Identifier: GPL-3.0-or-later
// `Image1`: the textool socket with the chip where it sits for the device.
#pragma once

#include <QWidget>
#include <string>

namespace quorvi::gui {

class SocketPicture final : public QWidget {
 public:
  explicit SocketPicture(QWidget* parent);
  /// "imgSoq18", "imgSoq14000", ...; "" clears the picture.
  void SetPicture(const std::string& name);
  const std::string& picture() const { return picture_; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  std::string picture_;
};

/// The chip's pin count and its first socket row for a picture name
/// (0 pins for no picture). A 40-pin socket: smaller chips sit at the lever
/// end, pin 1 at socket row 1.
struct SocketPlacement {
  int pins = 0;
  int firstRow = 1;
};
SocketPlacement PlacementOf(const std::string& picture);

}  // namespace quorvi::gui

// SPDX-License-Identifier: GPL-3.0-or-later
#include "gui/socket_picture.h"

#include <QPainter>

namespace quorvi::gui {

namespace {
constexpr int kSocketRows = 20;  // a 40-pin textool socket
}

SocketPlacement PlacementOf(const std::string& picture) {
  if (picture == "imgSoq8novo") return {8, 1};
  if (picture == "imgSoq14") return {14, 1};
  if (picture == "imgSoq18") return {18, 1};
  if (picture == "imgSoq14000") return {28, 1};
  if (picture == "imgSoq28") return {28, 1};
  if (picture == "imgSoq40") return {40, 1};
  return {};
}

SocketPicture::SocketPicture(QWidget* parent) : QWidget(parent) {
  setObjectName("Image1");
  setMinimumSize(110, 190);
  setToolTip("Where the chip sits in the socket");
}

void SocketPicture::SetPicture(const std::string& name) {
  picture_ = name;
  update();
}

void SocketPicture::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.setRenderHint(QPainter::Antialiasing);
  const int rowH = 8;
  const int top = 14;
  const int left = 20;
  const int width = 70;
  // The socket: a green body with its lever and 2 x 20 contacts.
  p.setPen(QPen(Qt::black, 1));
  p.setBrush(QColor(40, 110, 60));
  p.drawRect(left - 8, top - 10, width + 16, kSocketRows * rowH + 16);
  p.setBrush(QColor(200, 200, 200));
  p.drawRect(left + width + 8, top - 10, 6, 30);
  for (int row = 0; row < kSocketRows; ++row) {
    const int y = top + row * rowH;
    p.drawRect(left - 4, y + 1, 6, 4);
    p.drawRect(left + width - 2, y + 1, 6, 4);
  }
  const SocketPlacement placement = PlacementOf(picture_);
  if (placement.pins == 0) return;
  const int rows = placement.pins / 2;
  const int y0 = top + (placement.firstRow - 1) * rowH - 2;
  const QRect chip(left + 6, y0, width - 12, rows * rowH + 2);
  p.setBrush(QColor(30, 30, 30));
  p.drawRect(chip);
  // The notch marks pin 1's end.
  p.setBrush(QColor(90, 90, 90));
  p.drawChord(QRect(chip.center().x() - 6, chip.top() - 6, 12, 12), 180 * 16, 180 * 16);
  p.setPen(Qt::white);
  p.drawText(chip, Qt::AlignCenter, QString::number(placement.pins) + "\npins");
  p.setPen(Qt::black);
  p.drawText(QRect(0, 0, left + 4, 12), Qt::AlignLeft, "1");
}

}  // namespace quorvi::gui

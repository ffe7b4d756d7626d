// SPDX-License-Identifier: GPL-3.0-or-later
// The window's own dialogs: the word editor, serial numbering, the voltage
// test, help and About. Their rules live in the core.
#pragma once

#include <QDialog>
#include <string>

#include "app/app_state.h"
#include "gui/prompts.h"
#include "image/listing.h"

class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QScrollBar;

namespace quorvi::gui {

/// `frmEditP`.
class EditDialog final : public QDialog {
 public:
  EditDialog(QWidget* parent, AppState& state, WordEditor editor, const Prompts& prompts);
  const WordEditor& editor() const { return editor_; }
  /// The form's key handling ("+", "-", Enter) for the typed value.
  void Key(char key);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void Show();
  AppState& state_;
  WordEditor editor_;
  const Prompts& prompts_;
  QLineEdit* txtAddress_;
  QLineEdit* txtData_;
  QRadioButton* opHexa_;
  QPushButton* cmdMinus_;
};

/// `frmSQTP`.
class SerialDialog final : public QDialog {
 public:
  SerialDialog(QWidget* parent, AppState& state, const Prompts& prompts);

 private:
  void Show();
  AppState& state_;
  const Prompts& prompts_;
  SerialState edited_;
  QLabel* ledSQTP_;
  QLabel* ledStart_;
  QLabel* ledSize_;
  QLabel* ledInc_;
};

/// `frmAdjust`.
class AdjustDialog final : public QDialog {
 public:
  AdjustDialog(QWidget* parent, AppState& state, const Prompts& prompts, int& delaySetting);
  /// `cmdOk` released, with or without Shift.
  void Close(bool shiftHeld);

 private:
  AppState& state_;
  const Prompts& prompts_;
  QLabel* txtStatus_;
  QPushButton* ledVDD_;
};

class HelpDialog final : public QDialog {
 public:
  HelpDialog(QWidget* parent, const std::string& helpFolder);
};

class AboutDialog final : public QDialog {
 public:
  AboutDialog(QWidget* parent, const char* version);
};

}  // namespace quorvi::gui

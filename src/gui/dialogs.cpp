// SPDX-License-Identifier: GPL-3.0-or-later
#include "gui/dialogs.h"

#include <QApplication>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QTextBrowser>
#include <QUrl>
#include <QVBoxLayout>
#include <filesystem>

#include "app/adjust.h"

namespace quorvi::gui {

namespace {
QString Q(const std::string& text) { return QString::fromStdString(text); }

QPushButton* Button(QWidget* parent, const char* name, const QString& caption) {
  auto* b = new QPushButton(caption, parent);
  b->setObjectName(name);
  b->setAutoDefault(false);
  return b;
}
}  // namespace

// ---------------------------------------------------------------- frmEditP

EditDialog::EditDialog(QWidget* parent, AppState& state, WordEditor editor, const Prompts& prompts)
    : QDialog(parent), state_(state), editor_(std::move(editor)), prompts_(prompts) {
  setObjectName("frmEditP");
  setWindowTitle(Q(editor_.caption));
  auto* layout = new QFormLayout(this);
  txtAddress_ = new QLineEdit(this);
  txtAddress_->setObjectName("txtAddress");
  txtAddress_->setReadOnly(true);
  txtData_ = new QLineEdit(this);
  txtData_->setObjectName("txtData");
  txtData_->installEventFilter(this);
  layout->addRow("Address", txtAddress_);
  layout->addRow("Value", txtData_);
  auto* format = new QHBoxLayout();
  opHexa_ = new QRadioButton("Hex", this);
  opHexa_->setObjectName("opHexa");
  auto* opDec = new QRadioButton("Decimal", this);
  opDec->setObjectName("opDec");
  (editor_.hexMode ? opHexa_ : opDec)->setChecked(true);
  format->addWidget(opHexa_);
  format->addWidget(opDec);
  layout->addRow(format);
  connect(opHexa_, &QRadioButton::toggled, this, [this](bool hex) {
    editor_.hexMode = hex;
    Show();
  });
  auto* buttons = new QHBoxLayout();
  cmdMinus_ = Button(this, "cmdMinus", "-");
  auto* cmdPlus = Button(this, "cmdPlus", "+");
  auto* cmdOK = Button(this, "cmdOK", "OK");
  buttons->addWidget(cmdMinus_);
  buttons->addWidget(cmdPlus);
  buttons->addWidget(cmdOK);
  layout->addRow(buttons);
  connect(cmdPlus, &QPushButton::clicked, this, [this] { Key('+'); });
  connect(cmdMinus_, &QPushButton::clicked, this, [this] {
    if (EditorCanStepDown(editor_)) Key('-');
  });
  connect(cmdOK, &QPushButton::clicked, this, [this] {
    Key('\r');
    accept();
  });
  Show();
}

void EditDialog::Show() {
  txtAddress_->setText(Q(EditorAddressText(editor_)));
  txtData_->setText(Q(EditorValueText(editor_, state_.image)));
  txtData_->selectAll();
  cmdMinus_->setEnabled(EditorCanStepDown(editor_));
}

void EditDialog::Key(char key) {
  Result<EditorKeyEffect> effect =
      EditorKeyPress(editor_, state_.image, state_.device, key, txtData_->text().toStdString());
  if (!effect) {
    prompts_.message({effect.message(), title::kQuorvi2Error, MessageIcon::kCritical});
    return;
  }
  if (effect.value() == EditorKeyEffect::kStepped) Show();
  if (effect.value() == EditorKeyEffect::kStoredNextControl) focusNextChild();
}

bool EditDialog::eventFilter(QObject* watched, QEvent* event) {
  if (watched == txtData_ && event->type() == QEvent::KeyPress) {
    auto* key = static_cast<QKeyEvent*>(event);
    if (key->text() == "+" || key->text() == "-") {
      if (key->text() == "+" || EditorCanStepDown(editor_)) Key(key->text() == "+" ? '+' : '-');
      return true;
    }
    if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
      Key('\r');
      return true;
    }
  }
  return QDialog::eventFilter(watched, event);
}

// ----------------------------------------------------------------- frmSQTP

SerialDialog::SerialDialog(QWidget* parent, AppState& state, const Prompts& prompts)
    : QDialog(parent), state_(state), prompts_(prompts), edited_(state.serial) {
  setObjectName("frmSQTP");
  setWindowTitle("SQTP");
  auto* layout = new QFormLayout(this);
  auto panel = [this, layout](const char* panelName, const char* caption, const char* ledName) {
    auto* button = Button(this, panelName, caption);
    auto* led = new QLabel(this);
    led->setObjectName(ledName);
    led->setFrameShape(QFrame::Panel);
    layout->addRow(button, led);
    return std::make_pair(button, led);
  };
  auto [panelSQTP, ledSQTP] = panel("panelSQTP", "Serial number", "ledSQTP");
  auto [panelStart, ledStart] = panel("panelStart", "Start address", "ledStart");
  auto [panelSize, ledSize] = panel("panelSize", "Size (bytes)", "ledSize");
  auto [panelInc, ledInc] = panel("panelInc", "Increment", "ledInc");
  ledSQTP_ = ledSQTP;
  ledStart_ = ledStart;
  ledSize_ = ledSize;
  ledInc_ = ledInc;
  auto* opRand = new QCheckBox("Random", this);
  opRand->setObjectName("opRand");
  opRand->setChecked(edited_.random == 1);
  layout->addRow(opRand);
  connect(opRand, &QCheckBox::toggled, this, [this](bool on) { SetRandomFromCheckBox(edited_, on); });

  auto ask = [this](const char* prompt, auto apply) {
    std::optional<std::string> answer = prompts_.input(prompt);
    if (!answer) return;
    Status done = apply(*answer);
    if (!done) prompts_.message({done.message(), title::kQuorvi2Error, MessageIcon::kCritical});
    Show();
  };
  connect(panelSQTP, &QPushButton::clicked, this, [this, ask] {
    ask("Enter the first serial number", [this](const std::string& t) { return SetSerialNumberFromInput(edited_, t); });
  });
  connect(panelStart, &QPushButton::clicked, this, [this, ask] {
    ask("Enter the start address", [this](const std::string& t) { return SetStartAddressFromInput(edited_, t); });
  });
  connect(panelSize, &QPushButton::clicked, this, [this, ask] {
    ask("Enter the size of the serial number (max 8 bytes)", [this](const std::string& t) {
      Result<bool> accepted = SetSizeFromInput(edited_, t);
      return accepted ? Status::Ok() : accepted.status();
    });
  });
  connect(panelInc, &QPushButton::clicked, this, [this, ask] {
    ask("Enter the increment", [this](const std::string& t) { return SetIncrementFromInput(edited_, t); });
  });
  auto* buttons = new QHBoxLayout();
  auto* cmdOK = Button(this, "cmdOK", "OK");
  auto* cmdCancel = Button(this, "cmdCancel", "Cancel");
  buttons->addWidget(cmdOK);
  buttons->addWidget(cmdCancel);
  layout->addRow(buttons);
  connect(cmdOK, &QPushButton::clicked, this, [this] {
    state_.serial = edited_;
    if (Status saved = WriteCompanionFile(CompanionPath(state_.imagePath), state_.serial); !saved) {
      prompts_.message({saved.message(), title::kQuorvi2Error, MessageIcon::kCritical});
    }
    accept();
  });
  connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
  Show();
}

void SerialDialog::Show() {
  const SerialDialogTexts texts = FormatSerialDialog(edited_);
  ledSQTP_->setText(Q(texts.serialNumber));
  ledStart_->setText(Q(texts.startAddress));
  ledSize_->setText(Q(texts.size));
  ledInc_->setText(Q(texts.increment));
}

// --------------------------------------------------------------- frmAdjust

AdjustDialog::AdjustDialog(QWidget* parent, AppState& state, const Prompts& prompts, int& delaySetting)
    : QDialog(parent), state_(state), prompts_(prompts) {
  setObjectName("frmAdjust");
  setWindowTitle("Voltage test and adjust");
  auto* layout = new QVBoxLayout(this);
  auto* grid = new QGridLayout();
  auto supply = [this, grid](int row, const char* name, const char* caption, const char* panelName,
                             AdjustSupply which) {
    auto* button = Button(this, name, caption);
    auto* indicator = new QLabel("off", this);
    indicator->setObjectName(panelName);
    indicator->setFrameShape(QFrame::Panel);
    grid->addWidget(button, row, 0);
    grid->addWidget(indicator, row, 1);
    connect(button, &QPushButton::clicked, this, [this, indicator, which] {
      const bool on = indicator->text() != "on";  // the toggles read their state from the panels
      indicator->setText(on ? "on" : "off");
      indicator->setStyleSheet(on ? "background-color: #e04040;" : "");
      const std::string text = ToggleAdjustSupply(state_.link, which, on);
      if (!text.empty()) txtStatus_->setText(Q(text));
    });
  };
  supply(0, "cmdVdd", "VDD", "pVdd", AdjustSupply::kVdd);
  supply(1, "cmdVpp1", "VPP1", "pVpp1", AdjustSupply::kVpp1);
  supply(2, "cmdVpp2", "VPP2", "pVpp2", AdjustSupply::kVpp2);
  supply(3, "cmdVpp3", "VPP3", "pVpp3", AdjustSupply::kVpp3);
  layout->addLayout(grid);
  txtStatus_ = new QLabel(this);
  txtStatus_->setObjectName("txtStatus");
  txtStatus_->setFrameShape(QFrame::Panel);
  txtStatus_->setMinimumWidth(260);
  layout->addWidget(txtStatus_);

  auto* vdd = new QHBoxLayout();
  ledVDD_ = Button(this, "ledVDD", "5.0");
  ledVDD_->setFlat(true);
  ledVDD_->setToolTip("Click to enter the Vdd level");
  auto* cmdVDD_VAR = Button(this, "cmdVDD_VAR", "Set VDD");
  vdd->addWidget(ledVDD_);
  vdd->addWidget(cmdVDD_VAR);
  layout->addLayout(vdd);
  connect(ledVDD_, &QPushButton::clicked, this, [this] {
    std::optional<std::string> answer = prompts_.input(kAdjustVddPrompt);
    if (!answer) return;
    auto entry = ReadAdjustVddEntry(*answer);
    if (auto* refused = std::get_if<UserMessage>(&entry)) {
      prompts_.message(*refused);
      return;
    }
    const AdjustVddEntry& accepted = std::get<AdjustVddEntry>(entry);
    ledVDD_->setText(Q(accepted.text));
    state_.workingVdd = accepted.volts;
    ApplyAdjustVdd(state_.link, accepted);
  });
  connect(cmdVDD_VAR, &QPushButton::clicked, this, [this] {
    const auto entry = ReadAdjustVddEntry(ledVDD_->text().toStdString());
    if (const auto* accepted = std::get_if<AdjustVddEntry>(&entry)) ApplyAdjustVdd(state_.link, *accepted);
  });

  auto* delay = new QGroupBox("Delay", this);
  auto* delayLayout = new QHBoxLayout(delay);
  auto* hsDelay = new QScrollBar(Qt::Horizontal, delay);
  hsDelay->setObjectName("hsDelay");
  hsDelay->setRange(0, 500);
  hsDelay->setValue(delaySetting);
  auto* txtDelay = new QLineEdit(QString::number(delaySetting), delay);
  txtDelay->setObjectName("txtDelay");
  txtDelay->setReadOnly(true);
  txtDelay->setMaximumWidth(60);
  connect(hsDelay, &QScrollBar::valueChanged, this,
          [txtDelay, &delaySetting](int value) {
            delaySetting = value;
            txtDelay->setText(QString::number(value));
          });
  delayLayout->addWidget(hsDelay, 1);
  delayLayout->addWidget(txtDelay);
  layout->addWidget(delay);

  auto* cmdOk = Button(this, "cmdOk", "OK");
  layout->addWidget(cmdOk);
  connect(cmdOk, &QPushButton::released, this,
          [this] { Close((QApplication::keyboardModifiers() & Qt::ShiftModifier) != 0); });
}

void AdjustDialog::Close(bool shiftHeld) {
  CloseAdjust(state_.link, shiftHeld);
  accept();
}

// ------------------------------------------------------------ help, About

HelpDialog::HelpDialog(QWidget* parent, const std::string& helpFolder) : QDialog(parent) {
  setObjectName("frmHelp");
  setWindowTitle("Quorvi 2 help");
  resize(640, 480);
  auto* layout = new QVBoxLayout(this);
  auto* browser = new QTextBrowser(this);
  browser->setObjectName("helpBrowser");
  browser->setSearchPaths({QString::fromStdString(helpFolder)});
  const std::filesystem::path index = std::filesystem::path(helpFolder) / "index.html";
  if (std::filesystem::exists(index)) {
    browser->setSource(QUrl::fromLocalFile(QString::fromStdString(index.string())));
  } else {
    browser->setPlainText("The help pages are not installed.");
  }
  layout->addWidget(browser);
  auto* close = Button(this, "cmdClose", "Close");
  connect(close, &QPushButton::clicked, this, &QDialog::accept);
  layout->addWidget(close);
}

AboutDialog::AboutDialog(QWidget* parent, const char* version) : QDialog(parent) {
  setObjectName("frmAbout");
  setWindowTitle("About");
  auto* layout = new QVBoxLayout(this);
  auto* text = new QLabel(QString("<h3>Quorvi 2</h3><p>Version %1</p>"
                                  "<p>A device programmer for PIC microcontrollers and 24Cxx serial EEPROMs "
                                  "on a parallel-port programmer board.</p>"
                                  "<p>Free software under the GNU General Public License, version 3 or later.</p>")
                              .arg(version),
                          this);
  text->setObjectName("lblAbout");
  text->setWordWrap(true);
  layout->addWidget(text);
  auto* ok = Button(this, "cmdOK", "OK");
  connect(ok, &QPushButton::clicked, this, &QDialog::accept);
  layout->addWidget(ok);
}

}  // namespace quorvi::gui

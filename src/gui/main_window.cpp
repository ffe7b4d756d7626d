// SPDX-License-Identifier: GPL-3.0-or-later
#include "gui/main_window.h"

#include <QAction>
#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFontDatabase>
#include <QFrame>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QMouseEvent>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QStandardItemModel>
#include <QStatusBar>
#include <QStyle>
#include <QVBoxLayout>
#include <cstdio>

#include "app/shell.h"
#include "app/version.h"
#include "device/catalogue.h"
#include "gui/dialogs.h"
#include "gui/socket_picture.h"
#include "image/calibration.h"
#include "image/image_texts.h"
#include "image/image_writer.h"
#include "image/listing.h"
#include "image/open_command.h"
#include "ops/blank_erase.h"
#include "ops/compare.h"
#include "ops/config_write.h"
#include "ops/read.h"
#include "ops/write.h"
#include "util/atomic_file.h"

namespace quorvi::gui {

namespace {

QString Q(const std::string& text) { return QString::fromStdString(text); }

// The core's compare says nothing when the chip matches; the window does.
constexpr const char* kCompareOk = "Compare OK";

/// The fuse frames in the order selection lays them out.
struct FrameSpec {
  const char* name;
  const char* caption;
  std::initializer_list<std::pair<const char*, const char*>> buttons;
};

}  // namespace

MainWindow::MainWindow(Session& session, Prompts prompts)
    : session_(session), state_(session.state()), prompts_(std::move(prompts)) {
  setObjectName("frmMain");
  setWindowTitle(Q(std::string("Quorvi XP      V") + kProgramVersion));
  BuildMenus();

  auto* central = new QWidget(this);
  auto* main = new QHBoxLayout(central);
  auto* column = new QWidget(central);
  BuildCommands(column);
  main->addWidget(column);

  auto* middle = new QVBoxLayout();
  middle->addWidget(BuildDevicePanel());
  middle->addWidget(BuildFuseArea(), 1);
  main->addLayout(middle);

  auto* right = new QVBoxLayout();
  const QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  MList1_ = new QListWidget(central);
  MList1_->setObjectName("MList1");
  MList1_->setFont(fixed);
  MList1_->setMinimumWidth(360);
  MList1_->setToolTip("Click to edit");
  MList1_->viewport()->installEventFilter(this);
  MList2_ = new QListWidget(central);
  MList2_->setObjectName("MList2");
  MList2_->setFont(fixed);
  MList2_->setMaximumHeight(140);
  MList2_->setToolTip("Click to edit");
  MList2_->viewport()->installEventFilter(this);
  lblArq_ = new QLabel(central);
  lblArq_->setObjectName("lblArq");
  right->addWidget(lblArq_);
  right->addWidget(MList1_, 1);
  right->addWidget(MList2_);
  right->addWidget(BuildOptions());
  Barra_ = new QProgressBar(central);
  Barra_->setObjectName("Barra");
  Barra_->setRange(0, 100);
  Barra_->hide();
  txtStatus_ = new QLabel(central);
  txtStatus_->setObjectName("txtStatus");
  txtStatus_->hide();
  right->addWidget(txtStatus_);
  right->addWidget(Barra_);
  main->addLayout(right, 1);
  setCentralWidget(central);

  Statusbar_ = new QStatusBar(this);
  Statusbar_->setObjectName("Statusbar");
  setStatusBar(Statusbar_);
  lblPort_ = new QLabel(this);
  lblPort_->setObjectName("lblPort");
  Statusbar_->addPermanentWidget(lblPort_);

  RefreshPortMenus();
  RefreshVddPanels();
  RefreshSerialIndicator(kSerialOffColour);
  state_.clock->SetEventPump([this] { PumpEvents(); });
}

// ---------------------------------------------------------------- building

void MainWindow::BuildMenus() {
  QMenu* file = menuBar()->addMenu("&File");
  file->setObjectName("mnuFile");
  auto add = [this](QMenu* menu, const char* name, const char* caption, std::function<void()> body) {
    QAction* action = menu->addAction(caption);
    action->setObjectName(name);
    connect(action, &QAction::triggered, this, [this, body] { Command(body); });
    return action;
  };
  add(file, "mnuOpen", "&Load Hex", [this] { mnuOpenClick(); });
  add(file, "mnuSave", "&Save Hex", [this] { mnuSaveClick(); });
  mnuLoadCal_ = add(file, "mnuLoadCal", "Load Calibration Data", [this] { mnuLoadCalClick(); });
  mnuSaveCal_ = add(file, "mnuSaveCal", "Save Calibration Data", [this] { mnuSaveCalClick(); });
  file->addSeparator();
  add(file, "mnuExit", "E&xit", [this] { close(); });

  mnuConfig_ = menuBar()->addMenu("&Config");
  mnuConfig_->setObjectName("mnuConfig");
  mnuProt_ = add(mnuConfig_, "mnuProt", "Protype mode", [this] { mnuModeClick("PROT"); });
  mnuProd_ = add(mnuConfig_, "mnuProd", "Production mode", [this] { mnuModeClick("PROD"); });
  mnuConfig_->addSeparator();
  mnuLpt1_ = add(mnuConfig_, "mnuLpt1", "LPT1 on 378h", [this] { mnuPortClick(PortEntry::kLpt1); });
  mnuLpt2_ = add(mnuConfig_, "mnuLpt2", "LPT2 on 278h", [this] { mnuPortClick(PortEntry::kLpt2); });
  mnuLpt_ = add(mnuConfig_, "mnuLpt", "LPT? on ", [this] { mnuPortClick(PortEntry::kCustom); });
  add(mnuConfig_, "mnuchangeadd", "Change Address", [this] { mnuchangeaddClick(); });
  mnuConfig_->addSeparator();
  mnuSQTP_ = add(mnuConfig_, "mnuSQTP", "SQTP", [this] { mnuSQTPClick(); });
  mnuLegacyFiles_ =
      add(mnuConfig_, "mnuLegacyFiles", image_text::kLegacyFilesCaption, [this] { mnuLegacyFilesClick(); });
  for (QAction* action : {mnuProt_, mnuProd_, mnuLpt1_, mnuLpt2_, mnuLpt_, mnuSQTP_, mnuLegacyFiles_}) {
    action->setCheckable(true);
  }

  QMenu* help = menuBar()->addMenu("Help");
  help->setObjectName("mnuHelp");
  QAction* help2 = add(help, "mnuHelp2", "Help", [this] { ShowHelp(); });
  help2->setShortcut(QKeySequence(Qt::Key_F1));
  help2->setShortcutContext(Qt::ApplicationShortcut);
  add(help, "mnuAbout", "About", [this] { ShowAbout(); });
  add(help, "mnuCheck", "Check new version",
      [this] { ShowMessage({"Not impemented yet!", title::kQuorvi2, MessageIcon::kInformation}); });
}

void MainWindow::BuildCommands(QWidget* column) {
  auto* layout = new QVBoxLayout(column);
  auto button = [this, column, layout](const char* name, const char* caption, std::function<void()> body) {
    auto* b = new QPushButton(caption, column);
    b->setObjectName(name);
    b->setAutoDefault(false);
    connect(b, &QPushButton::clicked, this, [this, body] { Command(body); });
    layout->addWidget(b);
    named_[name] = b;
    return b;
  };
  button("cmdOpen", "Open HEX file", [this] { mnuOpenClick(); });
  button("cmdSave", "Save HEX file", [this] { mnuSaveClick(); });
  button("cmdRead", "Read PIC", [this] { RunOperation([this] { return cmdRead(state_, *this, read_mode::kFull); }); });
  button("cmdWrite", "Write PIC", [this] { RunOperation([this] { return cmdWrite(state_, *this); }); });
  button("cmdCompare", "Compare", [this] {
    RunOperation([this] {
      const OpResult result = cmdCompare(state_, *this);
      if (result.ok()) SetStatusBar(kCompareOk);
      return result;
    });
  });
  button("cmdBlank", "Blank Test", [this] { RunOperation([this] { return cmdBlank(state_, *this); }); });
  button("cmdWriteFuse", "Write Fuses Only", [this] { RunOperation([this] { return cmdWriteFuse(state_, *this); }); });
  button("cmdBuff", "Clear Buffer", [this] { cmdBuffClick(); });
  button("cmdHex16to8", "HEX16 to 8", [this] { cmdHex16to8Click(); })->hide();
  button("cmdHelp", "Help", [this] { ShowHelp(); });

  auto* pictures = new QHBoxLayout();
  auto picture = [this, column, pictures](const char* name, QStyle::StandardPixmap icon, const char* tip,
                                          std::function<void()> body) {
    auto* b = new QPushButton(column);
    b->setObjectName(name);
    b->setIcon(style()->standardIcon(icon));
    b->setToolTip(tip);
    b->setAutoDefault(false);
    connect(b, &QPushButton::clicked, this, [this, body] { Command(body); });
    pictures->addWidget(b);
    named_[name] = b;
    return b;
  };
  // The erase button keeps a factory calibration word.
  picture("cmdFill", QStyle::SP_TrashIcon, "Erase the chip",
          [this] { RunOperation([this] { return cmdFill(state_, *this, false); }); });
  picture("cmdAjuste", QStyle::SP_ComputerIcon, "Voltage test and adjust", [this] { OpenAdjustDialog(); });
  picture("cmdStat", QStyle::SP_FileDialogDetailedView, "Program listing / write cycles",
          [this] { cmdStatClick(); });
  picture("cmdCfg", QStyle::SP_FileDialogListView, "Config menu",
          [this] { menuBar()->setActiveAction(mnuConfig_->menuAction()); });
  picture("cmdFim", QStyle::SP_DialogCloseButton, "End the program", [this] {
    (void)session_.Finish();
    QApplication::exit(0);
  });
  layout->addLayout(pictures);
  layout->addStretch(1);
}

QWidget* MainWindow::BuildDevicePanel() {
  auto* box = new QWidget(this);
  auto* layout = new QVBoxLayout(box);
  auto* row = new QHBoxLayout();
  panelDevice_ = new QPushButton(box);
  panelDevice_->setObjectName("panelDevice");
  panelDevice_->setToolTip("Click to choose the device");
  panelDevice_->setAutoDefault(false);
  QFont big = panelDevice_->font();
  big.setPointSize(big.pointSize() + 4);
  big.setBold(true);
  panelDevice_->setFont(big);
  connect(panelDevice_, &QPushButton::clicked, this, [this] { Command([this] { panelDeviceClick(); }); });
  row->addWidget(panelDevice_, 1);
  ledSQTP_ = new QPushButton(box);
  ledSQTP_->setObjectName("ledSQTP");
  ledSQTP_->setToolTip("Serial numbering");
  ledSQTP_->setAutoDefault(false);
  connect(ledSQTP_, &QPushButton::clicked, this, [this] { Command([this] { mnuSQTPClick(); }); });
  row->addWidget(ledSQTP_);
  layout->addLayout(row);
  MList3_ = new QListWidget(box);
  MList3_->setObjectName("MList3");
  MList3_->hide();
  connect(MList3_, &QListWidget::currentTextChanged, this, [this](const QString& text) {
    if (!applying_ && !MList3_->isHidden()) panelDevice_->setText(text.trimmed());
  });
  layout->addWidget(MList3_);
  auto* picture = new QHBoxLayout();
  Image1_ = new SocketPicture(box);
  picture->addWidget(Image1_);
  auto* vdd = new QGridLayout();
  panelMin_ = new QPushButton("VDD Min", box);
  panelMin_->setObjectName("panelMin");
  panelMax_ = new QPushButton("VDD Max", box);
  panelMax_->setObjectName("panelMax");
  ledMin_ = new QLabel(box);
  ledMin_->setObjectName("ledMin");
  ledMax_ = new QLabel(box);
  ledMax_->setObjectName("ledMax");
  connect(panelMin_, &QPushButton::clicked, this, [this] { Command([this] { panelVddClick(false); }); });
  connect(panelMax_, &QPushButton::clicked, this, [this] { Command([this] { panelVddClick(true); }); });
  vdd->addWidget(panelMin_, 0, 0);
  vdd->addWidget(ledMin_, 0, 1);
  vdd->addWidget(panelMax_, 1, 0);
  vdd->addWidget(ledMax_, 1, 1);
  txtFuses_ = new QLabel(box);
  txtFuses_->setObjectName("txtFuses");
  vdd->addWidget(txtFuses_, 2, 0, 1, 2);
  txtCal_ = new QLabel(box);
  txtCal_->setObjectName("txtCal");
  txtCal_->hide();
  vdd->addWidget(txtCal_, 3, 0, 1, 2);
  vdd->setRowStretch(4, 1);
  picture->addLayout(vdd);
  layout->addLayout(picture);
  return box;
}

QFrame* MainWindow::AddFuseFrame(QWidget* area, const FuseFrame& fuseFrame) {
  auto* frame = new QFrame(area);
  frame->setObjectName(fuseFrame.frame);
  frame->setFrameShape(QFrame::StyledPanel);
  auto* layout = new QHBoxLayout(frame);
  layout->setContentsMargins(4, 0, 4, 0);
  auto* label = new QLabel(fuseFrame.caption, frame);
  label->setMinimumWidth(110);
  layout->addWidget(label);
  auto* group = new QButtonGroup(frame);
  for (const auto& [buttonName, text] : fuseFrame.buttons) {
    if (buttonName == nullptr) break;
    auto* radio = new QRadioButton(text, frame);
    radio->setObjectName(buttonName);
    group->addButton(radio);
    layout->addWidget(radio);
    named_[buttonName] = radio;
    const std::string id = buttonName;
    connect(radio, &QRadioButton::clicked, this, [this, id] { Command([this, id] { FuseButtonClicked(id); }); });
  }
  layout->addStretch(1);
  frame->setGeometry(0, 0, 330, 320 / kTwipsPerPixel);
  frame->hide();
  named_[fuseFrame.frame] = frame;
  return frame;
}

QWidget* MainWindow::BuildFuseArea() {
  auto* area = new QWidget(this);
  area->setObjectName("fuseArea");
  area->setMinimumSize(340, 440);

  auto* osc = new QFrame(area);
  osc->setObjectName("frameOSC1");
  osc->setFrameShape(QFrame::StyledPanel);
  auto* oscLayout = new QHBoxLayout(osc);
  oscLayout->setContentsMargins(4, 0, 4, 0);
  oscLayout->addWidget(new QLabel("Oscillator", osc));
  cmbOSC_ = new QComboBox(osc);
  cmbOSC_->setObjectName("cmbOSC");
  oscLayout->addWidget(cmbOSC_, 1);
  connect(cmbOSC_, &QComboBox::activated, this, [this](int index) { Command([this, index] { cmbOSCChosen(index); }); });
  osc->setGeometry(0, 0, 330, 36);
  osc->hide();
  named_["frameOSC1"] = osc;

  auto* id = new QFrame(area);
  id->setObjectName("frameID");
  id->setFrameShape(QFrame::StyledPanel);
  auto* idLayout = new QHBoxLayout(id);
  idLayout->setContentsMargins(4, 0, 4, 0);
  idLayout->addWidget(new QLabel("ID", id));
  for (int i = 0; i < 4; ++i) {
    txtID_[i] = new QLineEdit(id);
    txtID_[i]->setObjectName(QString("txtID%1").arg(i));
    txtID_[i]->setMaximumWidth(60);
    txtID_[i]->installEventFilter(this);
    connect(txtID_[i], &QLineEdit::editingFinished, this, [this, i] { Command([this, i] { IdEditingFinished(i); }); });
    idLayout->addWidget(txtID_[i]);
  }
  id->setGeometry(0, 40, 330, 56);
  id->hide();
  named_["frameID"] = id;

  QFrame* wrt = nullptr;
  for (const FuseFrame& fuseFrame : FuseFrames()) {
    QFrame* frame = AddFuseFrame(area, fuseFrame);
    if (std::string_view(fuseFrame.frame) == "frameWRT") wrt = frame;
  }
  cmbWRT_ = new QComboBox(wrt);
  cmbWRT_->setObjectName("cmbWRT");
  wrt->layout()->addWidget(cmbWRT_);
  connect(cmbWRT_, &QComboBox::activated, this, [this](int) {
    Command([this] { FuseButtonClicked("cmbWRT:" + cmbWRT_->currentText().toStdString()); });
  });

  frame18_ = new QLabel(area);
  frame18_->setObjectName("frame18");
  frame18_->setFrameShape(QFrame::StyledPanel);
  frame18_->setWordWrap(true);
  frame18_->setToolTip("The configuration registers a write sets, as the image file gave them");
  frame18_->setGeometry(0, 400, 330, 48);
  frame18_->hide();
  return area;
}

QWidget* MainWindow::BuildOptions() {
  auto* box = new QGroupBox("Write options", this);
  box->setObjectName("frameOptions");
  auto* layout = new QGridLayout(box);
  chkTestBlank_ = new QCheckBox("Blank test", box);
  chkTestBlank_->setObjectName("chkTestBlank");
  chkErase_ = new QCheckBox("Erase before", box);
  chkErase_->setObjectName("chkErase");
  chkTurbo_ = new QCheckBox("Turbo", box);
  chkTurbo_->setObjectName("chkTurbo");
  auto* chkSound = new QCheckBox("Sound", box);
  chkSound->setObjectName("chkSound");
  auto* chkICSP = new QCheckBox("ICSP delay", box);
  chkICSP->setObjectName("chkICSP");
  auto* cmbICSP = new QComboBox(box);
  cmbICSP->setObjectName("cmbICSP");
  cmbICSP->setEditable(true);
  for (const char* choice : kDelayChoices) cmbICSP->addItem(choice);
  opEEdata_ = new QRadioButton("Data EEPROM", box);
  opEEdata_->setObjectName("opEEdata");
  opEEdata_->setAutoExclusive(false);
  opEEdata_->hide();

  WindowOptions& o = state_.options;
  chkTestBlank_->setChecked(o.chkTestBlank);
  chkErase_->setChecked(o.chkErase);
  chkTurbo_->setChecked(o.chkTurbo);
  chkSound->setChecked(o.chkSound);
  chkICSP->setChecked(o.chkICSP);
  cmbICSP->setCurrentText(Q(o.cmbICSP));
  opEEdata_->setChecked(o.opEEdata);
  connect(chkTestBlank_, &QCheckBox::toggled, this, [&o](bool on) { o.chkTestBlank = on; });
  connect(chkErase_, &QCheckBox::toggled, this, [&o](bool on) { o.chkErase = on; });
  connect(chkTurbo_, &QCheckBox::toggled, this, [&o](bool on) { o.chkTurbo = on; });
  connect(chkSound, &QCheckBox::toggled, this, [&o](bool on) { o.chkSound = on; });
  connect(chkICSP, &QCheckBox::toggled, this, [&o](bool on) { o.chkICSP = on; });
  connect(cmbICSP, &QComboBox::currentTextChanged, this, [&o](const QString& t) { o.cmbICSP = t.toStdString(); });
  connect(opEEdata_, &QRadioButton::toggled, this, [&o](bool on) { o.opEEdata = on; });

  layout->addWidget(chkTestBlank_, 0, 0);
  layout->addWidget(chkErase_, 0, 1);
  layout->addWidget(chkTurbo_, 0, 2);
  layout->addWidget(chkSound, 1, 0);
  layout->addWidget(chkICSP, 1, 1);
  layout->addWidget(cmbICSP, 1, 2);
  layout->addWidget(opEEdata_, 2, 0);
  return box;
}

// ------------------------------------------------------------ the frame

void MainWindow::Command(const std::function<void()>& body) {
  if (busy_) {
    // One operation at a time; the window stays live. A menu entry Qt has
    // already ticked gets its check mark back.
    RefreshChecks();
    return;
  }
  busy_ = true;
  body();
  busy_ = false;
}

bool MainWindow::PortReady() {
  const std::optional<UserMessage> noPort = NoPortMessage(state_);
  if (!noPort) return true;
  if (!EndQuietRun(state_, *this, noPort->text)) ShowMessage(*noPort);
  return false;
}

void MainWindow::RunOperation(const std::function<OpResult()>& operation) {
  if (!PortReady()) return;
  const OpResult result = operation();
  if (result.refreshConfig) {
    ShowConfig(ShowConfigWord(state_.device, state_.image.configWord, state_.image.idWords, cmbOSC_->count()));
  }
  if (result.refreshProgramListing || result.refreshDataListing) RefreshListings();
  if (result.refreshCalibrationText) txtCal_->setText(Q(state_.txtCal));
  // A write advances the serial number.
  RefreshSerialIndicator(state_.serial.switchedOn ? kSerialOnColour : kSerialOffColour);
  // A dry run must say what a real chip would have suffered.
  if (const SimulatedSocket* socket = session_.socket()) {
    const std::vector<std::string> problems = socket->Problems();
    if (problems.size() > problemsShown_) {
      std::string text = "The simulated chip saw rules of its programming document broken:";
      for (size_t i = problemsShown_; i < problems.size(); ++i) text += "\n" + problems[i];
      problemsShown_ = problems.size();
      ShowMessage({text, title::kQuorvi2Alert, MessageIcon::kExclamation});
    }
  }
}

void MainWindow::ShowProgress(double percent) {
  Barra_->setValue(static_cast<int>(percent));
  Barra_->show();
}
void MainWindow::HideProgress() {
  Barra_->setValue(0);
  Barra_->hide();
}
void MainWindow::ShowStatus(const std::string& text) {
  txtStatus_->setText(Q(text));
  txtStatus_->show();
}
void MainWindow::HideStatus() {
  txtStatus_->clear();
  txtStatus_->hide();
}
void MainWindow::SetStatusBar(const std::string& text) { Statusbar_->showMessage(Q(text)); }
void MainWindow::ShowMessage(const UserMessage& message) { prompts_.message(message); }
bool MainWindow::AskYesNo(const UserMessage& question) { return prompts_.yesNo(question); }
void MainWindow::PumpEvents() { QApplication::processEvents(QEventLoop::AllEvents, 10); }
void MainWindow::PlaySound(const std::string& path) { prompts_.sound(path); }
void MainWindow::Terminate(int exitCode, const std::string& reason) {
  // Unattended, the log holds the old one-line text; a person at the line reads this.
  if (!reason.empty()) std::fprintf(stderr, "quorvi2: %s\n", reason.c_str());
  prompts_.terminate(exitCode);
}

void MainWindow::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
    auto* write = static_cast<QPushButton*>(named_.at("cmdWrite"));
    if (write->isEnabled()) write->click();
    return;
  }
  QMainWindow::keyPressEvent(event);
}

void MainWindow::closeEvent(QCloseEvent* event) {
  if (busy_) {
    event->ignore();
    return;
  }
  (void)session_.Finish();
  event->accept();
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::MouseButtonPress) {
    auto* mouse = static_cast<QMouseEvent*>(event);
    if (mouse->button() == Qt::LeftButton) {
      const QPoint at = mouse->position().toPoint();
      if (watched == MList1_->viewport()) {
        Command([this, at] { ListingClicked(MList1_, at.x(), at.y()); });
        return true;
      }
      if (watched == MList2_->viewport()) {
        Command([this, at] { ListingClicked(MList2_, at.x(), at.y()); });
        return true;
      }
    }
  }
  if (event->type() == QEvent::FocusIn) {
    for (QLineEdit* box : txtID_) {
      if (watched == box) QMetaObject::invokeMethod(box, &QLineEdit::selectAll, Qt::QueuedConnection);
    }
  }
  return QMainWindow::eventFilter(watched, event);
}

// ----------------------------------------------------- start-up, selection

void MainWindow::Activate() {
  if (activated_) return;
  activated_ = true;
  LegacyOptions& legacy = state_.commandLine;
  if (legacy.quiet) showMinimized();
  if (session_.portFailure()) {
    const std::string text = std::string(kPortInitText) + "0\n" + *session_.portFailure();
    if (EndQuietRun(state_, *this, text)) return;
    ShowMessage({text, kPortInitTitle, MessageIcon::kExclamation});
  }
  // The list, the remembered device and "/D:" come from one reading of the catalogue.
  Result<CatalogueText> catalogue = ReadCatalogue(state_.paths.Catalogue());
  std::vector<std::string> problems;
  Result<std::vector<std::string>> entries =
      catalogue ? FillDeviceList(catalogue.value(), state_.device, &problems) : catalogue.status();
  if (!entries) {
    if (EndQuietRun(state_, *this, entries.message())) return;
    ShowMessage({entries.message(), title::kQuorvi2Error, MessageIcon::kCritical});
    return;
  }
  if (!problems.empty() && !legacy.quiet) {
    std::string text = "These catalogue lines are left out:";
    for (const std::string& problem : problems) text += "\n" + problem;
    ShowMessage({text, title::kQuorvi2Alert, MessageIcon::kExclamation});
  }
  applying_ = true;
  MList3_->clear();
  for (const std::string& entry : entries.value()) MList3_->addItem(Q(entry));
  applying_ = false;
  SelectFrom(catalogue, state_.settings.deviceName);
  if (legacy.device) {
    // "/D:" loads the record only; the frames stay as set for the saved device.
    panelDevice_->setText(Q(*legacy.device));
    DeviceDescriptor device = state_.device;
    if (Result<std::optional<VddCaptions>> loaded = LoadDeviceRecord(catalogue.value(), *legacy.device, device);
        loaded) {
      state_.device = device;
      session_.InsertChipForDevice();
    } else {
      if (EndQuietRun(state_, *this, loaded.message())) return;
      ShowMessage({loaded.message(), title::kQuorvi2Error, MessageIcon::kCritical});
    }
  }
  if (legacy.file) {
    const std::string path = FindPathIgnoringCase(*legacy.file);
    LoadOptions options = ImageLoadOptions(state_);
    options.quiet = legacy.quiet;
    options.progress = [this](int percent) { ShowProgress(percent); };
    OpenedImage opened = OpenImageCommand(path, state_.device, state_.image, state_.serial, options);
    ReportLoad(opened.load);
    if (opened.load.loaded) {
      state_.imagePath = opened.path;
      state_.imageTimeStamp = opened.timeStamp;
      lblArq_->setText(Q(opened.fileName));
      if (opened.serial) RefreshSerialIndicator(opened.serial->colour);
      ShowConfig(ShowConfigWord(state_.device, state_.image.configWord, state_.image.idWords, cmbOSC_->count()));
      RefreshListings();
    }
  }
  if (legacy.write) {
    auto* write = static_cast<QPushButton*>(named_.at("cmdWrite"));
    if (write->isEnabled()) write->click();
  }
  if (legacy.quiet) {
    (void)session_.Finish();
    Terminate(0, "");
  }
}

void MainWindow::ReportLoad(const LoadReport& report) {
  HideProgress();
  (void)ShowLoadReport(state_, *this, report);
}

void MainWindow::SelectDeviceNamed(const std::string& name) {
  // Read afresh: the catalogue may have been edited since the last selection.
  SelectFrom(ReadCatalogue(state_.paths.Catalogue()), name);
}

void MainWindow::SelectFrom(const Result<CatalogueText>& catalogue, const std::string& name) {
  Result<SelectionView> selected =
      catalogue ? SelectAndRemember(state_, catalogue.value(), name, false) : catalogue.status();
  if (!selected) {
    // Unattended, the "/D:" device or the operation's own check speaks instead.
    if (!state_.quiet()) ShowMessage({selected.message(), title::kQuorvi2Error, MessageIcon::kCritical});
    return;
  }
  ApplySelection(selected.value());
  session_.InsertChipForDevice();
  if (selected.value().message) ShowMessage(*selected.value().message);
}

void MainWindow::panelDeviceClick() {
  if (MList3_->isHidden()) {
    std::vector<std::string> entries;
    for (int i = 0; i < MList3_->count(); ++i) entries.push_back(MList3_->item(i)->text().toStdString());
    applying_ = true;
    if (std::optional<int> index = DeviceListIndex(entries, state_.device.name)) MList3_->setCurrentRow(*index);
    applying_ = false;
    MList3_->show();
    return;
  }
  MList3_->hide();
  SelectDeviceNamed(panelDevice_->text().trimmed().toStdString());
}

void MainWindow::ApplySelection(const SelectionView& view) {
  applying_ = true;
  panelDevice_->setText(Q(view.deviceName));
  if (view.vddCaptions) {
    ledMin_->setText(Q(view.vddCaptions->min));
    ledMax_->setText(Q(view.vddCaptions->max));
  }
  frame18_->setVisible(view.frame18Visible);
  mnuSQTP_->setEnabled(view.mnuSQTPEnabled);
  if (view.mnuSQTPUnchecked) {
    mnuSQTP_->setChecked(false);
    state_.serial.switchedOn = false;
  }
  txtFuses_->setVisible(view.txtFusesVisible);
  chkTurbo_->setVisible(view.chkTurboVisible);
  chkErase_->setVisible(view.chkEraseVisible);
  named_.at("cmdHex16to8")->setVisible(view.cmdHex16to8Visible);
  named_.at("cmdFill")->setVisible(view.cmdFillVisible);
  mnuLoadCal_->setEnabled(view.calibrationMenusEnabled);
  mnuSaveCal_->setEnabled(view.calibrationMenusEnabled);
  named_.at("frameID")->setVisible(view.frameIDVisible);
  named_.at("frameOSC1")->setVisible(view.frameOSC1Visible);
  if (view.oscillatorList) {
    cmbOSC_->clear();
    for (const std::string& entry : view.oscillatorList->entries) cmbOSC_->addItem(Q(entry));
    // A value the part does not have stays visible (a chip may hold it) but cannot be chosen.
    if (auto* model = qobject_cast<QStandardItemModel*>(cmbOSC_->model())) {
      for (int i = 0; i < cmbOSC_->count(); ++i) {
        model->item(i)->setEnabled(OscillatorEntryUsable(view.oscillatorList->entries[static_cast<size_t>(i)]));
      }
    }
    cmbOSC_->setCurrentIndex(view.oscillatorList->selectedIndex);
  }
  if (view.calibrationText) {
    txtCal_->setText(Q(*view.calibrationText));
    txtCal_->show();
  }
  MList2_->setVisible(view.dataListVisible);
  opEEdata_->setVisible(view.dataListVisible);
  for (const FrameLayout& frame : view.frames) {
    QWidget* widget = named_.at(frame.name);
    widget->setVisible(frame.visible);
    if (frame.visible) widget->move(0, frame.top / kTwipsPerPixel);
  }
  if (view.writeProtectionList) {
    cmbWRT_->clear();
    for (const std::string& entry : view.writeProtectionList->entries) cmbWRT_->addItem(Q(entry));
  }
  chkTestBlank_->setVisible(view.chkTestBlankVisible);
  named_.at("cmdWriteFuse")->setVisible(view.cmdWriteFuseVisible);
  applying_ = false;
  ShowConfig(view.config);
  if (view.socketPicture) Image1_->SetPicture(*view.socketPicture);
  RefreshListings();
}

void MainWindow::ShowConfig(const ConfigDisplay& config) {
  applying_ = true;
  txtFuses_->setText(Q(config.txtFuses));
  if (config.oscIndex && *config.oscIndex < cmbOSC_->count()) cmbOSC_->setCurrentIndex(*config.oscIndex);
  for (const FuseChoice& choice : config.choices) {
    if (auto it = named_.find(choice.button); it != named_.end()) {
      static_cast<QRadioButton*>(it->second)->setChecked(true);
    }
  }
  if (config.wrtText) cmbWRT_->setCurrentText(Q(*config.wrtText));
  if (config.borvButton) static_cast<QRadioButton*>(named_.at(*config.borvButton))->setChecked(true);
  for (int i = 0; i < 4; ++i) txtID_[i]->setText(Q(config.idTexts[static_cast<size_t>(i)]));
  applying_ = false;
}

void MainWindow::RefreshListings() {
  MList1_->clear();
  if (showingCycles_) {
    // The cycle table of the last write, laid out as the image listing.
    const int size = state_.device.programSize == 0 ? 511 : state_.device.programSize;
    for (int line = 0; line <= size - 7; line += 8) {
      QString text = QString("%1: ").arg(line, 4, 16, QChar('0')).toUpper();
      for (int k = 0; k < 8; ++k) {
        text += QString("%1 ").arg(state_.cycleTable[static_cast<size_t>(line + k)], 4, 10, QChar(' '));
      }
      MList1_->addItem(text);
    }
  } else {
    for (const std::string& line : ProgramListingLines(state_.device, state_.image)) MList1_->addItem(Q(line));
  }
  MList2_->clear();
  for (const std::string& line : DataListingLines(state_.device, state_.image)) MList2_->addItem(Q(line));
  frame18_->setText("Configuration: " + Q(Config18Line(state_.device, state_.image)));
}

// ---------------------------------------------------------------- menus

void MainWindow::RefreshChecks() {
  const Settings& s = state_.settings;
  mnuLpt1_->setChecked(s.portEntry == PortEntry::kLpt1);
  mnuLpt2_->setChecked(s.portEntry == PortEntry::kLpt2);
  mnuLpt_->setChecked(s.portEntry == PortEntry::kCustom);
  mnuProt_->setChecked(s.mode == "PROT");
  mnuProd_->setChecked(s.mode == "PROD");
  mnuSQTP_->setChecked(state_.serial.switchedOn);
  mnuLegacyFiles_->setChecked(s.legacyFiles);
}

void MainWindow::RefreshPortMenus() {
  RefreshChecks();
  const Settings& s = state_.settings;
  mnuLpt_->setText(Q(CustomPortCaption(s)));
  lblPort_->setText(Q("Port: " + session_.portName()));
}

void MainWindow::RefreshVddPanels() {
  // The supply margins matter only for the two-margin verify of production mode.
  const bool production = state_.productionMode();
  for (QWidget* w : std::initializer_list<QWidget*>{panelMin_, panelMax_, ledMin_, ledMax_}) w->setEnabled(production);
  chkTurbo_->setEnabled(!production);
}

void MainWindow::RefreshSerialIndicator(uint32_t colour) {
  ledSQTP_->setStyleSheet(QString("background-color: #%1;").arg(colour, 6, 16, QChar('0')));
  const bool numbered = state_.serial.size != 0 && state_.serial.increment != 0;
  ledSQTP_->setText(Q(numbered ? SerialIndicatorText(state_.serial) : ""));
  mnuSQTP_->setChecked(state_.serial.switchedOn);
}

void MainWindow::mnuModeClick(const std::string& mode) {
  if (Status done = ChooseMode(state_, mode); !done) {
    ShowMessage({done.message(), title::kQuorvi2Error, MessageIcon::kCritical});
  }
  RefreshPortMenus();
  RefreshVddPanels();
}

void MainWindow::mnuLegacyFilesClick() {
  if (Status done = ChooseLegacyFiles(state_, !state_.settings.legacyFiles); !done) {
    ShowMessage({done.message(), title::kQuorvi2Error, MessageIcon::kCritical});
  }
  RefreshChecks();
}

void MainWindow::mnuPortClick(PortEntry entry) {
  if (Status done = ChoosePort(state_, entry, session_.Opener()); !done) {
    ShowMessage({done.message(), title::kQuorvi2Error, MessageIcon::kCritical});
  }
  RefreshPortMenus();
}

void MainWindow::mnuchangeaddClick() {
  std::optional<std::string> answer = prompts_.input(kNewPortPrompt);
  if (!answer) return;
  if (Status done = ChangeCustomAddress(state_, *answer, session_.Opener()); !done) {
    ShowMessage({done.message(), title::kQuorvi2Error, MessageIcon::kCritical});
  }
  RefreshPortMenus();
}

void MainWindow::panelVddClick(bool maximum) {
  std::optional<std::string> answer = prompts_.input(maximum ? kVddMaxPrompt : kVddMinPrompt);
  if (!answer) return;
  if (std::optional<UserMessage> refused = EnterVddMargin(state_, maximum, *answer)) {
    ShowMessage(*refused);
    return;
  }
  ledMin_->setText(Q(NumberText(state_.device.vddMin)));
  ledMax_->setText(Q(NumberText(state_.device.vddMax)));
}

// ---------------------------------------------------------------- files

void MainWindow::mnuOpenClick() {
  const std::string path = prompts_.file({false, "Load Hex",
                                          "Microchip HEX file|*.HEX|Paralax Object file|*.OBJ|Binary file|*.BIN",
                                          state_.settings.workingDirectory});
  if (path.empty()) return;
  LoadOptions options = ImageLoadOptions(state_);
  options.progress = [this](int percent) { ShowProgress(percent); };
  OpenedImage opened = OpenImageCommand(path, state_.device, state_.image, state_.serial, options);
  ReportLoad(opened.load);
  state_.imagePath = opened.path;
  lblArq_->setText(Q(opened.fileName));
  if (!opened.lastDirectory.empty()) state_.settings.workingDirectory = opened.lastDirectory;
  if (opened.load.loaded) state_.imageTimeStamp = opened.timeStamp;
  if (opened.serial) RefreshSerialIndicator(opened.serial->colour);
  ShowConfig(ShowConfigWord(state_.device, state_.image.configWord, state_.image.idWords, cmbOSC_->count()));
  RefreshListings();
}

void MainWindow::mnuSaveClick() {
  const std::string path = prompts_.file({true, "Save Hex", "Data file|*.HEX", state_.settings.workingDirectory});
  if (path.empty()) return;
  SaveIdAnswer answer = SaveIdAnswer::kNo;
  if (SaveAsksIdQuestion(state_.device, 0)) {
    answer = AskYesNo({"Save ID and FUSES informations?", title::kQuorvi2, MessageIcon::kQuestion}) ? SaveIdAnswer::kYes
                                                                                                   : SaveIdAnswer::kNo;
  }
  Result<std::string> saved = SaveHexCommand(path, state_.device, state_.image, answer, state_.fileFormat());
  if (!saved) {
    ShowMessage({saved.message(), title::kQuorvi2Error, MessageIcon::kCritical});
    return;
  }
  state_.settings.workingDirectory = LastDirectoryOf(saved.value());
}

void MainWindow::mnuLoadCalClick() {
  const std::string path =
      prompts_.file({false, "Load Calibration Data", "Calibration file|*.CAL", state_.settings.workingDirectory});
  if (path.empty()) return;
  ReportLoad(LoadCalibrationFile(path, state_.device, state_.image, ImageLoadOptions(state_)));
  RefreshListings();
}

void MainWindow::mnuSaveCalClick() {
  const std::string path =
      prompts_.file({true, "Save Calibration Data", "Calibration file|*.CAL", state_.settings.workingDirectory});
  if (path.empty()) return;
  if (Status saved = SaveCalibrationFile(path, state_.device, state_.image, state_.fileFormat()); !saved) {
    ShowMessage({saved.message(), title::kQuorvi2Error, MessageIcon::kCritical});
  }
}

// ------------------------------------------------------------- listings

void MainWindow::cmdBuffClick() {
  ClearImage(state_.device, state_.image);
  ShowConfig(ShowConfigWord(state_.device, state_.image.configWord, state_.image.idWords, cmbOSC_->count()));
  RefreshListings();
}

void MainWindow::cmdHex16to8Click() {
  if (Status done = Hex16To8(state_.image, state_.cycleTable); !done) {
    ShowMessage({done.message(), title::kQuorvi2Error, MessageIcon::kCritical});
  }
  RefreshListings();
}

void MainWindow::cmdStatClick() {
  showingCycles_ = !showingCycles_;
  RefreshListings();
}

void MainWindow::ListingClicked(QListWidget* list, int x, int y) {
  QListWidgetItem* item = list->itemAt(x, y);
  if (item == nullptr || (list == MList1_ && showingCycles_)) return;
  // The column rules count in the form's units over the listing's characters:
  // "0000: " then 5 characters a word, "00: " then 3 characters a byte.
  const int charWidth = list->fontMetrics().horizontalAdvance(QChar('0'));
  if (charWidth <= 0) return;
  const double chars = (x - 2.0) / charWidth;
  const bool program = list == MList1_;
  const double twips = program ? 4.0 + chars * 106.0 : 23.0 + chars * 320.0 / 3.0;
  const int column = program ? ProgramClickColumn(twips) : DataClickColumn(twips);
  Result<WordEditor> editor =
      OpenWordEditor(program ? EditTarget::kProgram : EditTarget::kData, item->text().toStdString(), column);
  if (!editor) return;
  EditDialog dialog(this, state_, editor.value(), prompts_);
  prompts_.runDialog(dialog);
  list->clearSelection();
  RefreshListings();
}

// ------------------------------------------------------------------ fuses

void MainWindow::FuseButtonClicked(const std::string& button) {
  if (applying_) return;
  std::optional<int32_t> word = ApplyFuseButton(state_.device, state_.image.configWord, state_.blankWord, button);
  if (!word) return;
  state_.image.configWord = *word;
  txtFuses_->setText(Q(FuseText(*word)));
}

void MainWindow::cmbOSCChosen(int index) {
  if (applying_ || index < 0) return;
  state_.image.configWord =
      ApplyOscillator(state_.image.configWord, state_.blankWord, state_.device.oscList, index, cmbOSC_->count());
  txtFuses_->setText(Q(FuseText(state_.image.configWord)));
}

void MainWindow::IdEditingFinished(int box) {
  if (applying_) return;
  const IdEntry entry = ParseIdEntry(txtID_[box]->text().toStdString());
  txtID_[box]->setText(Q(entry.text));
  state_.image.idWords[static_cast<size_t>(box)] = entry.value;
}

// --------------------------------------------------------------- dialogs

void MainWindow::mnuSQTPClick() {
  switch (ToggleSerialMenu(state_.serial, !state_.imagePath.empty())) {
    case SerialMenuEffect::kNeedImageFile:
      mnuSQTP_->setChecked(state_.serial.switchedOn);
      ShowMessage(NeedImageFileMessage());
      return;
    case SerialMenuEffect::kSwitchedOff:
      RefreshSerialIndicator(kSerialOffColour);
      return;
    case SerialMenuEffect::kSwitchedOnShowDialog:
      RefreshSerialIndicator(kSerialOnColour);
      OpenSerialDialog();
      RefreshSerialIndicator(kSerialOnColour);
      return;
  }
}

void MainWindow::OpenSerialDialog() {
  SerialDialog dialog(this, state_, prompts_);
  prompts_.runDialog(dialog);
}

void MainWindow::OpenAdjustDialog() {
  if (!PortReady()) return;
  AdjustDialog dialog(this, state_, prompts_, delaySetting_);
  prompts_.runDialog(dialog);
}

void MainWindow::ShowHelp() {
  HelpDialog dialog(this, state_.paths.Help());
  prompts_.runDialog(dialog);
}

void MainWindow::ShowAbout() {
  AboutDialog dialog(this, kProgramVersion);
  prompts_.runDialog(dialog);
}

}  // namespace quorvi::gui

// SPDX-License-Identifier: GPL-3.0-or-later
// The main window on the offscreen platform, on the simulated board, with
// every message box, input box and file dialog answered by a recorder.
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QStatusBar>
#include <QTest>
#include <deque>
#include <filesystem>
#include <memory>
#include <sstream>

#include "gui/dialogs.h"
#include "gui/main_window.h"
#include "gui/socket_picture.h"
#include "app/session.h"
#include "support/temp_dir.h"

using namespace quorvi;
using namespace quorvi::gui;

namespace {

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::stringstream in(text);
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

template <typename T>
T Pop(std::deque<T>& queue) {
  T front = std::move(queue.front());
  queue.pop_front();
  return front;
}

/// One window on a fresh home folder, every prompt recorded.
struct Harness {
  explicit Harness(const std::string& legacyLine = "", const std::string& port = "sim") {
    SessionOptions options;
    options.home = home.path().string();
    options.port = port;
    options.virtualClock = true;
    options.legacyLine = legacyLine;
    Result<std::unique_ptr<Session>> opened = Session::Open(options, QUORVI_TEST_ARGV0);
    if (!opened) qFatal("session: %s", opened.message().c_str());
    session = std::move(opened).value();
    Prompts prompts;
    prompts.message = [this](const UserMessage& m) { messages.push_back(m); };
    prompts.yesNo = [this](const UserMessage& q) {
      questions.push_back(q);
      return true;
    };
    prompts.input = [this](const std::string& prompt) -> std::optional<std::string> {
      inputPrompts.push_back(prompt);
      return inputs.empty() ? std::nullopt : std::optional(Pop(inputs));
    };
    prompts.file = [this](const FileRequest& request) {
      fileRequests.push_back(request);
      return files.empty() ? std::string() : Pop(files);
    };
    prompts.runDialog = [this](QDialog& dialog) {
      dialogs.push_back(dialog.objectName().toStdString());
      if (onDialog) onDialog(dialog);
    };
    prompts.sound = [this](const std::string& path) { sounds.push_back(path); };
    prompts.terminate = [this](int code) { terminated.push_back(code); };
    window = std::make_unique<MainWindow>(*session, prompts);
    window->show();
    window->Activate();
  }

  template <typename T>
  T* Find(const char* name) {
    T* widget = window->findChild<T*>(name);
    if (widget == nullptr) qFatal("no widget %s", name);
    return widget;
  }
  QAction* Action(const char* name) { return Find<QAction>(name); }
  QWidget* Widget(const char* name) { return Find<QWidget>(name); }
  AppState& state() { return session->state(); }
  std::vector<std::string> SettingsLines() { return Lines(home.Read("quorvi2.ini")); }
  /// An example image copied into the home folder (its companion file goes beside it).
  std::string Example(const std::string& name) {
    const std::filesystem::path target = home.path() / name;
    std::filesystem::copy_file(std::filesystem::path(QUORVI_EXAMPLES_DIR) / name, target,
                               std::filesystem::copy_options::overwrite_existing);
    return target.string();
  }
  void Select(const std::string& device) { window->SelectDeviceNamed(device); }
  void Open(const std::string& path) {
    files.push_back(path);
    Find<QPushButton>("cmdOpen")->click();
  }

  test::TempDir home;
  std::unique_ptr<Session> session;
  std::unique_ptr<MainWindow> window;
  std::vector<UserMessage> messages;
  std::vector<UserMessage> questions;
  std::deque<std::string> inputs;
  std::vector<std::string> inputPrompts;
  std::deque<std::string> files;
  std::vector<FileRequest> fileRequests;
  std::vector<std::string> dialogs;
  std::function<void(QDialog&)> onDialog;
  std::vector<std::string> sounds;
  std::vector<int> terminated;
};

// A click on the `chars`th character of a listing line.
void ClickAt(QListWidget* list, int row, int chars) {
  const int charWidth = list->fontMetrics().horizontalAdvance(QChar('0'));
  const QRect line = list->visualItemRect(list->item(row));
  QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, QPoint(2 + charWidth * chars, line.center().y()));
}

std::string Picture(Harness& h) {
  auto* picture = dynamic_cast<SocketPicture*>(h.Widget("Image1"));
  return picture ? picture->picture() : "(none)";
}

}  // namespace

class GuiTest : public QObject {
  Q_OBJECT

 private slots:
  void startsWithTheRememberedDeviceAndMenusInOrder() {
    Harness h;
    QCOMPARE(h.Find<QPushButton>("panelDevice")->text(), QString("16F84"));
    QVERIFY(h.Find<QListWidget>("MList3")->isHidden());
    QCOMPARE(h.Find<QListWidget>("MList1")->count(), 128);
    QCOMPARE(h.Find<QListWidget>("MList1")->item(0)->text(),
             QString("0000: 3FFF 3FFF 3FFF 3FFF 3FFF 3FFF 3FFF 3FFF "));
    QVERIFY(h.Find<QLabel>("lblPort")->text().contains("simulated board"));
    // Config: two modes, separator, three ports, Change Address, separator, SQTP.
    QMenu* config = h.Find<QMenu>("mnuConfig");
    QStringList order;
    for (QAction* a : config->actions()) order << (a->isSeparator() ? "-" : a->objectName());
    QCOMPARE(order, QStringList({"mnuProt", "mnuProd", "-", "mnuLpt1", "mnuLpt2", "mnuLpt", "mnuchangeadd", "-",
                                 "mnuSQTP"}));
    QCOMPARE(h.Action("mnuProt")->text(), QString("Protype mode"));
    QVERIFY(h.Action("mnuProt")->isChecked());
    QVERIFY(h.Action("mnuLpt1")->isChecked());
    QCOMPARE(h.Find<QPushButton>("cmdWrite")->text(), QString("Write PIC"));
    QCOMPARE(h.Find<QPushButton>("cmdHex16to8")->text(), QString("HEX16 to 8"));
  }

  void eachPartShowsItsOwnControlsPictureAndMenus() {
    struct Part {
      const char* name;
      const char* picture;  // nullptr: not looked at
      std::vector<const char*> shown;
      std::vector<const char*> hidden;
      std::vector<const char*> enabled;
      std::vector<const char*> disabled;
    };
    // One window, the parts selected in turn: each selection hides what the one before showed.
    const Part parts[] = {
        {"16F877", "imgSoq40",
         {"frameWDTE", "framePWRTE", "frameCP0", "frameCP1", "frameBoden", "frameWRT", "frameCPD", "frameLVP",
          "frameID", "frameOSC1", "MList2", "opEEdata", "cmdWriteFuse", "chkErase", "txtFuses"},
         {"frameMCLRE", "frameBodenV", "frameMPEEN", "frameDebug", "cmdHex16to8", "chkTurbo", "frame18"},
         {"mnuSQTP"}, {"mnuLoadCal"}},
        {"24C02", nullptr, {"cmdHex16to8"},
         {"cmdWriteFuse", "txtFuses", "chkTestBlank", "chkErase", "frameID", "frameWDTE", "framePWRTE", "frameCP0",
          "frameLVP"},
         {}, {"mnuSQTP"}},
        {"12C508", "imgSoq8novo", {"frameMCLRE"}, {}, {}, {"mnuLoadCal"}},
        {"14000", "imgSoq14000", {}, {}, {"mnuLoadCal", "mnuSaveCal"}, {}},
        {"18F452", nullptr, {"frame18"}, {}, {}, {}},
        {"16F84A", nullptr, {}, {"frame18"}, {}, {}},
    };
    Harness h;
    for (const Part& part : parts) {
      h.Select(part.name);
      const QByteArray where = QByteArray(part.name) + " ";
      if (part.picture != nullptr) QCOMPARE(Picture(h), std::string(part.picture));
      for (const char* name : part.shown) QVERIFY2(!h.Widget(name)->isHidden(), where + name);
      for (const char* name : part.hidden) QVERIFY2(h.Widget(name)->isHidden(), where + name);
      for (const char* name : part.enabled) QVERIFY2(h.Action(name)->isEnabled(), where + name);
      for (const char* name : part.disabled) QVERIFY2(!h.Action(name)->isEnabled(), where + name);
      if (std::string(part.name) != "16F877") continue;
      const std::vector<std::pair<const char*, int>> tops = {
          {"frameWDTE", 1200}, {"framePWRTE", 1520}, {"frameCP0", 1840}, {"frameCP1", 2160},
          {"frameBoden", 2480}, {"frameWRT", 2800}, {"frameCPD", 3140}, {"frameLVP", 3460}};
      for (const auto& [name, top] : tops) QCOMPARE(h.Widget(name)->y(), top / kTwipsPerPixel);
      QCOMPARE(h.Find<QComboBox>("cmbWRT")->count(), 2);
      QCOMPARE(h.Find<QLabel>("txtFuses")->text(), QString(" Fuse=3FFF"));
    }
  }

  void an18FShowsTheConfigurationRegistersOfItsImage() {
    Harness h;
    h.Select("18F452");
    auto* frame18 = h.Find<QLabel>("frame18");
    h.Open(h.Example("blink_18f452.inhx32.hex"));
    QVERIFY(h.messages.empty());
    // The example's odd first record puts each byte one register away from where gpasm meant it.
    QCOMPARE(frame18->text(), QString("Configuration: 1H=0C 2L=0E 2H=C0 3H=FF 4L=FF 5L=0F 5H=C0 6L=0F 6H=E0"));
  }

  void theDevicePanelOpensTheListAndSelectsOnTheSecondClick() {
    Harness h;
    auto* panel = h.Find<QPushButton>("panelDevice");
    auto* list = h.Find<QListWidget>("MList3");
    panel->click();
    QVERIFY(!list->isHidden());
    QCOMPARE(list->currentItem()->text().trimmed(), QString("16F84"));
    const QList<QListWidgetItem*> found = list->findItems("16F628 ", Qt::MatchStartsWith);
    QVERIFY(!found.isEmpty());
    list->setCurrentItem(found.first());
    QCOMPARE(panel->text(), QString("16F628"));
    panel->click();
    QVERIFY(list->isHidden());
    QCOMPARE(h.state().device.name, std::string("16F628"));
    QVERIFY(!h.Widget("frameMCLRE")->isHidden());
    QCOMPARE(h.SettingsLines().at(2), std::string("16F628"));
  }

  void fuseButtonsChangeTheWordAndALoadedWordSetsThem() {
    Harness h;
    h.Select("16F84A");
    h.Find<QRadioButton>("WDT_OFF")->click();
    QCOMPARE(h.state().image.configWord, 0x3FFB);
    QCOMPARE(h.Find<QLabel>("txtFuses")->text(), QString(" Fuse=3FFB"));
    h.Find<QRadioButton>("PWRTE_ON")->click();
    QCOMPARE(h.state().image.configWord, 0x3FF3);
    h.Find<QRadioButton>("CP0_ON")->click();
    QCOMPARE(h.state().image.configWord, 0x000F & 0x3FF3);

    h.Open(h.Example("eeprom_16f84a.inhx8m.hex"));
    QCOMPARE(h.state().image.configWord, 0x3FF1);
    QCOMPARE(h.Find<QLabel>("txtFuses")->text(), QString(" Fuse=3FF1"));
    QVERIFY(h.Find<QRadioButton>("WDT_OFF")->isChecked());
    QVERIFY(h.Find<QRadioButton>("PWRTE_ON")->isChecked());
    QVERIFY(h.Find<QRadioButton>("CP0_OFF")->isChecked());
    QCOMPARE(h.Find<QComboBox>("cmbOSC")->currentIndex(), 1);
    QCOMPARE(h.Find<QLabel>("lblArq")->text(), QString("eeprom_16f84a.inhx8m.hex"));
    QCOMPARE(h.fileRequests.at(0).filter,
             std::string("Microchip HEX file|*.HEX|Paralax Object file|*.OBJ|Binary file|*.BIN"));

    // The oscillator list sets the low bits; an ID box keeps at most 3FFF.
    h.Find<QComboBox>("cmbOSC")->activated(2);
    QCOMPARE(h.state().image.configWord, 0x3FF2);
    auto* id2 = h.Find<QLineEdit>("txtID2");
    id2->setText("4000");
    emit id2->editingFinished();
    QCOMPARE(id2->text(), QString("3FFF"));
    QCOMPARE(h.state().image.idWords[2], 0x3FFF);
  }

  void clickingAWordEditsItInTheWordEditor() {
    Harness h;
    auto* list = h.Find<QListWidget>("MList1");
    bool clickedDuringEdit = false;
    h.onDialog = [&](QDialog& dialog) {
      auto* editor = dynamic_cast<EditDialog*>(&dialog);
      QVERIFY(editor != nullptr);
      QCOMPARE(dialog.windowTitle(), QString("Edit Program Memory"));
      auto* address = dialog.findChild<QLineEdit*>("txtAddress");
      auto* data = dialog.findChild<QLineEdit*>("txtData");
      QCOMPARE(address->text(), QString("0002"));
      QCOMPARE(data->text(), QString("3FFF"));
      data->setText("1234");
      QTest::keyClick(data, '+');
      QCOMPARE(address->text(), QString("0003"));
      data->setText("ABC");
      QTest::keyClick(data, Qt::Key_Return);
      dialog.findChild<QRadioButton*>("opDec")->click();
      QCOMPARE(data->text(), QString("2748"));
      // Every command waits while the editor is open, and menu check marks stay.
      h.Find<QPushButton>("cmdBuff")->click();
      h.Action("mnuProd")->trigger();
      QVERIFY(!h.Action("mnuProd")->isChecked());
      QVERIFY(h.Action("mnuProt")->isChecked());
      QCOMPARE(h.state().settings.mode, std::string("PROT"));
      clickedDuringEdit = true;
      QCOMPARE(h.state().image.programBuffer[2], 0x1234);
    };
    ClickAt(list, 0, 18);
    QCOMPARE(h.dialogs, std::vector<std::string>{"frmEditP"});
    QVERIFY(clickedDuringEdit);
    QCOMPARE(h.state().image.programBuffer[2], 0x1234);
    QCOMPARE(h.state().image.programBuffer[3], 0xABC);
    QCOMPARE(list->item(0)->text(), QString("0000: 3FFF 3FFF 1234 0ABC 3FFF 3FFF 3FFF 3FFF "));
    h.Find<QPushButton>("cmdBuff")->click();
    QCOMPARE(h.state().image.programBuffer[2], 0x3FFF);
  }

  void dataListingEditsTheDataEeprom() {
    Harness h;
    h.Select("16F628");
    auto* list = h.Find<QListWidget>("MList2");
    h.onDialog = [](QDialog& dialog) {
      QCOMPARE(dialog.windowTitle(), QString("Edit Data Memory"));
      QCOMPARE(dialog.findChild<QLineEdit*>("txtAddress")->text(), QString("09"));
      dialog.findChild<QLineEdit*>("txtData")->setText("5A");
      dialog.findChild<QPushButton*>("cmdOK")->click();
    };
    ClickAt(list, 1, 8);
    QCOMPARE(h.state().image.dataBuffer[9], int16_t{0x5A});
    QCOMPARE(list->item(1)->text(), QString("08: FF 5A FF FF FF FF FF FF "));
  }

  void commandsReportTheirMessages() {
    Harness h;
    h.Action("mnuCheck")->trigger();
    QCOMPARE(h.messages.size(), size_t{1});
    QCOMPARE(h.messages[0].text, std::string("Not impemented yet!"));

    h.Action("mnuSQTP")->trigger();
    QCOMPARE(h.messages.back().text, std::string("You need to open a HEX file first..."));
    QCOMPARE(h.messages.back().title, std::string("Quorvi error"));
    QVERIFY(!h.Action("mnuSQTP")->isChecked());
    h.Find<QPushButton>("ledSQTP")->click();
    QCOMPARE(h.messages.back().text, std::string("You need to open a HEX file first..."));

    const std::string missing = (h.home.path() / "missing.hex").string();
    h.Open(missing);
    QCOMPARE(h.messages.back().text, "file not found: " + missing);

    h.Select("16F84A");
    h.Open(h.Example("eeprom_16f84a.inhx8m.hex"));
    const size_t before = h.messages.size();
    h.files.push_back((h.home.path() / "saved").string());
    h.Find<QPushButton>("cmdSave")->click();
    QCOMPARE(h.messages.size(), before);
    QCOMPARE(h.questions.back().text, std::string("Save ID and FUSES informations?"));
    QCOMPARE(h.fileRequests.back().filter, std::string("Data file|*.HEX"));
    QVERIFY(h.home.Read("saved.HEX").ends_with(":00000001FF\r\n"));

    h.Find<QPushButton>("cmdStat")->click();
    QVERIFY(h.Find<QListWidget>("MList1")->item(0)->text().startsWith("0000:    0"));
    h.Find<QPushButton>("cmdStat")->click();
    QVERIFY(h.Find<QListWidget>("MList1")->item(0)->text().startsWith("0000: 1683"));
  }

  void operationsRunOnTheSimulatedBoard() {
    Harness h;
    h.Select("16F84A");
    h.Find<QRadioButton>("WDT_OFF")->click();
    h.Find<QPushButton>("cmdWriteFuse")->click();
    h.Find<QRadioButton>("WDT_ON")->click();
    QCOMPARE(h.state().image.configWord, 0x3FFF);
    h.Find<QPushButton>("cmdRead")->click();
    QCOMPARE(h.state().image.configWord, 0x3FFB);
    QVERIFY(h.Find<QRadioButton>("WDT_OFF")->isChecked());
    QCOMPARE(h.Find<QLabel>("txtFuses")->text(), QString(" Fuse=3FFB"));
    QVERIFY(h.Widget("Barra")->isHidden());
    QVERIFY(h.Widget("txtStatus")->isHidden());
    QCOMPARE(h.Find<QListWidget>("MList1")->item(0)->text(),
             QString("0000: 3FFF 3FFF 3FFF 3FFF 3FFF 3FFF 3FFF 3FFF "));
    // Enter anywhere runs Write: the chip gets the image, then the sound and "Operation OK".
    h.Open(h.Example("eeprom_16f84a.inhx8m.hex"));
    QTest::keyClick(h.window.get(), Qt::Key_Return);
    QCOMPARE(h.Find<QStatusBar>("Statusbar")->currentMessage(), QString("Operation OK"));
    QCOMPARE(h.sounds.size(), size_t{1});
    QVERIFY(h.sounds[0].ends_with("ok.wav"));
    h.Find<QPushButton>("cmdCompare")->click();
    h.Find<QPushButton>("cmdBuff")->click();
    h.Find<QPushButton>("cmdRead")->click();
    QCOMPARE(h.Find<QListWidget>("MList1")->item(0)->text(),
             QString("0000: 1683 0186 1283 0189 1683 1408 1283 0808 "));
    QVERIFY(h.messages.empty());
    h.state().image.programBuffer[1] = 0x0000;
    h.Find<QPushButton>("cmdCompare")->click();
    QCOMPARE(h.messages.size(), size_t{1});
    QVERIFY(h.messages[0].text.find("1h") != std::string::npos);
    h.messages.clear();
    h.Find<QPushButton>("cmdFill")->click();
    // An erased chip passes the blank check, and the erase reports nothing.
    h.Find<QPushButton>("cmdBlank")->click();
    QVERIFY(h.messages.empty());
    QVERIFY(h.Widget("Barra")->isHidden());
  }

  void serialNumberingThroughTheDialog() {
    Harness h;
    h.Select("16F84A");
    const std::string image = h.Example("eeprom_16f84a.inhx8m.hex");
    h.Open(image);
    h.inputs = {"41", "4", "1", "1000", "9"};
    h.onDialog = [&h](QDialog& dialog) {
      QCOMPARE(dialog.objectName(), QString("frmSQTP"));
      dialog.findChild<QPushButton*>("panelSQTP")->click();
      dialog.findChild<QPushButton*>("panelSize")->click();
      dialog.findChild<QPushButton*>("panelInc")->click();
      dialog.findChild<QPushButton*>("panelStart")->click();
      dialog.findChild<QPushButton*>("panelSize")->click();  // 9 is refused
      QCOMPARE(dialog.findChild<QLabel*>("ledSQTP")->text(), QString("000000000000041"));
      QCOMPARE(dialog.findChild<QLabel*>("ledSize")->text(), QString("004"));
      QCOMPARE(dialog.findChild<QLabel*>("ledStart")->text(), QString("01000"));
      dialog.findChild<QPushButton*>("cmdOK")->click();
    };
    h.Action("mnuSQTP")->trigger();
    QVERIFY(h.Action("mnuSQTP")->isChecked());
    QCOMPARE(h.inputPrompts.at(2), std::string("Enter the increment"));
    QCOMPARE(h.Find<QPushButton>("ledSQTP")->text(), QString("0041"));
    QCOMPARE(Lines(h.home.Read("eeprom_16f84a.inhx8m.SQT")).at(0), std::string("41"));
    QCOMPARE(h.state().serial.size, int16_t{4});
    h.Action("mnuSQTP")->trigger();
    QVERIFY(!h.Action("mnuSQTP")->isChecked());
  }

  void portAndModeMenusRewriteTheSettingsFile() {
    Harness h;
    h.Action("mnuProd")->trigger();
    QCOMPARE(h.SettingsLines().at(1), std::string("PROD"));
    QVERIFY(h.Action("mnuProd")->isChecked());
    QVERIFY(!h.Action("mnuProt")->isChecked());
    QVERIFY(h.Widget("panelMax")->isEnabled());

    h.inputs = {"12"};
    h.Find<QPushButton>("panelMax")->click();
    QCOMPARE(h.messages.back().text, std::string("Voltage to high"));
    h.inputs = {"5"};
    h.Find<QPushButton>("panelMin")->click();
    QCOMPARE(h.Find<QLabel>("ledMin")->text(), QString("5"));
    QCOMPARE(h.SettingsLines().size(), size_t{5});

    h.inputs = {"3BC"};
    h.Action("mnuchangeadd")->trigger();
    QCOMPARE(h.inputPrompts.back(), std::string("Enter new porta address (hex format)"));
    QVERIFY(h.Action("mnuLpt")->isChecked());
    QCOMPARE(h.Action("mnuLpt")->text(), QString("LPT? on 3BCh"));
    QCOMPARE(h.SettingsLines().at(0), std::string("LPT 3BC"));
    h.Action("mnuLpt2")->trigger();
    QCOMPARE(h.SettingsLines().at(0).substr(0, 4), std::string("LPT2"));
    QVERIFY(h.Action("mnuLpt2")->isChecked());
    QVERIFY(!h.Action("mnuLpt")->isChecked());
    // The simulated board stays the port for the run.
    QVERIFY(h.Find<QLabel>("lblPort")->text().contains("simulated board"));
  }

  void theAdjustDialogSwitchesSuppliesKeepsItsDelayAndCyclesOnShiftRelease() {
    Harness h;
    h.inputs = {"-2", "7"};
    int opened = 0;
    int64_t closedAfter = 0;
    h.onDialog = [&](QDialog& dialog) {
      auto* delay = dialog.findChild<QScrollBar*>("hsDelay");
      auto* delayText = dialog.findChild<QLineEdit*>("txtDelay");
      auto* ok = dialog.findChild<QPushButton*>("cmdOk");
      const int64_t before = h.state().clock->Nanoseconds();
      if (opened++ == 1) {
        QCOMPARE(delayText->text(), QString("120"));
        QTest::mouseClick(ok, Qt::LeftButton, Qt::ShiftModifier);
        closedAfter = h.state().clock->Nanoseconds() - before;
        return;
      }
      auto* status = dialog.findChild<QLabel*>("txtStatus");
      dialog.findChild<QPushButton*>("cmdVpp2")->click();
      dialog.findChild<QPushButton*>("cmdVpp2")->click();
      QCOMPARE(status->text(), QString("Check for 13V on Textool pin 1"));
      QVERIFY((h.state().link.outputShadow() & 0x10) != 0);
      dialog.findChild<QPushButton*>("ledVDD")->click();
      QCOMPARE(h.messages.back().text, std::string("wrong value"));
      dialog.findChild<QPushButton*>("ledVDD")->click();
      QCOMPARE(dialog.findChild<QPushButton*>("ledVDD")->text(), QString("7.0"));
      dialog.findChild<QPushButton*>("cmdVpp3")->click();
      dialog.findChild<QPushButton*>("cmdVdd")->click();
      QCOMPARE(status->text(), QString("Check for 5V on Textool pin 11"));
      QCOMPARE(delayText->text(), QString("0"));
      delay->setValue(120);
      QCOMPARE(delayText->text(), QString("120"));
      QTest::mouseClick(ok, Qt::LeftButton);
      closedAfter = h.state().clock->Nanoseconds() - before;
    };
    h.Find<QPushButton>("cmdAjuste")->click();
    QCOMPARE(h.dialogs, std::vector<std::string>{"frmAdjust"});
    QVERIFY((h.state().link.outputShadow() & 0x3C) == 0x3C);  // every supply off
    QVERIFY(closedAfter < 7 * 249'000'000LL);
    // With Shift held, OK cycles every supply in turn: seven waits of 250 ms.
    h.Find<QPushButton>("cmdAjuste")->click();
    QCOMPARE(opened, 2);
    QVERIFY(closedAfter >= 7 * 249'000'000LL);
    QVERIFY((h.state().link.outputShadow() & 0x3C) == 0x3C);  // every supply off
  }

  void helpAndAboutOpenTheirWindows() {
    Harness h;
    h.Action("mnuHelp2")->trigger();
    h.Find<QPushButton>("cmdHelp")->click();
    h.Action("mnuAbout")->trigger();
    QCOMPARE(h.dialogs, (std::vector<std::string>{"frmHelp", "frmHelp", "frmAbout"}));
  }

  void aPortThatCannotOpenIsReportedAtActivation() {
    Harness h("", "/nonexistent/parport9");
    QVERIFY(!h.messages.empty());
    QCOMPARE(h.messages.front().title, std::string("Inicialização da porta"));
    QVERIFY(h.messages.front().text.rfind("O driver retornou o valor ", 0) == 0);
    QVERIFY(h.Find<QLabel>("lblPort")->text().contains("not open"));
    QCOMPARE(h.Find<QPushButton>("panelDevice")->text(), QString("16F84"));
  }

  void legacyOptionsSelectLoadAndWriteThenEnd() {
    for (const auto& [part, write] : {std::pair{"16F84A", true}, {"16F628A", false}}) {
      test::TempDir files;
      const std::string example = std::string(part == std::string("16F84A") ? "eeprom_16f84a" : "eeprom_16f628a");
      const std::filesystem::path image = files.path() / "a.hex";
      std::filesystem::copy_file(std::filesystem::path(QUORVI_EXAMPLES_DIR) / (example + ".inhx8m.hex"), image);
      Harness h(std::string("/D:") + part + " /F:" + image.string() + (write ? " /W" : "") + " /Q");
      QCOMPARE(h.Find<QPushButton>("panelDevice")->text(), QString(part));
      QCOMPARE(h.state().device.name, std::string(part));
      QCOMPARE(h.Find<QLabel>("lblArq")->text(), QString("a.hex"));
      QVERIFY(h.state().image.programBuffer[0] != 0x3FFF);
      QCOMPARE(h.Find<QStatusBar>("Statusbar")->currentMessage(), QString(write ? "Operation OK" : ""));
      QVERIFY(h.window->isMinimized());
      QVERIFY(h.messages.empty());
      QCOMPARE(h.terminated, std::vector<int>{0});
      QVERIFY(!std::filesystem::exists(h.home.path() / "quorvi2.err"));
    }
  }
};

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  GuiTest test;
  return QTest::qExec(&test, argc, argv);
}

#include "gui_test.moc"

// SPDX-License-Identifier: GPL-3.0-or-later
// Renders the main window and its dialogs to PNG files for the documents:
// quorvi_gui_screenshots OUTPUT_DIR EXAMPLES_DIR
#include <QApplication>
#include <QDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>
#include <deque>
#include <cstdio>
#include <filesystem>

#include "gui/dialogs.h"
#include "gui/main_window.h"
#include "app/session.h"

using namespace quorvi;
using namespace quorvi::gui;

namespace {

void Settle() {
  for (int i = 0; i < 5; ++i) QApplication::processEvents();
}

bool Save(QWidget& widget, const std::filesystem::path& path) {
  Settle();
  const bool ok = widget.grab().save(QString::fromStdString(path.string()));
  std::printf("%s %s\n", ok ? "wrote" : "could not write", path.string().c_str());
  return ok;
}

}  // namespace

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  if (argc < 3) {
    std::fprintf(stderr, "usage: quorvi_gui_screenshots OUTPUT_DIR EXAMPLES_DIR\n");
    return 2;
  }
  const std::filesystem::path out = argv[1];
  const std::filesystem::path examples = argv[2];
  const std::filesystem::path home = std::filesystem::temp_directory_path() / "quorvi-screenshots";
  std::filesystem::remove_all(home);
  std::filesystem::create_directories(home);
  std::filesystem::create_directories(out);
  std::filesystem::copy_file(examples / "eeprom_16f84a.inhx8m.hex", home / "eeprom_16f84a.hex");

  SessionOptions options;
  options.home = home.string();
  options.port = "sim";
  options.virtualClock = true;
  Result<std::unique_ptr<Session>> session = Session::Open(options, argv[0]);
  if (!session) {
    std::fprintf(stderr, "quorvi_gui_screenshots: %s\n", session.message().c_str());
    return 1;
  }
  bool ok = true;
  std::string dialogShot;
  std::deque<std::string> files = {(home / "eeprom_16f84a.hex").string()};
  Prompts prompts;
  prompts.message = [](const UserMessage& m) { std::printf("message: %s\n", m.text.c_str()); };
  prompts.yesNo = [](const UserMessage&) { return false; };
  prompts.input = [](const std::string&) -> std::optional<std::string> { return std::nullopt; };
  prompts.file = [&files](const FileRequest&) {
    if (files.empty()) return std::string();
    std::string path = files.front();
    files.pop_front();
    return path;
  };
  prompts.runDialog = [&](QDialog& dialog) {
    dialog.show();
    if (auto* adjust = dynamic_cast<AdjustDialog*>(&dialog)) {
      adjust->findChild<QPushButton*>("cmdVpp1")->click();
    }
    ok = Save(dialog, out / dialogShot) && ok;
    dialog.close();
  };
  prompts.sound = [](const std::string&) {};
  prompts.terminate = [](int code) { std::exit(code); };

  MainWindow window(*session.value(), prompts);
  window.resize(1100, 640);
  window.show();
  window.Activate();
  window.SelectDeviceNamed("16F84A");
  window.findChild<QPushButton*>("cmdOpen")->click();
  ok = Save(window, out / "main-window.png") && ok;

  dialogShot = "word-editor.png";
  window.findChild<QPushButton*>("cmdStat")->click();  // cycles, then back: the listing stays the image
  window.findChild<QPushButton*>("cmdStat")->click();
  {
    WordEditor editor;
    editor.caption = "Edit Program Memory";
    editor.address = 5;
    EditDialog dialog(&window, session.value()->state(), editor, prompts);
    prompts.runDialog(dialog);
  }
  dialogShot = "serial-numbering.png";
  {
    session.value()->state().serial.size = 3;
    session.value()->state().serial.increment = 1;
    session.value()->state().serial.serialNumber = 1001;
    SerialDialog dialog(&window, session.value()->state(), prompts);
    prompts.runDialog(dialog);
  }
  dialogShot = "voltage-adjust.png";
  window.findChild<QPushButton*>("cmdAjuste")->click();
  dialogShot = "about.png";
  {
    AboutDialog dialog(&window, "0.1");
    prompts.runDialog(dialog);
  }
  dialogShot = "help.png";
  window.findChild<QPushButton*>("cmdHelp")->click();

  window.SelectDeviceNamed("24C02");
  ok = Save(window, out / "main-window-24c02.png") && ok;
  window.close();
  return ok ? 0 : 1;
}

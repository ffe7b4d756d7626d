// SPDX-License-Identifier: GPL-3.0-or-later
// quorvi2: the main window. Legacy options "/Q", "/D:", "/F:", "/W" as
// another program passes them, plus --port, --home and --chip.
#include <QApplication>
#include <QTimer>
#include <cstdio>
#include <string>

#include "gui/main_window.h"
#include "gui/prompts.h"
#include "app/session.h"

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  quorvi::SessionOptions options;
  std::string legacy;
  const QStringList args = QApplication::arguments();
  for (qsizetype i = 1; i < args.size(); ++i) {
    const std::string arg = args[i].toStdString();
    auto value = [&](const char* name) -> std::optional<std::string> {
      const std::string prefix = std::string(name) + "=";
      if (arg.rfind(prefix, 0) == 0) return arg.substr(prefix.size());
      if (arg == name && i + 1 < args.size()) return args[++i].toStdString();
      return std::nullopt;
    };
    if (arg == "--help") {
      std::puts("usage: quorvi2 [--port PORT] [--home DIR] [--chip FILE] [/D:DEVICE] [/F:FILE] [/W] [/Q]\n"
                "PORT: lpt1, lpt2, 0xADDR, /dev/parportN, sim, sim:CHIP or sim:FILE.json");
      return 0;
    }
    if (auto port = value("--port")) {
      options.port = *port;
    } else if (auto home = value("--home")) {
      options.home = *home;
    } else if (auto chip = value("--chip")) {
      options.chip = *chip;
    } else {
      legacy += (legacy.empty() ? "" : " ") + arg;
    }
  }
  options.legacyLine = legacy;
  auto session = quorvi::Session::Open(options, argv[0]);
  if (!session) {
    std::fprintf(stderr, "quorvi2: %s\n", session.message().c_str());
    return 1;
  }
  quorvi::gui::MainWindow window(*session.value(), quorvi::gui::DesktopPrompts());
  window.show();
  // First activation once the window is up, as the old form did.
  QTimer::singleShot(0, &window, [&window] { window.Activate(); });
  const int code = QApplication::exec();
  (void)session.value()->Finish();
  return code;
}

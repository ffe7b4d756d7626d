// SPDX-License-Identifier: GPL-3.0-or-later
// quorvi2: the main window. Legacy options "/Q", "/D:", "/F:", "/W" as
// another program passes them, plus --port, --home, --chip, --trace and --trace-window.
#include <QApplication>
#include <QCommandLineParser>
#include <QStringList>
#include <QTimer>
#include <cstdio>
#include <string>

#include "app/port_registry.h"
#include "app/session.h"
#include "app/version.h"
#include "gui/main_window.h"
#include "gui/prompts.h"

namespace {

constexpr int kUsageError = 2;
constexpr int kSignalWatchMs = 100;
constexpr const char* kUsage =
    "usage: quorvi2 [--port PORT] [--home DIR] [--chip FILE] [--trace FILE [--trace-window START:END]]\n"
    "               [/D:DEVICE] [/F:FILE] [/W] [/Q]";

std::string HelpText(const QCommandLineParser& parser) {
  // Qt's own help names the program only once an application object exists;
  // ours is printed before there is one, so the usage line is our own.
  QString options = parser.helpText();
  options = options.mid(options.indexOf('\n') + 1);
  std::string text = std::string(kUsage) + "\n" + options.toStdString();
  text += "\nPORT is one of:\n";
  for (const quorvi::PortBackend& backend : quorvi::PortBackends()) {
    text += "  " + std::string(backend.usage) + "\n      " + std::string(backend.description) + "\n";
  }
  text +=
      "\nLegacy options, as another program passes them:\n"
      "  /D:DEVICE  select DEVICE\n"
      "  /F:FILE    load the image FILE\n"
      "  /W         write the chip\n"
      "  /Q         quiet: start minimised, write failures to quorvi2.err and end\n"
      "\nExit status: 0 success, 1 failure (an operation failed or the start failed),\n"
      "2 usage error, 130 interrupted by Ctrl-C (143 by SIGTERM): the target is powered down first.\n";
  return text;
}

}  // namespace

int main(int argc, char** argv) {
  // Parsed before the application object, which needs a display: --help and
  // --version work on a server or over ssh.
  QStringList args;
  for (int i = 0; i < argc; ++i) args << QString::fromLocal8Bit(argv[i]);
  QCommandLineParser parser;
  const QCommandLineOption port("port", "The programmer's port (see PORT below).", "PORT");
  const QCommandLineOption home("home", "The program's folder: settings, device.ini, error log.", "DIR");
  const QCommandLineOption chip("chip", "Chip-state file of the simulated board, kept from run to run.", "FILE");
  const QCommandLineOption trace("trace", "Write every line change to this VCD file (.vcd.zst, .vcd.gz: compressed).",
                                 "FILE");
  const QCommandLineOption traceWindow(
      "trace-window", "Trace only from START to END ms on the trace's clock (250: or :40 leave a side open).",
      "START:END");
  const QCommandLineOption help(QStringList{"h", "help"}, "Show this help and end.");
  const QCommandLineOption version("version", "Show the program's version and end.");
  parser.addOptions({port, home, chip, trace, traceWindow, help, version});
  if (!parser.parse(args)) {
    std::fprintf(stderr, "quorvi2: %s\n%s\n", parser.errorText().toLocal8Bit().constData(), kUsage);
    return kUsageError;
  }
  if (parser.isSet(help)) {
    std::fputs(HelpText(parser).c_str(), stdout);
    return 0;
  }
  if (parser.isSet(version)) {
    std::printf("quorvi2 %s\n", quorvi::kProgramVersion);
    return 0;
  }
  quorvi::SessionOptions options;
  if (parser.isSet(port)) options.port = parser.value(port).toStdString();
  if (parser.isSet(home)) options.home = parser.value(home).toStdString();
  if (parser.isSet(chip)) options.chip = parser.value(chip).toStdString();
  if (parser.isSet(trace)) options.trace = parser.value(trace).toStdString();
  if (parser.isSet(traceWindow)) {
    const std::string text = parser.value(traceWindow).toStdString();
    const quorvi::Result<quorvi::TraceWindow> window = quorvi::ParseTraceWindow(text);
    if (!window || options.trace.empty()) {
      std::fprintf(stderr, "quorvi2: %s\n%s\n", window ? "--trace-window needs --trace" : window.message().c_str(),
                   kUsage);
      return kUsageError;
    }
    options.traceWindow = window.value();
  }
  options.programName = "quorvi2";
  options.legacyLine = parser.positionalArguments().join(' ').toStdString();

  // Without any of these Qt's default platform aborts the process.
  if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
      qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
    std::fputs("quorvi2: no display (DISPLAY and WAYLAND_DISPLAY are not set); quorvi2-cli works without one\n",
               stderr);
    return 1;
  }
  QApplication app(argc, argv);
  auto session = quorvi::Session::Open(options, argv[0]);
  if (!session) {
    std::fprintf(stderr, "quorvi2: %s\n", session.message().c_str());
    return 1;
  }
  quorvi::gui::MainWindow window(*session.value(), quorvi::gui::DesktopPrompts());
  window.show();
  // During an operation the session's guard acts on a signal at the next
  // port access; between operations this looks for one.
  QTimer signalWatch;
  QObject::connect(&signalWatch, &QTimer::timeout, [&session] { session.value()->StopIfInterrupted(); });
  signalWatch.start(kSignalWatchMs);
  // First activation once the window is up, as the old form did.
  QTimer::singleShot(0, &window, [&window] { window.Activate(); });
  const int code = QApplication::exec();
  (void)session.value()->Finish();
  return code;
}

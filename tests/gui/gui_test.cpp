// SPDX-License-Identifier: GPL-3.0-or-later
// The main window on the offscreen platform, on the simulated board, driven
// by the scripts in tests/data/gui. A script's "> " lines are commands, its
// ">> " lines commands for the dialog the command before opened; every other
// line is what the window asked and showed, which a run must give again.
// scripts/screenshots runs screenshots.txt to draw the pictures in docs/.
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QScrollBar>
#include <QStatusBar>
#include <QTest>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <memory>

#include "app/session.h"
#include "app/version.h"
#include "gui/main_window.h"
#include "gui/socket_picture.h"
#include "support/golden.h"
#include "support/run_command.h"
#include "support/temp_dir.h"

using namespace quorvi;
using namespace quorvi::gui;

namespace {

const std::string kExamples = QUORVI_EXAMPLES_DIR;

std::string Pop(std::deque<std::string>& queue) {
  std::string front = queue.empty() ? "" : queue.front();
  if (!queue.empty()) queue.pop_front();
  return front;
}

// The named objects under `root`, by name.
template <typename T>
std::vector<T*> Named(QObject* root) {
  std::vector<T*> found;
  for (T* object : root->findChildren<T*>()) {
    if (!object->objectName().isEmpty() && !object->objectName().startsWith("qt_")) found.push_back(object);
  }
  std::sort(found.begin(), found.end(), [](T* a, T* b) { return a->objectName() < b->objectName(); });
  return found;
}

template <typename T>
std::string NamesWhere(QObject* root, const std::function<bool(T*)>& test) {
  std::string names;
  for (T* object : Named<T>(root)) names += test(object) ? " " + object->objectName().toStdString() : "";
  return names;
}

std::string Text(QObject* object) {
  if (auto* label = qobject_cast<QLabel*>(object)) return label->text().toStdString();
  if (auto* button = qobject_cast<QAbstractButton*>(object)) return button->text().toStdString();
  if (auto* edit = qobject_cast<QLineEdit*>(object)) return edit->text().toStdString();
  if (auto* action = qobject_cast<QAction*>(object)) return action->text().toStdString();
  if (auto* bar = qobject_cast<QStatusBar*>(object)) return bar->currentMessage().toStdString();
  return "";
}

std::string Hex(const char* format, auto... values) {
  char text[128];
  std::snprintf(text, sizeof text, format, values...);
  return text;
}

/// Runs one script on a fresh home folder, every prompt answered from the
/// script's queues and logged.
class Runner {
 public:
  explicit Runner(const std::string& script) : lines_(test::SplitLines(script)) {}

  /// The script as this run makes it.
  std::string Run() {
    while (next_ < lines_.size()) {
      if (!Step(false) && next_ < lines_.size()) Note("(not in a dialog) " + lines_[next_++]);
    }
    window_.reset();
    return out_;
  }

 private:
  // Copies comments and expected lines up to the next command; runs it when it
  // is for the dialog level asked. False when the next command is for another.
  bool Step(bool inDialog) {
    while (next_ < lines_.size() && !lines_[next_].starts_with("> ") && !lines_[next_].starts_with(">> ")) {
      const std::string& line = lines_[next_++];
      if (line.empty() || line.starts_with('#')) out_ += line + "\n";
    }
    if (next_ >= lines_.size() || lines_[next_].starts_with(">> ") != inDialog) return false;
    const std::string& line = lines_[next_++];
    out_ += line + "\n";
    std::vector<std::string> words = test::Words(line.substr(line.find(' ') + 1));
    for (std::string& word : words) word = test::Replaced(word, "$HOME", home_->path().string());
    Do(words);
    return true;
  }

  void Start(const std::string& legacyLine, const std::string& port) {
    window_.reset();
    SessionOptions options;
    options.home = home_->path().string();
    options.port = port;
    options.virtualClock = true;
    options.legacyLine = legacyLine;
    Result<std::unique_ptr<Session>> opened = Session::Open(options, QUORVI_TEST_ARGV0);
    if (!opened) qFatal("session: %s", opened.message().c_str());
    session_ = std::move(opened).value();
    Prompts prompts;
    prompts.message = [this](const UserMessage& m) {
      Note("message \"" + m.title + "\": " + m.text + (m.detail.empty() ? "" : " (" + m.detail + ")"));
    };
    prompts.yesNo = [this](const UserMessage& q) { return Note("question \"" + q.title + "\": " + q.text), true; };
    prompts.input = [this](const std::string& prompt) -> std::optional<std::string> {
      Note("input " + prompt + ": " + (inputs_.empty() ? "(cancel)" : inputs_.front()));
      return inputs_.empty() ? std::nullopt : std::optional(Pop(inputs_));
    };
    prompts.file = [this](const FileRequest& request) { return Note("file " + request.filter), Pop(files_); };
    prompts.runDialog = [this](QDialog& dialog) {
      Note("dialog " + dialog.objectName().toStdString() + " \"" + dialog.windowTitle().toStdString() + "\"");
      dialog_ = &dialog;
      while (Step(true)) {
      }
      dialog_ = nullptr;
    };
    prompts.sound = [this](const std::string& path) { Note("sound " + path.substr(path.rfind('/') + 1)); };
    prompts.terminate = [this](int code) { Note("terminate " + std::to_string(code)); };
    window_ = std::make_unique<MainWindow>(*session_, prompts);
    window_->show();
    window_->Activate();
  }

  void Do(const std::vector<std::string>& w) {
    const std::string& command = w.at(0);
    const auto arg = [&w](size_t i) { return i < w.size() ? w[i] : std::string(); };
    if (command == "start") return Start(arg(1) == "port" ? "" : arg(1), arg(1) == "port" ? arg(2) : "sim");
    if (command == "fresh") return home_ = std::make_unique<test::TempDir>(), void();
    if (command == "copy") {
      return std::filesystem::copy_file(kExamples + "/" + arg(1), home_->path() / (w.size() > 2 ? arg(2) : arg(1)),
                                        std::filesystem::copy_options::overwrite_existing),
             void();
    }
    if (command == "input") return inputs_.push_back(arg(1));
    if (command == "file") return files_.push_back(arg(1));
    if (command == "read" || command == "tail") {  // the whole file, or its last line
      const std::string text = home_->Read(arg(1));
      const size_t last = command == "read" || text.size() < 2 ? 0 : text.rfind('\n', text.size() - 2) + 1;
      return Note(arg(1) + ": " + test::Escaped(text.substr(last)));
    }
    if (command == "exists") return Note(arg(1) + (std::filesystem::exists(home_->path() / arg(1)) ? "" : " missing"));
    if (window_ == nullptr) return Note("(no window)");
    if (command == "select") return window_->SelectDeviceNamed(arg(1));
    if (command == "snap") return dialog_ != nullptr && arg(1) != "window" ? SnapDialog() : Snap();
    if (command == "poke") return state().image.programBuffer.at(std::stoul(arg(1))) = std::stoi(arg(2)), void();
    if (command == "clock") {
      const int64_t now = state().clock->Nanoseconds();
      return Note(Hex("clock +%.1f ms", static_cast<double>(now - std::exchange(clockMark_, now)) / 1e6));
    }
    if (command == "key" && arg(1) == "window") return QTest::keyClick(window_.get(), Qt::Key_Return);
    if (command == "resize") return window_->resize(std::stoi(arg(1)), std::stoi(arg(2)));
    if (command == "shot") return Shot(arg(1));
    QObject* object = Find(arg(1));
    if (object == nullptr) return Note("(no " + arg(1) + ")");
    auto* widget = qobject_cast<QWidget*>(object);
    if (command == "click") return qobject_cast<QAbstractButton*>(object)->click();
    if (command == "mouse") {
      return QTest::mouseClick(widget, Qt::LeftButton, arg(2) == "shift" ? Qt::ShiftModifier : Qt::NoModifier);
    }
    if (command == "trigger") return qobject_cast<QAction*>(object)->trigger();
    if (command == "set" || command == "edit") {
      qobject_cast<QLineEdit*>(object)->setText(QString::fromStdString(arg(2)));
      if (command == "edit") emit qobject_cast<QLineEdit*>(object)->editingFinished();
      return;
    }
    if (command == "key") return QTest::keyClick(widget, arg(2) == "return" ? Qt::Key_Return : Qt::Key(arg(2).at(0)));
    if (command == "activate") return emit qobject_cast<QComboBox*>(object)->activated(std::stoi(arg(2)));
    if (command == "scroll") return qobject_cast<QScrollBar*>(object)->setValue(std::stoi(arg(2)));
    if (command == "choose") {
      auto* list = qobject_cast<QListWidget*>(object);
      return list->setCurrentItem(list->findItems(QString::fromStdString(arg(2)), Qt::MatchStartsWith).value(0));
    }
    if (command == "clickat") {  // a click on a character of a listing line
      auto* list = qobject_cast<QListWidget*>(object);
      const int charWidth = list->fontMetrics().horizontalAdvance(QChar('0'));
      const QRect line = list->visualItemRect(list->item(std::stoi(arg(2))));
      return QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                               QPoint(2 + charWidth * std::stoi(arg(3)), line.center().y()));
    }
    if (command == "show") return Show(object);
    if (command == "top") return Note(arg(1) + Hex(" top %d px", widget->y()));
    Note("(unknown command)");
  }

  // The docs' pictures: with QUORVI_SCREENSHOTS set to a folder, the open
  // dialog or the window is saved there as NAME.png.
  void Shot(const std::string& name) {
    const char* folder = std::getenv("QUORVI_SCREENSHOTS");
    if (folder == nullptr) return;
    QWidget* shown = dialog_ != nullptr ? static_cast<QWidget*>(dialog_) : window_.get();
    shown->show();
    for (int i = 0; i < 5; ++i) QApplication::processEvents();
    if (!shown->grab().save(QString::fromStdString(std::string(folder) + "/" + name + ".png"))) {
      Note("(could not write " + name + ".png)");
    }
  }

  // The dialog's widget of that name, else the window's.
  QObject* Find(const std::string& name) {
    QObject* found = dialog_ != nullptr ? dialog_->findChild<QObject*>(QString::fromStdString(name)) : nullptr;
    return found != nullptr ? found : window_->findChild<QObject*>(QString::fromStdString(name));
  }

  void Show(QObject* object) {
    std::string shown = object->objectName().toStdString() + ": " + Text(object);
    if (auto* menu = qobject_cast<QMenu*>(object)) {
      for (QAction* a : menu->actions()) shown += a->isSeparator() ? " -" : " " + a->objectName().toStdString();
    }
    if (auto* list = qobject_cast<QListWidget*>(object)) {
      shown += list->isHidden() ? "hidden" : "shown at " + list->currentItem()->text().toStdString();
    }
    if (auto* box = qobject_cast<QComboBox*>(object)) shown += std::to_string(box->count()) + " choices";
    Note(shown);
  }

  AppState& state() { return session_->state(); }

  // Adds a line to the log, naming the folders that differ from run to run.
  void Note(std::string line) {
    const char* user = std::getenv("HOME");
    for (const auto& [path, name] : {std::pair{home_->path().string(), "$HOME"}, {kExamples, "$EXAMPLES"},
                                     {user != nullptr && std::strlen(user) > 1 ? user : "//", "~"}}) {
      line = test::Replaced(line, path, name);
    }
    out_ += line + "\n";
  }

  // What the window shows now.
  void Snap() {
    const auto* picture = dynamic_cast<SocketPicture*>(Find("Image1"));
    QWidget* window = window_.get();
    Note("device " + Text(Find("panelDevice")) + " (" + state().device.name + "), picture " +
         (picture ? picture->picture() : "(none)") + ", file \"" + Text(Find("lblArq")) + "\"," +
         Text(Find("txtFuses")) + ", status \"" + window_->findChild<QStatusBar*>()->currentMessage().toStdString() +
         "\"" + (window->isMinimized() ? ", minimized" : ""));
    std::string leds = "leds";
    for (QWidget* led : Named<QWidget>(window)) {
      if (led->objectName().startsWith("led")) leds += " " + led->objectName().toStdString() + "=" + Text(led);
    }
    for (QComboBox* box : Named<QComboBox>(window)) {
      leds += " " + box->objectName().toStdString() + "=" + std::to_string(box->currentIndex());
    }
    Note(leds);
    for (const char* name : {"MList1", "MList2"}) {
      auto* list = qobject_cast<QListWidget*>(Find(name));
      if (list->isHidden()) continue;
      Note(std::string(name) + " " + std::to_string(list->count()) + " lines:");
      for (int row = 0; row < std::min(list->count(), 2); ++row) Note("  " + list->item(row)->text().toStdString());
    }
    const MemoryImage& image = state().image;
    const auto& p = image.programBuffer;
    Note(Hex("image %X %X %X %X, config %04X, ids %X %X %X %X, lines %02X", p[0], p[1], p[2], p[3], image.configWord,
             image.idWords[0], image.idWords[1], image.idWords[2], image.idWords[3], state().link.outputShadow()));
    Note("checked" + NamesWhere<QAction>(window, [](QAction* a) { return a->isChecked(); }) +
         NamesWhere<QAbstractButton>(window, [](QAbstractButton* b) { return b->isChecked(); }));
    Note("hidden" + NamesWhere<QWidget>(window, [](QWidget* w) { return w->isHidden() && !w->inherits("QMenu"); }));
    Note("disabled" + NamesWhere<QAction>(window, [](QAction* a) { return !a->isEnabled(); }) +
         NamesWhere<QWidget>(window, [](QWidget* w) { return !w->isEnabled(); }));
    std::string settings = "settings";
    for (const std::string& line : test::SplitLines(home_->Read("quorvi2.ini"))) settings += " | " + line;
    Note(settings);
  }

  // The texts and checked buttons of the open dialog.
  void SnapDialog() {
    std::string texts = dialog_->objectName().toStdString() + ":";
    for (QWidget* widget : Named<QWidget>(dialog_)) {
      if (!Text(widget).empty()) texts += " " + widget->objectName().toStdString() + "=" + Text(widget);
    }
    Note(texts + NamesWhere<QAbstractButton>(dialog_, [](QAbstractButton* b) { return b->isChecked(); }) +
         Hex(", lines %02X", state().link.outputShadow()));
  }

  std::vector<std::string> lines_;
  size_t next_ = 0;
  std::string out_;
  std::unique_ptr<test::TempDir> home_ = std::make_unique<test::TempDir>();
  std::unique_ptr<Session> session_;
  std::unique_ptr<MainWindow> window_;
  QDialog* dialog_ = nullptr;
  std::deque<std::string> inputs_;
  std::deque<std::string> files_;
  int64_t clockMark_ = 0;
};

}  // namespace

class GuiTest : public QObject {
  Q_OBJECT

 private slots:
  void eachScript_data() {
    QTest::addColumn<std::string>("name");
    for (const std::string& name : test::DataFiles("gui", ".txt")) QTest::newRow(name.c_str()) << name;
  }

  void eachScript() {
    QFETCH(std::string, name);
    const std::string mismatch = test::GoldenMismatch("gui/" + name, Runner(test::Golden("gui/" + name)).Run());
    QVERIFY2(mismatch.empty(), mismatch.c_str());
  }

  // The options are read before the window needs a display: run with none.
  void commandLine_data() {
    QTest::addColumn<std::string>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<std::string>("output");  // standard output, then errors; "@NAME" is tests/data/NAME
    const std::string usage =
        "usage: quorvi2 [--port PORT] [--home DIR] [--chip FILE] [--trace FILE [--trace-window START:END]]\n"
        "               [/D:DEVICE] [/F:FILE] [/W] [/Q]\n";
    QTest::newRow("help") << std::string("--help") << 0 << std::string("@quorvi2_help.txt");
    QTest::newRow("-h among legacy options") << std::string("/Q -h") << 0 << std::string("@quorvi2_help.txt");
    QTest::newRow("version") << std::string("--version") << 0 << "quorvi2 " + std::string(kProgramVersion) + "\n";
    QTest::newRow("unknown") << std::string("--bogus /W") << 2 << "quorvi2: Unknown option 'bogus'.\n" + usage;
    QTest::newRow("no display") << std::string("/D:16F84A") << 1
                                << std::string("quorvi2: no display (DISPLAY and WAYLAND_DISPLAY are not set); "
                                               "quorvi2-cli works without one\n");
    QTest::newRow("no value") << std::string("/D:16F84 --port") << 2
                              << "quorvi2: Missing value after '--port'.\n" + usage;
    QTest::newRow("trace window no window") << std::string("--trace t.vcd --trace-window 40") << 2
                                            << "quorvi2: not a trace window: 40 (START:END in milliseconds, such as "
                                               "120:135.5, 250: or :40)\n" + usage;
    QTest::newRow("trace window without a trace") << std::string("--trace-window :40") << 2
                                                  << "quorvi2: --trace-window needs --trace\n" + usage;
  }

  // A signal powers the target down and keeps the chip, whether it comes
  // during a write (the session's guard) or while the window waits.
  void signalEndsTheRunInOrder_data() {
    QTest::addColumn<std::string>("signal");
    QTest::addColumn<std::string>("options");
    QTest::addColumn<int>("exitCode");
    const std::string write = "/D:16F84A /F:" + std::string(QUORVI_EXAMPLES_DIR) + "/eeprom_16f84a.inhx32.hex /W";
    QTest::newRow("INT during a write") << std::string("INT") << write << 130;
    QTest::newRow("TERM while idle") << std::string("TERM") << std::string("/D:16F84A") << 143;
  }

  void signalEndsTheRunInOrder() {
    QFETCH(std::string, signal);
    QFETCH(std::string, options);
    QFETCH(int, exitCode);
    test::TempDir home;
    const std::string folder = home.path().string();
    // A real-clock write of a 16F84A takes seconds.
    const test::CommandOutput run = test::RunCommand(
        "cd '" + folder + "' || exit 1; " + QUORVI_GUI_PATH + " --home . --port sim --chip chip.json --trace t.vcd " +
        options + " 2>stderr & pid=$!; " + test::kAfterTraceStarts + "kill -" + signal + " $pid; wait $pid");
    QCOMPARE(run.exitCode, exitCode);
    const std::string said = home.Read("stderr");
    QVERIFY2(said.find("the target is powered down") != std::string::npos, said.c_str());
    QVERIFY(home.Read("chip.json").find("quorvi-chip-state") != std::string::npos);
    const std::string trace = home.Read("t.vcd");
    QVERIFY(!trace.empty() && trace.back() == '\n');
  }

  void commandLine() {
    QFETCH(std::string, arguments);
    QFETCH(int, exitCode);
    QFETCH(std::string, output);
    const test::CommandOutput run = test::RunCommand("env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM " +
                                                     std::string(QUORVI_GUI_PATH) + " " + arguments + " 2>&1");
    QCOMPARE(run.exitCode, exitCode);
    if (output.starts_with('@')) {
      const std::string mismatch = test::GoldenMismatch(output.substr(1), run.out);
      QVERIFY2(mismatch.empty(), mismatch.c_str());
    } else {
      QCOMPARE(run.out, output);
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

// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/terminal_ui.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>

namespace quorvi::cli {

namespace {

constexpr int kBarWidth = 30;
// Carriage return, the line, then erase what a longer earlier line left.
constexpr const char* kEraseToEnd = "\033[K";

// Saving ID and fuse records adds to the new file and loses nothing.
constexpr const char* kYesByDefault[] = {"Save ID and FUSES informations?"};

}  // namespace

bool DefaultAnswer(const std::string& question) {
  for (const char* yes : kYesByDefault) {
    if (question == yes) return true;
  }
  return false;
}

TerminalUi::TerminalUi(std::optional<bool> forcedAnswer, Verbosity verbosity, std::function<void()> onTerminate)
    : forcedAnswer_(forcedAnswer),
      verbosity_(verbosity),
      onTerminate_(std::move(onTerminate)),
      // A log file gets no bar: redrawn lines are noise there.
      barWanted_(verbosity != Verbosity::kQuiet && isatty(STDERR_FILENO) != 0) {}

void TerminalUi::DrawBar() {
  const int filled = percent_ * kBarWidth / 100;
  std::fprintf(stderr, "\r[%.*s%*s] %3d%% %s%s", filled, "##############################", kBarWidth - filled, "",
               percent_, status_.c_str(), kEraseToEnd);
  std::fflush(stderr);
  barShown_ = true;
}

void TerminalUi::ClearBar() {
  if (!barShown_) return;
  std::fprintf(stderr, "\r%s", kEraseToEnd);
  barShown_ = false;
}

void TerminalUi::ShowProgress(double percent) {
  if (!barWanted_) return;
  const int whole = percent < 0 ? 0 : percent > 100 ? 100 : static_cast<int>(percent + 0.5);
  // Operations start and end with the bar at 0: only movement is drawn.
  if (whole == percent_ || (whole == 0 && !barShown_)) return;
  percent_ = whole;
  DrawBar();
}

void TerminalUi::HideProgress() {
  ClearBar();
  percent_ = -1;
}

void TerminalUi::ShowStatus(const std::string& text) {
  status_ = text;
  if (verbosity_ == Verbosity::kVerbose) {
    ClearBar();
    std::fprintf(stderr, "%s\n", text.c_str());
  }
  if (barShown_) DrawBar();
}

void TerminalUi::HideStatus() { status_.clear(); }

void TerminalUi::SetStatusBar(const std::string& text) {
  if (!text.empty()) Say(text);
}

void TerminalUi::Say(const std::string& text) {
  if (verbosity_ == Verbosity::kQuiet) return;
  ClearBar();
  std::fprintf(stderr, "%s\n", text.c_str());
}

void TerminalUi::Complain(const std::string& text) {
  ClearBar();
  std::fprintf(stderr, "quorvi2-cli: %s\n", text.c_str());
}

void TerminalUi::ShowMessage(const UserMessage& message) {
  ClearBar();
  const std::string title = message.title.empty() ? "Quorvi 2" : message.title;
  std::fprintf(stderr, "%s: %s\n", title.c_str(), message.Line().c_str());
  if (message.icon == MessageIcon::kCritical || message.icon == MessageIcon::kExclamation ||
      title.find("error") != std::string::npos) {
    ++failures_;
  }
}

bool TerminalUi::AskYesNo(const UserMessage& question) {
  ClearBar();
  const std::string title = question.title.empty() ? "Quorvi 2" : question.title;
  if (forcedAnswer_) {
    std::fprintf(stderr, "%s: %s %s\n", title.c_str(), question.text.c_str(), *forcedAnswer_ ? "yes" : "no");
    return *forcedAnswer_;
  }
  const bool fallback = DefaultAnswer(question.text);
  if (isatty(STDIN_FILENO) == 0) {
    std::fprintf(stderr, "%s: %s %s (default; --yes or --no to choose)\n", title.c_str(), question.text.c_str(),
                 fallback ? "yes" : "no");
    return fallback;
  }
  std::fprintf(stderr, "%s: %s [%s] ", title.c_str(), question.text.c_str(), fallback ? "Y/n" : "y/N");
  std::string answer;
  if (!std::getline(std::cin, answer) || answer.empty()) return fallback;
  return answer[0] == 'y' || answer[0] == 'Y';
}

void TerminalUi::PlaySound(const std::string&) {
  if (barWanted_) std::fputc('\a', stderr);
}

void TerminalUi::Terminate(int exitCode, const std::string& reason) {
  if (!reason.empty()) Complain(reason);
  ClearBar();
  if (onTerminate_) onTerminate_();
  std::exit(exitCode);
}

}  // namespace quorvi::cli

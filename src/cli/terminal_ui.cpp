// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/terminal_ui.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>

namespace quorvi::cli {

namespace {

constexpr int kBarWidth = 30;

// Saving ID and fuse records adds to the new file and loses nothing.
constexpr const char* kYesByDefault[] = {"Save ID and FUSES informations?"};

}  // namespace

bool DefaultAnswer(const std::string& question) {
  for (const char* yes : kYesByDefault) {
    if (question == yes) return true;
  }
  return false;
}

TerminalUi::TerminalUi(std::optional<bool> forcedAnswer, std::function<void()> onTerminate)
    : forcedAnswer_(forcedAnswer), onTerminate_(std::move(onTerminate)), tty_(isatty(STDERR_FILENO) != 0) {}

void TerminalUi::ShowProgress(double percent) {
  const int whole = percent < 0 ? 0 : percent > 100 ? 100 : static_cast<int>(percent + 0.5);
  if (tty_) {
    const int filled = whole * kBarWidth / 100;
    std::fprintf(stderr, "\r[%.*s%*s] %3d%% %s", filled, "##############################", kBarWidth - filled, "",
                 whole, status_.c_str());
    std::fflush(stderr);
    barShown_ = true;
    lastPercent_ = whole;
  } else if (whole > lastPercent_ && (whole == 100 || whole / 10 != lastPercent_ / 10)) {
    // Plain lines only move forward: the bar's reset to 0 at the end says nothing.
    std::fprintf(stderr, "%d%%\n", whole);
    lastPercent_ = whole;
  }
}

void TerminalUi::EndBarLine() {
  if (barShown_) std::fputc('\n', stderr);
  barShown_ = false;
}

void TerminalUi::HideProgress() {
  EndBarLine();
  lastPercent_ = -1;
}

void TerminalUi::ShowStatus(const std::string& text) {
  status_ = text;
  if (!tty_) std::fprintf(stderr, "%s\n", text.c_str());
}

void TerminalUi::HideStatus() { status_.clear(); }

void TerminalUi::SetStatusBar(const std::string& text) {
  if (text.empty()) return;
  EndBarLine();
  std::fprintf(stderr, "%s\n", text.c_str());
}

void TerminalUi::ShowMessage(const UserMessage& message) {
  EndBarLine();
  const std::string title = message.title.empty() ? "Quorvi 2" : message.title;
  const std::string detail = message.detail.empty() ? "" : " (" + message.detail + ")";
  std::fprintf(stderr, "%s: %s%s\n", title.c_str(), message.text.c_str(), detail.c_str());
  if (message.icon == MessageIcon::kCritical || message.icon == MessageIcon::kExclamation ||
      title.find("error") != std::string::npos) {
    ++failures_;
    lastFailure_ = message.text;
  }
}

bool TerminalUi::AskYesNo(const UserMessage& question) {
  EndBarLine();
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
  if (tty_) std::fputc('\a', stderr);
}

void TerminalUi::Terminate(int exitCode) {
  EndBarLine();
  if (onTerminate_) onTerminate_();
  std::exit(exitCode);
}

}  // namespace quorvi::cli

// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "app/ui_host.h"

namespace quorvi::test {

/// A front end that keeps everything it is asked to show and answers
/// questions from a script (No once the script is used up).
class RecordingUi final : public UiHost {
 public:
  void ShowProgress(double percent) override { progress.push_back(percent); progressVisible = true; }
  void HideProgress() override { progressVisible = false; }
  void ShowStatus(const std::string& text) override { statusTexts.push_back(text); statusVisible = true; }
  void HideStatus() override { statusVisible = false; }
  void SetStatusBar(const std::string& text) override { statusBar = text; }
  void ShowMessage(const UserMessage& message) override { messages.push_back(message); }
  bool AskYesNo(const UserMessage& question) override {
    questions.push_back(question);
    const bool answer = !answers.empty() && answers.front();
    if (!answers.empty()) answers.pop_front();
    return answer;
  }
  void PumpEvents() override { ++pumps; }
  void PlaySound(const std::string& path) override { sounds.push_back(path); }
  void Terminate(int exitCode, const std::string&) override { terminated.push_back(exitCode); }

  std::vector<double> progress;
  bool progressVisible = false;
  std::vector<std::string> statusTexts;
  bool statusVisible = false;
  std::string statusBar;
  std::vector<UserMessage> messages;
  std::vector<UserMessage> questions;
  std::deque<bool> answers;
  int pumps = 0;
  std::vector<std::string> sounds;
  std::vector<int> terminated;
};

}  // namespace quorvi::test

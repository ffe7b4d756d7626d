// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/recording_ui.h"

namespace quorvi::test {

void RecordingUi::ShowProgress(double percent) {
  progress.push_back(percent);
  progressVisible = true;
}

void RecordingUi::ShowStatus(const std::string& text) {
  statusTexts.push_back(text);
  status = text;
  statusVisible = true;
}

void RecordingUi::HideStatus() {
  status.clear();
  statusVisible = false;
}

bool RecordingUi::AskYesNo(const UserMessage& question) {
  questions.push_back(question);
  if (answers.empty()) return false;
  const bool answer = answers.front();
  answers.pop_front();
  return answer;
}

}  // namespace quorvi::test

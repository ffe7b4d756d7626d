// SPDX-License-Identifier: GPL-3.0-or-later
#include "gui/prompts.h"

#include <QApplication>
#include <QDialog>
#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <cstdlib>

#ifdef QUORVI_HAVE_MULTIMEDIA
#include <QSoundEffect>
#include <QUrl>
#endif

#include <filesystem>

namespace quorvi::gui {

namespace {

QMessageBox::Icon BoxIcon(MessageIcon icon) {
  switch (icon) {
    case MessageIcon::kInformation: return QMessageBox::Information;
    case MessageIcon::kExclamation: return QMessageBox::Warning;
    case MessageIcon::kCritical: return QMessageBox::Critical;
    case MessageIcon::kQuestion: return QMessageBox::Question;
    case MessageIcon::kNone: break;
  }
  return QMessageBox::NoIcon;
}

QWidget* ActiveWindow() { return QApplication::activeWindow(); }

}  // namespace

std::string QtFilter(const std::string& filter) {
  // "Name|*.EXT|Name|*.EXT" becomes "Name (*.EXT *.ext);;Name (...)".
  std::string out;
  size_t start = 0;
  bool name = true;
  std::string pending;
  while (start <= filter.size()) {
    size_t bar = filter.find('|', start);
    if (bar == std::string::npos) bar = filter.size();
    const std::string part = filter.substr(start, bar - start);
    if (name) {
      pending = part;
    } else {
      std::string lower = part;
      for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
      if (!out.empty()) out += ";;";
      out += pending + " (" + part + " " + lower + ")";
    }
    name = !name;
    start = bar + 1;
  }
  return out;
}

Prompts DesktopPrompts() {
  Prompts prompts;
  prompts.message = [](const UserMessage& message) {
    QMessageBox box(BoxIcon(message.icon), QString::fromStdString(message.title),
                    QString::fromStdString(message.text), QMessageBox::Ok, ActiveWindow());
    box.setInformativeText(QString::fromStdString(message.detail));
    box.exec();
  };
  prompts.yesNo = [](const UserMessage& question) {
    QMessageBox box(BoxIcon(question.icon), QString::fromStdString(question.title),
                    QString::fromStdString(question.text), QMessageBox::Yes | QMessageBox::No, ActiveWindow());
    box.setInformativeText(QString::fromStdString(question.detail));
    return box.exec() == QMessageBox::Yes;
  };
  prompts.input = [](const std::string& prompt) -> std::optional<std::string> {
    bool ok = false;
    const QString text =
        QInputDialog::getText(ActiveWindow(), QStringLiteral("Quorvi 2"), QString::fromStdString(prompt),
                              QLineEdit::Normal, QString(), &ok);
    if (!ok) return std::nullopt;
    return text.toStdString();
  };
  prompts.file = [](const FileRequest& request) {
    const QString caption = QString::fromStdString(request.caption);
    const QString folder = QString::fromStdString(request.folder);
    const QString filter = QString::fromStdString(QtFilter(request.filter));
    const QString chosen = request.save ? QFileDialog::getSaveFileName(ActiveWindow(), caption, folder, filter)
                                        : QFileDialog::getOpenFileName(ActiveWindow(), caption, folder, filter);
    return chosen.toStdString();
  };
  prompts.runDialog = [](QDialog& dialog) { dialog.exec(); };
  prompts.sound = [](const std::string& path) {
    std::error_code ec;
    if (!std::filesystem::exists(path, ec)) return;  // no sound file is no error
#ifdef QUORVI_HAVE_MULTIMEDIA
    // Owned by the application object; it goes once it has played or failed.
    auto* effect = new QSoundEffect(QCoreApplication::instance());
    QObject::connect(effect, &QSoundEffect::statusChanged, effect, [effect] {
      if (effect->status() == QSoundEffect::Error) effect->deleteLater();
    });
    QObject::connect(effect, &QSoundEffect::playingChanged, effect, [effect] {
      if (!effect->isPlaying()) effect->deleteLater();
    });
    effect->setSource(QUrl::fromLocalFile(QString::fromStdString(path)));
    effect->play();
#endif
  };
  prompts.terminate = [](int exitCode) { std::exit(exitCode); };
  return prompts;
}

}  // namespace quorvi::gui

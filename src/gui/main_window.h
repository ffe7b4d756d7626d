// SPDX-License-Identifier: GPL-3.0-or-later
// The main window: it shows what the core describes and calls the core's
// commands. Widgets carry the program's control names as object names.
#pragma once

#include <QMainWindow>
#include <functional>
#include <map>
#include <string>

#include "app/ui_host.h"
#include "device/selection.h"
#include "image/image_reader.h"
#include "gui/prompts.h"
#include "app/session.h"

class QAction;
class QCheckBox;
class QComboBox;
class QFrame;
class QLabel;
class QLineEdit;
class QListWidget;
class QMenu;
class QProgressBar;
class QPushButton;
class QRadioButton;
class QStatusBar;
class QWidget;

namespace quorvi {
struct OpResult;
}

namespace quorvi::gui {

class SocketPicture;

/// Form units (twips) to pixels for the fuse frames' running position.
inline constexpr int kTwipsPerPixel = 12;

class MainWindow final : public QMainWindow, public UiHost {
 public:
  MainWindow(Session& session, Prompts prompts);

  /// First activation: the port report, the device list, the remembered
  /// device, then the legacy options. Runs once.
  void Activate();
  /// Selects `name` as the panel's second click does, from the catalogue as it is now.
  void SelectDeviceNamed(const std::string& name);
  bool busy() const { return busy_; }

  // UiHost
  void ShowProgress(double percent) override;
  void HideProgress() override;
  void ShowStatus(const std::string& text) override;
  void HideStatus() override;
  void SetStatusBar(const std::string& text) override;
  void ShowMessage(const UserMessage& message) override;
  bool AskYesNo(const UserMessage& question) override;
  void PumpEvents() override;
  void PlaySound(const std::string& path) override;
  void Terminate(int exitCode, const std::string& reason) override;

 protected:
  void keyPressEvent(class QKeyEvent* event) override;
  void closeEvent(class QCloseEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void SelectFrom(const Result<CatalogueText>& catalogue, const std::string& name);
  void BuildMenus();
  void BuildCommands(QWidget* column);
  QWidget* BuildDevicePanel();
  QWidget* BuildFuseArea();
  QFrame* AddFuseFrame(QWidget* area, const FuseFrame& fuseFrame);
  QWidget* BuildOptions();
  /// Runs a command unless an operation is under way.
  void Command(const std::function<void()>& body);
  /// A device operation, then what it asks the window to redraw.
  void RunOperation(const std::function<OpResult()>& operation);
  /// Every command that drives the board asks this first: false, after
  /// saying why, when no port is open.
  bool PortReady();

  void ApplySelection(const SelectionView& view);
  void ShowConfig(const ConfigDisplay& config);
  void RefreshListings();
  void RefreshChecks();
  void RefreshPortMenus();
  void RefreshVddPanels();
  void RefreshSerialIndicator(uint32_t colour);

  // Commands
  void panelDeviceClick();
  void mnuOpenClick();
  void mnuSaveClick();
  void mnuLoadCalClick();
  void mnuSaveCalClick();
  void cmdBuffClick();
  void cmdHex16to8Click();
  void cmdStatClick();
  void mnuSQTPClick();
  void mnuLegacyFilesClick();
  void panelVddClick(bool maximum);
  void mnuModeClick(const std::string& mode);
  void mnuPortClick(PortEntry entry);
  void mnuchangeaddClick();
  void FuseButtonClicked(const std::string& button);
  void cmbOSCChosen(int index);
  void IdEditingFinished(int box);
  void ListingClicked(QListWidget* list, int x, int y);
  void OpenAdjustDialog();
  void OpenSerialDialog();
  void ShowHelp();
  void ShowAbout();
  void ReportLoad(const LoadReport& report);

  Session& session_;
  /// The simulated board's problems already reported.
  size_t problemsShown_ = 0;
  AppState& state_;
  Prompts prompts_;
  bool activated_ = false;
  bool busy_ = false;
  bool showingCycles_ = false;
  bool applying_ = false;
  /// The voltage dialog's delay (`hsDelay`): kept for the run, read by nothing.
  int delaySetting_ = 0;  // the window sets controls; their signals are not user input

  std::map<std::string, QWidget*> named_;
  QMenu* mnuConfig_ = nullptr;
  QAction* mnuLoadCal_ = nullptr;
  QAction* mnuSaveCal_ = nullptr;
  QAction* mnuProt_ = nullptr;
  QAction* mnuProd_ = nullptr;
  QAction* mnuLpt1_ = nullptr;
  QAction* mnuLpt2_ = nullptr;
  QAction* mnuLpt_ = nullptr;
  QAction* mnuSQTP_ = nullptr;
  QAction* mnuLegacyFiles_ = nullptr;
  QPushButton* panelDevice_ = nullptr;
  QListWidget* MList3_ = nullptr;
  QListWidget* MList1_ = nullptr;
  QListWidget* MList2_ = nullptr;
  QLabel* txtFuses_ = nullptr;
  QLabel* txtCal_ = nullptr;
  QComboBox* cmbOSC_ = nullptr;
  QComboBox* cmbWRT_ = nullptr;
  QLineEdit* txtID_[4] = {};
  QProgressBar* Barra_ = nullptr;
  QLabel* txtStatus_ = nullptr;
  QStatusBar* Statusbar_ = nullptr;
  QLabel* lblArq_ = nullptr;
  QLabel* lblPort_ = nullptr;
  QPushButton* ledSQTP_ = nullptr;
  QPushButton* panelMin_ = nullptr;
  QPushButton* panelMax_ = nullptr;
  QLabel* ledMin_ = nullptr;
  QLabel* ledMax_ = nullptr;
  QCheckBox* chkTurbo_ = nullptr;
  QCheckBox* chkErase_ = nullptr;
  QCheckBox* chkTestBlank_ = nullptr;
  QRadioButton* opEEdata_ = nullptr;
  QLabel* frame18_ = nullptr;
  SocketPicture* Image1_ = nullptr;
};

}  // namespace quorvi::gui

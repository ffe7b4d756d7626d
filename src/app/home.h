// SPDX-License-Identifier: GPL-3.0-or-later
// Where "the program's folder" is: the settings, the catalogue, the error
// log, the completion sound and the help pages.
#pragma once

#include <optional>
#include <string>

namespace quorvi {

struct AppPaths {
  /// Where the program writes: settings, error log.
  std::string home;
  /// Where it reads what it ships: catalogue, sound, help.
  std::string data;

  std::string Settings() const;
  std::string Catalogue() const;
  std::string ErrorLog() const;
  std::string Sound() const;
  std::string Help() const;
};

/// What the home folder is chosen from.
struct HomeSources {
  std::optional<std::string> option;       // --home DIR
  std::optional<std::string> environment;  // QUORVI_HOME
  std::string executableFolder;
  std::optional<std::string> xdgConfigHome;  // XDG_CONFIG_HOME
  std::optional<std::string> userHome;       // HOME
  /// The installed data folder; a relative one is taken from the executable's
  /// folder, so an install works under whatever prefix it was put.
  std::string installedData;
};

/// `--home`, else QUORVI_HOME, else the executable's folder when the
/// catalogue is there (a build tree or portable install), else the XDG
/// configuration folder for what is written and the installed data folder
/// for what is only read. A chosen home without its own catalogue reads the
/// shipped files from beside the program or from the installed folder.
AppPaths ResolveAppPaths(const HomeSources& sources);

/// The sources of this process.
HomeSources ProcessHomeSources(const char* argv0, std::optional<std::string> option);

}  // namespace quorvi

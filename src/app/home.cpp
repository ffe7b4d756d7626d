// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/home.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "device/catalogue.h"

#ifndef QUORVI_INSTALLED_DATA_DIR
#define QUORVI_INSTALLED_DATA_DIR "../share/quorvi"
#endif

namespace quorvi {

namespace fs = std::filesystem;

std::string AppPaths::Settings() const { return (fs::path(home) / "quorvi2.ini").string(); }
std::string AppPaths::Catalogue() const { return (fs::path(data) / kCatalogueFileName).string(); }
std::string AppPaths::ErrorLog() const { return (fs::path(home) / "quorvi2.err").string(); }
std::string AppPaths::Sound() const { return (fs::path(data) / "ok.wav").string(); }
std::string AppPaths::Help() const { return (fs::path(data) / "help").string(); }

AppPaths ResolveAppPaths(const HomeSources& sources) {
  std::error_code ec;
  const auto hasCatalogue = [&ec](const std::string& folder) {
    return fs::exists(fs::path(folder) / kCatalogueFileName, ec);
  };
  const fs::path installedData(sources.installedData);
  const std::string installed = installedData.is_relative()
                                    ? (fs::path(sources.executableFolder) / installedData).lexically_normal().string()
                                    : sources.installedData;
  // What ships is read from the chosen home when it has its own catalogue,
  // else from beside the program, else from where it was installed.
  const std::string shipped = hasCatalogue(sources.executableFolder) ? sources.executableFolder : installed;
  for (const auto& chosen : {sources.option, sources.environment}) {
    if (chosen && !chosen->empty()) return {*chosen, hasCatalogue(*chosen) ? *chosen : shipped};
  }
  if (hasCatalogue(sources.executableFolder)) return {sources.executableFolder, sources.executableFolder};
  std::string config;
  if (sources.xdgConfigHome && !sources.xdgConfigHome->empty()) {
    config = (fs::path(*sources.xdgConfigHome) / "quorvi").string();
  } else {
    config = (fs::path(sources.userHome.value_or(".")) / ".config" / "quorvi").string();
  }
  return {config, installed};
}

HomeSources ProcessHomeSources(const char* argv0, std::optional<std::string> option) {
  auto env = [](const char* name) -> std::optional<std::string> {
    const char* value = std::getenv(name);
    return value ? std::optional<std::string>(value) : std::nullopt;
  };
  HomeSources sources;
  sources.option = std::move(option);
  sources.environment = env("QUORVI_HOME");
  std::error_code ec;
  fs::path exe = fs::read_symlink("/proc/self/exe", ec);
  if (ec) exe = fs::absolute(argv0 ? argv0 : ".", ec);
  sources.executableFolder = exe.parent_path().string();
  sources.xdgConfigHome = env("XDG_CONFIG_HOME");
  sources.userHome = env("HOME");
  sources.installedData = QUORVI_INSTALLED_DATA_DIR;
  return sources;
}

}  // namespace quorvi

// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/app_state.h"

namespace quorvi {

AppState::AppState(AppPaths appPaths, std::unique_ptr<Clock> ownClock, std::unique_ptr<PortDriver> driver)
    : paths(std::move(appPaths)), clock(std::move(ownClock)), link(std::move(driver), *clock) {}

LoadOptions ImageLoadOptions(const AppState& state) {
  LoadOptions options;
  options.quiet = state.quiet();
  options.format = state.fileFormat();
  return options;
}

}  // namespace quorvi

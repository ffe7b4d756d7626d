// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <time.h>

#include <cstdint>

namespace quorvi {

/// CPU time this thread has used, to set against the wall time it took.
inline int64_t ThreadCpuNs() {
  timespec t{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return int64_t{t.tv_sec} * 1'000'000'000 + t.tv_nsec;
}

/// The monotonic clock the waits are timed on.
inline int64_t MonotonicNs() {
  timespec t{};
  clock_gettime(CLOCK_MONOTONIC, &t);
  return int64_t{t.tv_sec} * 1'000'000'000 + t.tv_nsec;
}

}  // namespace quorvi

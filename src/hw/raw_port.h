// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <memory>
#include <optional>
#include <string>

#include "hw/port_driver.h"
#include "util/result.h"

namespace quorvi {

/// The system calls the raw backend needs; tests replace them.
class PrivilegeOps {
 public:
  virtual ~PrivilegeOps() = default;
  /// ioperm(2); 0 on success, else an errno value.
  virtual int IoPerm(unsigned long from, unsigned long count, bool on) = 0;
  virtual uid_t EffectiveUid() = 0;
  virtual uid_t RealUid() = 0;
  virtual gid_t RealGid() = 0;
  virtual std::optional<std::string> Env(const char* name) = 0;
  /// Sets supplementary groups for `user` (or none), then gid, then uid; 0 or an errno value.
  virtual int DropTo(uid_t uid, gid_t gid, const std::optional<std::string>& user) = 0;
};

/// The real system calls.
PrivilegeOps& SystemPrivileges();

/// Direct port I/O on base..base+2 (x86 only). Needs root; once the ports are
/// granted, gives root up: to the invoking user under sudo, or to the real
/// user of a set-user-ID program.
Result<std::unique_ptr<PortDriver>> OpenRawPort(long base, PrivilegeOps& ops = SystemPrivileges());

}  // namespace quorvi

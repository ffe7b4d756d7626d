// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/raw_port.h"

#include <grp.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>

#include "hw/port_address.h"

#if defined(__x86_64__) || defined(__i386__)
#include <sys/io.h>
#define QUORVI_HAVE_PORT_IO 1
#else
#define QUORVI_HAVE_PORT_IO 0
#endif

namespace quorvi {

namespace {

// Data, status and control registers; nothing more is asked for.
constexpr unsigned long kPortSpan = 3;

class SystemPrivilegeOps final : public PrivilegeOps {
 public:
  int IoPerm(unsigned long from, unsigned long count, bool on) override {
#if QUORVI_HAVE_PORT_IO
    return ioperm(from, count, on ? 1 : 0) == 0 ? 0 : errno;
#else
    (void)from, (void)count, (void)on;
    return ENOSYS;
#endif
  }
  uid_t EffectiveUid() override { return geteuid(); }
  uid_t RealUid() override { return getuid(); }
  gid_t RealGid() override { return getgid(); }
  std::optional<std::string> Env(const char* name) override {
    const char* value = std::getenv(name);
    return value ? std::optional<std::string>(value) : std::nullopt;
  }
  int DropTo(uid_t uid, gid_t gid, const std::optional<std::string>& user) override {
    const int groups = user ? initgroups(user->c_str(), gid) : setgroups(0, nullptr);
    if (groups != 0 || setgid(gid) != 0 || setuid(uid) != 0) return errno;
    // Make sure root cannot be taken back.
    if (setuid(0) == 0) return EPERM;
    return 0;
  }
};

#if QUORVI_HAVE_PORT_IO
class RawPort final : public PortDriver {
 public:
  RawPort(unsigned short base, PrivilegeOps& ops) : base_(base), ops_(ops) {}
  RawPort(const RawPort&) = delete;
  RawPort& operator=(const RawPort&) = delete;
  ~RawPort() override { ops_.IoPerm(base_, kPortSpan, false); }

  void WriteData(uint8_t value) override { outb(value, base_); }
  uint8_t ReadStatus() override { return inb(static_cast<unsigned short>(base_ + 1)); }
  std::string Describe() const override { return "port " + FormatPortAddress(base_) + " (raw I/O)"; }

 private:
  unsigned short base_;
  PrivilegeOps& ops_;
};
#endif

std::optional<unsigned> ParseId(const std::optional<std::string>& text) {
  if (!text) return std::nullopt;
  unsigned value = 0;
  const char* end = text->data() + text->size();
  auto [ptr, ec] = std::from_chars(text->data(), end, value);
  if (ec != std::errc() || ptr != end) return std::nullopt;
  return value;
}

// Whom to become once the ports are ours: the real user of a set-user-ID
// program, else the user who ran sudo, else nobody (a plain root login).
Status DropRoot(PrivilegeOps& ops) {
  uid_t uid = ops.RealUid();
  gid_t gid = ops.RealGid();
  std::optional<std::string> user;
  if (uid == 0) {
    const auto sudoUid = ParseId(ops.Env("SUDO_UID"));
    const auto sudoGid = ParseId(ops.Env("SUDO_GID"));
    if (!sudoUid || !sudoGid || *sudoUid == 0) return Status::Ok();
    uid = *sudoUid;
    gid = *sudoGid;
    user = ops.Env("SUDO_USER");
  }
  if (const int error = ops.DropTo(uid, gid, user); error != 0) {
    return Status::Fail(std::string("Could not give up root after opening the port: ") + std::strerror(error));
  }
  return Status::Ok();
}

}  // namespace

PrivilegeOps& SystemPrivileges() {
  static SystemPrivilegeOps ops;  // stateless
  return ops;
}

Result<std::unique_ptr<PortDriver>> OpenRawPort(long base, PrivilegeOps& ops) {
  if (Status valid = ValidatePortAddress(base); !valid) return valid;
#if QUORVI_HAVE_PORT_IO
  const std::string where = FormatPortAddress(base);
  if (ops.EffectiveUid() != 0) {
    return Status::Fail("Raw port I/O at " + where +
                        " needs root: run as root or with sudo, or use the ppdev driver (lpt1, lpt2 or /dev/parportN)");
  }
  const auto first = static_cast<unsigned long>(base);
  if (const int error = ops.IoPerm(first, kPortSpan, true); error != 0) {
    return Status::Fail("The system refused raw access to ports " + where + ".." + FormatPortAddress(base + 2) +
                        ": " + std::strerror(error));
  }
  if (Status dropped = DropRoot(ops); !dropped) {
    ops.IoPerm(first, kPortSpan, false);
    return dropped;
  }
  return std::unique_ptr<PortDriver>(std::make_unique<RawPort>(static_cast<unsigned short>(base), ops));
#else
  (void)ops;
  return Status::Fail("Raw port I/O exists only on x86 PCs; use the ppdev driver (lpt1, lpt2 or /dev/parportN)");
#endif
}

}  // namespace quorvi

// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/raw_port.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace quorvi {
namespace {

// What a system answers.
struct System {
  uid_t euid = 0, uid = 0;
  gid_t gid = 0;
  const char* sudoUid = nullptr;  // the environment sudo leaves
  const char* sudoGid = nullptr;
  const char* sudoUser = nullptr;
  int iopermError = 0, dropError = 0;
};

// A system that answers as told and logs what it was asked.
class FakePrivileges final : public PrivilegeOps {
 public:
  explicit FakePrivileges(System answers = {}) : s(answers) {}
  int IoPerm(unsigned long from, unsigned long count, bool on) override {
    log += "ioperm " + std::to_string(from) + "+" + std::to_string(count) + (on ? " on; " : " off; ");
    return on ? s.iopermError : 0;
  }
  uid_t EffectiveUid() override { return s.euid; }
  uid_t RealUid() override { return s.uid; }
  gid_t RealGid() override { return s.gid; }
  std::optional<std::string> Env(const char* name) override {
    const std::string key = name;
    const char* value = key == "SUDO_UID"    ? s.sudoUid
                        : key == "SUDO_GID"  ? s.sudoGid
                        : key == "SUDO_USER" ? s.sudoUser
                                             : nullptr;
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
  }
  int DropTo(uid_t toUid, gid_t toGid, const std::optional<std::string>& user) override {
    log += "drop to " + std::to_string(toUid) + ":" + std::to_string(toGid) + " " + user.value_or("-") + "; ";
    return s.dropError;
  }

  System s;
  std::string log;
};

#if defined(__x86_64__) || defined(__i386__)

// What each start shows and asks of the system, until the port is closed again.
TEST(OpenRawPort, GetsThePortsAsRootThenGivesRootUp) {
  const std::string denied = std::strerror(EPERM);
  const std::string opened = "port 0x378 (raw I/O)";
  const std::string both = "ioperm 888+3 on; ioperm 888+3 off; ";  // 0x378
  struct Case {
    const char* what;
    System sys;
    std::string shown;  // Describe() of the port, or the message
    std::string log;
    long base = 0x378;
  };
  for (const Case& c : {
           Case{"a user", {.euid = 1000, .uid = 1000},
                "Raw port I/O at 0x378 needs root: run as root or with sudo, or use the ppdev driver (lpt1, lpt2 or "
                "/dev/parportN)",
                ""},
           Case{"sudo", {.sudoUid = "1000", .sudoGid = "1001", .sudoUser = "alice"}, "port 0x278 (raw I/O)",
                "ioperm 632+3 on; drop to 1000:1001 alice; ioperm 632+3 off; ", 0x278},
           Case{"set-user-ID", {.uid = 1234, .gid = 99}, opened,
                "ioperm 888+3 on; drop to 1234:99 -; ioperm 888+3 off; "},
           Case{"plain root login", {.sudoUid = "not a number", .sudoGid = "5"}, opened, both},
           Case{"sudo by root", {.sudoUid = "0", .sudoGid = "0"}, opened, both},
           Case{"ports refused", {.iopermError = EPERM},
                "The system refused raw access to ports 0x378..0x37A: " + denied, "ioperm 888+3 on; "},
           Case{"root kept", {.sudoUid = "1000", .sudoGid = "1000", .dropError = EPERM},
                "Could not give up root after opening the port: " + denied,
                "ioperm 888+3 on; drop to 1000:1000 -; ioperm 888+3 off; "},
       }) {
    FakePrivileges sys(c.sys);
    {
      const auto port = OpenRawPort(c.base, sys);
      EXPECT_EQ(port.ok() ? port.value()->Describe() : port.message(), c.shown) << c.what;
    }
    EXPECT_EQ(sys.log, c.log) << c.what;
  }
}

#endif

TEST(OpenRawPort, RefusesAddressesThePortLayerCannotReach) {
  FakePrivileges sys;
  for (const auto& [base, expected] :
       {std::pair{0L, "Port address 0x0 is out of range: ports go from 0x1 to 0x7FFF"},
        {-5L, "Port address -0x5 is out of range: ports go from 0x1 to 0x7FFF"},
        {0x7FFFL, "Port address 0x7FFF is out of range: its status register at 0x8000 is beyond 0x7FFF"}}) {
    const auto port = OpenRawPort(base, sys);
    EXPECT_EQ(port.ok() ? "opened" : port.message(), expected);
  }
  EXPECT_EQ(sys.log, "");
}

}  // namespace
}  // namespace quorvi

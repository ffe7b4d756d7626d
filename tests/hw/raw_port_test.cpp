// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/raw_port.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

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

// A system that says what it was asked and answers as told.
class FakePrivileges final : public PrivilegeOps {
 public:
  explicit FakePrivileges(System answers = {}) : s(std::move(answers)) {}
  int IoPerm(unsigned long from, unsigned long count, bool on) override {
    ioperms.push_back({from, count, on});
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
    drops.push_back({toUid, toGid, user});
    return s.dropError;
  }

  struct IoPermCall {
    unsigned long from, count;
    bool on;
    bool operator==(const IoPermCall&) const = default;
  };
  struct DropCall {
    uid_t uid;
    gid_t gid;
    std::optional<std::string> user;
    bool operator==(const DropCall&) const = default;
  };

  System s;
  std::vector<IoPermCall> ioperms;
  std::vector<DropCall> drops;
};

#if defined(__x86_64__) || defined(__i386__)

// The calls each start makes, counted once the port is closed again.
TEST(OpenRawPort, GetsThePortsAsRootThenGivesRootUp) {
  using IoPerms = std::vector<FakePrivileges::IoPermCall>;
  using Drops = std::vector<FakePrivileges::DropCall>;
  const std::string denied = std::strerror(EPERM);
  struct Case {
    const char* what;
    System sys;
    std::string shown;  // Describe() of the port, or the message
    IoPerms ioperms = {};
    Drops drops = {};
    long base = 0x378;
  };
  const IoPerms both{{0x378, 3, true}, {0x378, 3, false}};
  const std::string opened = "port 0x378 (raw I/O)";
  for (const Case& c : {
           Case{"a user", {.euid = 1000, .uid = 1000},
                "Raw port I/O at 0x378 needs root: run as root or with sudo, or use the ppdev driver (lpt1, lpt2 or "
                "/dev/parportN)"},
           Case{"sudo", {.sudoUid = "1000", .sudoGid = "1001", .sudoUser = "alice"},
                "port 0x278 (raw I/O)", {{0x278, 3, true}, {0x278, 3, false}}, {{1000, 1001, "alice"}}, 0x278},
           Case{"set-user-ID", {.uid = 1234, .gid = 99}, opened, both, {{1234, 99, std::nullopt}}},
           Case{"plain root login", {.sudoUid = "not a number", .sudoGid = "5"}, opened, both},
           Case{"sudo by root", {.sudoUid = "0", .sudoGid = "0"}, opened, both},
           Case{"ports refused", {.iopermError = EPERM},
                "The system refused raw access to ports 0x378..0x37A: " + denied, {{0x378, 3, true}}},
           Case{"root kept", {.sudoUid = "1000", .sudoGid = "1000", .dropError = EPERM},
                "Could not give up root after opening the port: " + denied, both, {{1000, 1000, std::nullopt}}},
       }) {
    FakePrivileges sys(c.sys);
    {
      const auto port = OpenRawPort(c.base, sys);
      EXPECT_EQ(port.ok() ? port.value()->Describe() : port.message(), c.shown) << c.what;
    }
    EXPECT_EQ(sys.ioperms, c.ioperms) << c.what;
    EXPECT_EQ(sys.drops, c.drops) << c.what;
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
  EXPECT_TRUE(sys.ioperms.empty());
}

}  // namespace
}  // namespace quorvi

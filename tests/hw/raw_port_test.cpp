// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/raw_port.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <vector>

namespace quorvi {
namespace {

// A system that says what it was asked and answers as told.
class FakePrivileges final : public PrivilegeOps {
 public:
  int IoPerm(unsigned long from, unsigned long count, bool on) override {
    ioperms.push_back({from, count, on});
    return on ? iopermError : 0;
  }
  uid_t EffectiveUid() override { return euid; }
  uid_t RealUid() override { return uid; }
  gid_t RealGid() override { return gid; }
  std::optional<std::string> Env(const char* name) override {
    auto it = env.find(name);
    return it == env.end() ? std::nullopt : std::optional<std::string>(it->second);
  }
  int DropTo(uid_t toUid, gid_t toGid, const std::optional<std::string>& user) override {
    drops.push_back({toUid, toGid, user});
    return dropError;
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

  uid_t euid = 0, uid = 0;
  gid_t gid = 0;
  std::map<std::string, std::string> env;
  int iopermError = 0, dropError = 0;
  std::vector<IoPermCall> ioperms;
  std::vector<DropCall> drops;
};

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

#if defined(__x86_64__) || defined(__i386__)

TEST(OpenRawPort, NeedsRootAndAsksForNothingWithoutIt) {
  FakePrivileges sys;
  sys.euid = sys.uid = 1000;
  auto port = OpenRawPort(0x378, sys);
  ASSERT_FALSE(port.ok());
  EXPECT_TRUE(Contains(port.message(), "needs root")) << port.message();
  EXPECT_TRUE(sys.ioperms.empty());
}

TEST(OpenRawPort, UnderSudoGrantsThreePortsThenBecomesTheUser) {
  FakePrivileges sys;
  sys.env = {{"SUDO_UID", "1000"}, {"SUDO_GID", "1001"}, {"SUDO_USER", "alice"}};
  {
    auto port = OpenRawPort(0x278, sys);
    ASSERT_TRUE(port.ok()) << port.message();
    EXPECT_EQ(port.value()->Describe(), "port 0x278 (raw I/O)");
    EXPECT_EQ(sys.ioperms, (std::vector<FakePrivileges::IoPermCall>{{0x278, 3, true}}));
    EXPECT_EQ(sys.drops, (std::vector<FakePrivileges::DropCall>{{1000, 1001, "alice"}}));
  }
  // Closing gives the ports back.
  EXPECT_EQ(sys.ioperms.back(), (FakePrivileges::IoPermCall{0x278, 3, false}));
}

TEST(OpenRawPort, ASetUserIdProgramReturnsToItsRealUser) {
  FakePrivileges sys;
  sys.uid = 1234;
  sys.gid = 99;
  auto port = OpenRawPort(0x378, sys);
  ASSERT_TRUE(port.ok());
  EXPECT_EQ(sys.drops, (std::vector<FakePrivileges::DropCall>{{1234, 99, std::nullopt}}));
}

TEST(OpenRawPort, APlainRootLoginHasNobodyToBecome) {
  FakePrivileges sys;
  sys.env = {{"SUDO_UID", "not a number"}, {"SUDO_GID", "5"}};
  auto port = OpenRawPort(0x378, sys);
  ASSERT_TRUE(port.ok());
  EXPECT_TRUE(sys.drops.empty());
}

TEST(OpenRawPort, RefusedPortsAreReported) {
  FakePrivileges sys;
  sys.iopermError = EPERM;
  auto port = OpenRawPort(0x378, sys);
  ASSERT_FALSE(port.ok());
  EXPECT_TRUE(Contains(port.message(), "refused raw access to ports 0x378..0x37A")) << port.message();
  EXPECT_TRUE(sys.drops.empty());
}

TEST(OpenRawPort, FailingToGiveUpRootClosesThePortAgain) {
  FakePrivileges sys;
  sys.env = {{"SUDO_UID", "1000"}, {"SUDO_GID", "1000"}};
  sys.dropError = EPERM;
  auto port = OpenRawPort(0x378, sys);
  ASSERT_FALSE(port.ok());
  EXPECT_TRUE(Contains(port.message(), "Could not give up root")) << port.message();
  ASSERT_EQ(sys.ioperms.size(), 2U);
  EXPECT_FALSE(sys.ioperms[1].on);
}

#endif

TEST(OpenRawPort, RefusesAddressesThePortLayerCannotReach) {
  FakePrivileges sys;
  struct Case {
    long base;
    const char* expected;
  };
  for (const Case& c : {Case{0, "Port address 0x0 is out of range: ports go from 0x1 to 0x7FFF"},
                        Case{0x8000, "Port address 0x8000 is out of range"},
                        Case{0x7FFF, "Port address 0x7FFF is out of range: its status register at 0x8000 is beyond "
                                     "0x7FFF"},
                        Case{-5, "Port address -0x5 is out of range"}}) {
    auto port = OpenRawPort(c.base, sys);
    ASSERT_FALSE(port.ok());
    EXPECT_TRUE(Contains(port.message(), c.expected)) << port.message();
  }
  EXPECT_TRUE(sys.ioperms.empty());
}

}  // namespace
}  // namespace quorvi

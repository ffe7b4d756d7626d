// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/raw_port.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <string>

#include "support/golden.h"

namespace quorvi {
namespace {

// A system that answers from `answers` (euid, uid, gid, sudo's variables, the
// errors of ioperm and of giving up root) and logs what it was asked.
class FakePrivileges final : public PrivilegeOps {
 public:
  int IoPerm(unsigned long from, unsigned long count, bool on) override {
    Log("ioperm " + std::to_string(from) + "+" + std::to_string(count) + (on ? " on" : " off"));
    return on ? Number("ioperm") : 0;
  }
  uid_t EffectiveUid() override { return static_cast<uid_t>(Number("euid")); }
  uid_t RealUid() override { return static_cast<uid_t>(Number("uid")); }
  gid_t RealGid() override { return static_cast<gid_t>(Number("gid")); }
  std::optional<std::string> Env(const char* name) override {
    return answers.contains(name) ? std::optional(answers[name]) : std::nullopt;
  }
  int DropTo(uid_t toUid, gid_t toGid, const std::optional<std::string>& user) override {
    Log("drop to " + std::to_string(toUid) + ":" + std::to_string(toGid) + " " + user.value_or("-"));
    return Number("drop");
  }

  std::map<std::string, std::string> answers;
  std::string log;

 private:
  int Number(const std::string& key) {
    return !answers.contains(key) ? 0 : answers[key] == "EPERM" ? EPERM : std::stoi(answers[key]);
  }
  void Log(const std::string& asked) { log += (log.empty() ? "" : "; ") + asked; }
};

#if defined(__x86_64__) || defined(__i386__)

std::string Opened(const std::vector<std::string>& a) {
  FakePrivileges sys;
  for (size_t i = 1; i < a.size(); ++i) sys.answers[a[i].substr(0, a[i].find('='))] = a[i].substr(a[i].find('=') + 1);
  std::string shown;
  {
    const auto port = OpenRawPort(std::stol(a.at(0), nullptr, 16), sys);
    shown = port.ok() ? port.value()->Describe() : port.message();
  }
  const std::string denied = std::strerror(EPERM);
  if (shown.ends_with(denied)) shown.replace(shown.size() - denied.size(), denied.size(), "(EPERM)");
  return shown + " | " + (sys.log.empty() ? "(nothing)" : sys.log);
}

TEST(OpenRawPort, GetsThePortsAsRootThenGivesRootUp) {
  EXPECT_EQ(test::TableMismatches("raw_port.txt", {{"OpenRawPort", Opened}}), "");
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

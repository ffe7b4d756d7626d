// SPDX-License-Identifier: GPL-3.0-or-later
// The real parallel ports: through the kernel's ppdev driver, and raw port
// I/O as root.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>

#include "hw/ppdev_port.h"
#include "hw/raw_port.h"
#include "support/golden.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

using test::TempDir;

TEST(Ppdev, EachCallGivesWhatItsRowSays) {
  TempDir dir;
  dir.Write("proc/parport0/base-addr", "888\t1912\n");
  dir.Write("proc/parport1/base-addr", "632\t-1\n");
  dir.Write("proc/parport2/base-addr", "");
  dir.Write("proc/default/timeslice", "200\n");
  const std::string folder = dir.path().string();
  const std::map<std::string, test::Call> calls = {
      {"FindParportByAddress",
       [&folder](const auto& a) {
         const ParportPaths paths{test::Replaced(a.at(1), "$DIR", folder), folder + "/dev"};
         const Result<std::string> found = FindParportByAddress(std::stol(a.at(0), nullptr, 16), paths);
         return test::Replaced(found.ok() ? found.value() : found.message(), folder, "$DIR");
       }},
      {"DescribePpdevError", [](const auto& a) {
         const std::map<std::string, int> errors = {{"EACCES", EACCES}, {"EPERM", EPERM}, {"EBUSY", EBUSY},
                                                    {"ENXIO", ENXIO},   {"ENODEV", ENODEV}, {"EIO", EIO}};
         const int error = errors.at(a.at(0));
         const std::string said = DescribePpdevError("/dev/parport0", error, a.at(1) == "claim");
         return said.ends_with(std::strerror(error)) ? test::Replaced(said, std::strerror(error), "(text)") : said;
       }}};
  EXPECT_EQ(test::TableMismatches("ppdev.txt", calls), "");
}

TEST(OpenPpdevPort, EachFailureNamesItsCause) {
  TempDir dir;
  const std::string missing = (dir.path() / "parport7").string();
  const std::string plain = dir.Write("parport0", "");
  const std::string locked = dir.Write("parport1", "");
  std::filesystem::permissions(locked, std::filesystem::perms::none);
  for (const auto& [path, expected] :
       {std::pair{missing,
                  "No parallel port device " + missing + " (is the ppdev module loaded? try: sudo modprobe ppdev)"},
        {plain, plain + " is not a parallel port device"},
        {locked, "Permission denied on " + locked +
                     ": add your user to the 'lp' group (sudo adduser $USER lp) and log in again"}}) {
    if (path == locked && geteuid() == 0) continue;  // root opens any file
    const auto port = OpenPpdevPort(path);
    ASSERT_FALSE(port.ok()) << path;
    EXPECT_EQ(port.message(), expected);
  }
}

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

// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/ppdev_port.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "support/temp_dir.h"

namespace quorvi {
namespace {

using test::TempDir;

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// A /proc/sys/dev/parport and /dev as the kernel lays them out: base-addr holds
// the base and the ECP base in decimal.
struct FakeParports {
  TempDir dir;
  ParportPaths paths{(dir.path() / "proc").string(), (dir.path() / "dev").string()};

  FakeParports() {
    dir.Write("proc/parport0/base-addr", "888\t1912\n");
    dir.Write("proc/parport1/base-addr", "632\t-1\n");
    dir.Write("proc/parport2/base-addr", "");  // a port that says nothing is skipped
    dir.Write("proc/default/timeslice", "200\n");
  }
};

TEST(FindParportByAddress, MatchesTheBaseAddressInDecimal) {
  FakeParports fake;
  Result<std::string> lpt1 = FindParportByAddress(0x378, fake.paths);
  ASSERT_TRUE(lpt1.ok()) << lpt1.message();
  EXPECT_EQ(lpt1.value(), fake.paths.devRoot + "/parport0");
  Result<std::string> lpt2 = FindParportByAddress(0x278, fake.paths);
  ASSERT_TRUE(lpt2.ok());
  EXPECT_EQ(lpt2.value(), fake.paths.devRoot + "/parport1");
}

TEST(FindParportByAddress, NamesThePortsItFoundWhenNoneMatches) {
  FakeParports fake;
  Result<std::string> found = FindParportByAddress(0x3BC, fake.paths);
  ASSERT_FALSE(found.ok());
  EXPECT_EQ(found.message(), "No parallel port at 0x3BC (found: parport0 at 0x378, parport1 at 0x278)");
}

TEST(FindParportByAddress, SaysWhenTheKernelKnowsNoPort) {
  TempDir dir;
  Result<std::string> found = FindParportByAddress(0x378, {(dir.path() / "missing").string(), "/dev"});
  ASSERT_FALSE(found.ok());
  EXPECT_TRUE(Contains(found.message(), "parport_pc")) << found.message();
}

TEST(FindParportByAddress, RefusesAddressesOutsideTheSigned16BitRange) {
  FakeParports fake;
  for (const long base : {0L, -1L, 0x7FFFL, 0x8000L, 0x10000L}) {
    Result<std::string> found = FindParportByAddress(base, fake.paths);
    ASSERT_FALSE(found.ok()) << base;
    EXPECT_TRUE(Contains(found.message(), "out of range")) << found.message();
  }
}

TEST(OpenPpdevPort, MissingDeviceFile) {
  TempDir dir;
  const std::string path = (dir.path() / "parport7").string();
  auto port = OpenPpdevPort(path);
  ASSERT_FALSE(port.ok());
  EXPECT_TRUE(Contains(port.message(), "No parallel port device " + path)) << port.message();
}

TEST(OpenPpdevPort, AFileThatIsNoParallelPort) {
  TempDir dir;
  const std::string path = dir.Write("parport0", "");
  auto port = OpenPpdevPort(path);
  ASSERT_FALSE(port.ok());
  EXPECT_EQ(port.message(), path + " is not a parallel port device");
}

TEST(OpenPpdevPort, PermissionDeniedNamesTheLpGroup) {
  if (geteuid() == 0) GTEST_SKIP() << "root opens any file; the message itself is checked below";
  TempDir dir;
  const std::string path = dir.Write("parport0", "");
  std::filesystem::permissions(path, std::filesystem::perms::none);
  auto port = OpenPpdevPort(path);
  ASSERT_FALSE(port.ok());
  EXPECT_TRUE(Contains(port.message(), "'lp' group")) << port.message();
}

TEST(DescribePpdevError, EachCauseHasItsOwnAdvice) {
  struct Case {
    int error;
    bool claiming;
    std::string expected;
  };
  for (const Case& c : {Case{ENOENT, false, "No parallel port device /dev/parport0 (is the ppdev module loaded?"},
                        Case{EACCES, false, "Permission denied on /dev/parport0: add your user to the 'lp' group"},
                        Case{EPERM, false, "'lp' group"},
                        Case{EBUSY, false, "/dev/parport0 is busy"},
                        Case{ENXIO, true, "/dev/parport0 is busy: another driver (such as lp) holds the port"},
                        Case{ENXIO, false, "No parallel port behind /dev/parport0"},
                        Case{ENODEV, false, "No parallel port behind /dev/parport0"},
                        Case{ENOTTY, true, "/dev/parport0 is not a parallel port device"},
                        Case{EIO, false, "Cannot open /dev/parport0: "}}) {
    const std::string message = DescribePpdevError("/dev/parport0", c.error, c.claiming);
    EXPECT_TRUE(Contains(message, c.expected)) << c.error << ": " << message;
  }
}

}  // namespace
}  // namespace quorvi

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
TEST(FindParportByAddress, MatchesTheBaseInDecimalOrSaysWhatItFound) {
  TempDir dir;
  dir.Write("proc/parport0/base-addr", "888\t1912\n");
  dir.Write("proc/parport1/base-addr", "632\t-1\n");
  dir.Write("proc/parport2/base-addr", "");  // a port that says nothing is skipped
  dir.Write("proc/default/timeslice", "200\n");
  const ParportPaths fake{(dir.path() / "proc").string(), (dir.path() / "dev").string()};
  const ParportPaths none{(dir.path() / "missing").string(), "/dev"};
  struct Case {
    long base;
    ParportPaths paths;
    std::string expected;  // the device path, or the message
  };
  for (const Case& c :
       {Case{0x378, fake, fake.devRoot + "/parport0"}, {0x278, fake, fake.devRoot + "/parport1"},
        {0x3BC, fake, "No parallel port at 0x3BC (found: parport0 at 0x378, parport1 at 0x278)"},
        {0x378, none,
         "No parallel ports are known to the system (" + none.procRoot +
             " is empty or missing: is the parport_pc module loaded?)"},
        {0x7FFF, fake, "Port address 0x7FFF is out of range: its status register at 0x8000 is beyond 0x7FFF"},
        {0x8000, fake, "Port address 0x8000 is out of range: ports go from 0x1 to 0x7FFF"}}) {
    const Result<std::string> found = FindParportByAddress(c.base, c.paths);
    EXPECT_EQ(found.ok() ? found.value() : found.message(), c.expected) << c.base;
  }
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

TEST(DescribePpdevError, EachCauseHasItsOwnAdvice) {
  struct Case {
    int error;
    bool claiming;
    std::string expected;
  };
  // A missing device and a file that is no port are the open test's rows.
  for (const Case& c : {Case{EACCES, false, "Permission denied on /dev/parport0: add your user to the 'lp' group"},
                        Case{EPERM, false, "'lp' group"},
                        Case{EBUSY, false, "/dev/parport0 is busy"},
                        Case{ENXIO, true, "/dev/parport0 is busy: another driver (such as lp) holds the port"},
                        Case{ENXIO, false, "No parallel port behind /dev/parport0"},
                        Case{ENODEV, false, "No parallel port behind /dev/parport0"},
                        Case{EIO, false, "Cannot open /dev/parport0: "}}) {
    const std::string message = DescribePpdevError("/dev/parport0", c.error, c.claiming);
    EXPECT_TRUE(Contains(message, c.expected)) << c.error << ": " << message;
  }
}

}  // namespace
}  // namespace quorvi

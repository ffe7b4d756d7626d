// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/ppdev_port.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>

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

}  // namespace
}  // namespace quorvi

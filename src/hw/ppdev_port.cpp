// SPDX-License-Identifier: GPL-3.0-or-later
#include "hw/ppdev_port.h"

#include <fcntl.h>
#include <linux/parport.h>
#include <linux/ppdev.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

#include "hw/port_address.h"

namespace quorvi {

namespace {

class PpdevPort final : public PortDriver {
 public:
  PpdevPort(int fd, std::string path) : fd_(fd), path_(std::move(path)) {}
  PpdevPort(const PpdevPort&) = delete;
  PpdevPort& operator=(const PpdevPort&) = delete;

  // The opening byte is not put back: with active-low supplies it could
  // switch the target on. The line layer leaves the supplies off instead.
  ~PpdevPort() override {
    ioctl(fd_, PPRELEASE);
    close(fd_);
  }

  void WriteData(uint8_t value) override {
    unsigned char byte = value;
    ioctl(fd_, PPWDATA, &byte);
  }

  uint8_t ReadStatus() override {
    unsigned char byte = 0;
    ioctl(fd_, PPRSTATUS, &byte);
    return byte;
  }

  std::string Describe() const override { return path_ + " (ppdev)"; }

 private:
  int fd_;
  std::string path_;
};

}  // namespace

std::string DescribePpdevError(const std::string& devicePath, int error, bool whileClaiming) {
  switch (error) {
    case ENOENT:
      return "No parallel port device " + devicePath + " (is the ppdev module loaded? try: sudo modprobe ppdev)";
    case EACCES:
    case EPERM:
      return "Permission denied on " + devicePath +
             ": add your user to the 'lp' group (sudo adduser $USER lp) and log in again";
    case EBUSY:
      return devicePath + " is busy: another program or driver is using the port";
    case ENXIO:
    case ENODEV:
      return whileClaiming ? devicePath + " is busy: another driver (such as lp) holds the port; close it or run "
                                          "'sudo rmmod lp'"
                           : "No parallel port behind " + devicePath;
    case ENOTTY:
    case EINVAL:
      return devicePath + " is not a parallel port device";
    default:
      return "Cannot open " + devicePath + ": " + std::strerror(error);
  }
}

Result<std::string> FindParportByAddress(long base, const ParportPaths& paths) {
  if (Status valid = ValidatePortAddress(base); !valid) return valid;
  namespace fs = std::filesystem;
  std::error_code ec;
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(paths.procRoot, ec)) {
    const std::string name = entry.path().filename().string();
    if (name.rfind("parport", 0) == 0) names.push_back(name);
  }
  if (ec || names.empty()) {
    return Status::Fail("No parallel ports are known to the system (" + paths.procRoot +
                        " is empty or missing: is the parport_pc module loaded?)");
  }
  std::sort(names.begin(), names.end());
  std::string known;
  for (const std::string& name : names) {
    std::ifstream file(paths.procRoot + "/" + name + "/base-addr");
    long found = -1;
    if (!(file >> found)) continue;
    if (found == base) return paths.devRoot + "/" + name;
    known += (known.empty() ? "" : ", ") + name + " at " + FormatPortAddress(found);
  }
  return Status::Fail("No parallel port at " + FormatPortAddress(base) +
                      (known.empty() ? std::string(" (no port reports its address)") : " (found: " + known + ")"));
}

Result<std::unique_ptr<PortDriver>> OpenPpdevPort(const std::string& devicePath) {
  const int fd = open(devicePath.c_str(), O_RDWR | O_CLOEXEC);
  if (fd < 0) return Status::Fail(DescribePpdevError(devicePath, errno, false));
  if (ioctl(fd, PPCLAIM) != 0) {
    const int error = errno;
    close(fd);
    return Status::Fail(DescribePpdevError(devicePath, error, true));
  }
  // A bidirectional port may have been left reading; the board needs it driving.
  int forward = 0;
  ioctl(fd, PPDATADIR, &forward);
  return std::unique_ptr<PortDriver>(std::make_unique<PpdevPort>(fd, devicePath));
}

}  // namespace quorvi

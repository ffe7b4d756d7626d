// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/port_registry.h"

#include <gtest/gtest.h>

#include "support/temp_dir.h"

namespace quorvi {
namespace {

TEST(ParsePortAddress, KnowsTheClassicNamesAndHex) {
  struct Case {
    const char* name;
    std::optional<long> base;
  };
  for (const Case& c : {Case{"lpt1", 0x378}, {"LPT1", 0x378}, {"lpt2", 0x278}, {"0x3BC", 0x3BC}, {"0X3bc", 0x3BC},
                        {"0x", std::nullopt}, {"0x37G", std::nullopt}, {"378", std::nullopt}, {"lpt3", std::nullopt},
                        {"", std::nullopt}}) {
    EXPECT_EQ(ParsePortAddress(c.name), c.base) << c.name;
  }
}

TEST(OpenPort, ChoosesTheBackendByTheFormOfTheName) {
  test::TempDir dir;
  dir.Write("proc/parport0/base-addr", "956\t-1\n");  // 0x3BC
  PortEnvironment env;
  env.parports = {(dir.path() / "proc").string(), (dir.path() / "dev").string()};

  // Found by address, then opened through ppdev: the fake device file is missing.
  auto byAddress = OpenPort("0x3bc", env);
  ASSERT_FALSE(byAddress.ok());
  EXPECT_NE(byAddress.message().find("No parallel port device " + env.parports.devRoot + "/parport0"),
            std::string::npos)
      << byAddress.message();

  auto lpt1 = OpenPort("lpt1", env);
  ASSERT_FALSE(lpt1.ok());
  EXPECT_NE(lpt1.message().find("No parallel port at 0x378 (found: parport0 at 0x3BC)"), std::string::npos);

  auto path = OpenPort("/dev/nonexistent-parport", env);
  ASSERT_FALSE(path.ok());
  EXPECT_NE(path.message().find("No parallel port device /dev/nonexistent-parport"), std::string::npos);

  auto raw = OpenPort("raw:0x8000", env);
  ASSERT_FALSE(raw.ok());
  EXPECT_NE(raw.message().find("out of range"), std::string::npos);

  auto record = OpenPort("record", env);
  ASSERT_TRUE(record.ok()) << record.message();
  EXPECT_EQ(record.value()->ReadStatus(), 0x40);
}

TEST(OpenPort, AnUnknownNameListsEveryForm) {
  auto port = OpenPort("com1");
  ASSERT_FALSE(port.ok());
  EXPECT_EQ(port.message(),
            "Unknown port \"com1\": use lpt1 | lpt2 | 0xADDR, /dev/parportN, raw:lpt1 | raw:lpt2 | raw:0xADDR, record");
}

}  // namespace
}  // namespace quorvi

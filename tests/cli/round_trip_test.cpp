// SPDX-License-Identifier: GPL-3.0-or-later
// A file that gpasm or srec_cat made is written to a new simulated chip by
// quorvi2-cli and read back into a file. Tools that share no code with ours
// must find there what the original holds, the rest of the chip blank, the
// same fuses and IDs, and nothing they would refuse.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/run_command.h"
#include "support/temp_dir.h"

namespace quorvi {
namespace {

// A file byte of which the chip keeps only `bits`; the others read 0.
struct KeptBits {
  unsigned address;
  unsigned bits;
};

struct Case {
  const char* device;          // as the catalogue names it
  const char* part;            // gpasm's and gpdasm's name; "" for a 24Cxx, which srec_cat makes
  const char* source;          // the examples/ source, or srec_cat's generators
  const char* blank;           // srec_cat's generators: every memory of the device as a new chip reads it
  std::vector<KeptBits> kept;  // where the chip reads back less than the file said
  const char* chipOwn = "";    // srec_cat ranges the chip fills itself
};

// Blank words: FF 3F (14-bit), FF 0F (12-bit); 14-bit data EEPROM bytes take a
// word each with a zero high byte, as gpasm's `de` writes them.
const std::vector<Case> kCases = {
    {"12C508A", "12c508a", "blink_12c508a.asm",
     "-gen 0 0x400 -repeat-data 0xFF 0x0F -gen 0x400 0x408 -repeat-data 0xFF 0x0F "
     "-gen 0x1FFE 0x2000 -repeat-data 0xFF 0x0F",
     // The part implements configuration bits 4:0 only; the chip model reads
     // the others as 0, a reading it marks as unsure.
     {{0x1FFE, 0x1F}, {0x1FFF, 0x00}},
     // DS40139: the last program word holds the factory MOVLW calibration value.
     "-exclude 0x3FE 0x400"},
    {"16F84A", "16f84a", "eeprom_16f84a.asm",
     "-gen 0 0x800 -repeat-data 0xFF 0x3F -gen 0x4000 0x4008 -repeat-data 0xFF 0x3F "
     "-gen 0x400E 0x4010 -repeat-data 0xFF 0x3F -gen 0x4200 0x4280 -repeat-data 0xFF 0x00",
     {}},
    {"16F628A", "16f628a", "eeprom_16f628a.asm",
     "-gen 0 0x1000 -repeat-data 0xFF 0x3F -gen 0x4000 0x4008 -repeat-data 0xFF 0x3F "
     "-gen 0x400E 0x4010 -repeat-data 0xFF 0x3F -gen 0x4200 0x4300 -repeat-data 0xFF 0x00",
     // DS40044 Register 14-1: configuration bits 12:9 are unimplemented and read 0.
     {{0x400F, 0x21}}},
    {"16F877A", "16f877a", "eeprom_16f877a.asm",
     "-gen 0 0x4000 -repeat-data 0xFF 0x3F -gen 0x4000 0x4008 -repeat-data 0xFF 0x3F "
     "-gen 0x400E 0x4010 -repeat-data 0xFF 0x3F -gen 0x4200 0x4400 -repeat-data 0xFF 0x00",
     {}},
    // The configuration bytes read as DS39564 Table 19-1 gives them unprogrammed:
    // 300000h, 300004h and 300007h are not implemented and read 0.
    {"18F452", "18f452", "blink_18f452.asm",
     "-gen 0 0x8000 -constant 0xFF -gen 0x200000 0x200008 -constant 0xFF -gen 0x300000 0x30000E -repeat-data "
     "0x00 0x27 0x0F 0x0F 0x00 0x01 0x85 0x00 0x0F 0xC0 0x0F 0xE0 0x0F 0x40 -gen 0xF00000 0xF00100 -constant 0xFF",
     {}},
    {"24C02", "", "-gen 0 0x100 -repeat-data 0x00 0x5A 0xA5 0x3C 0xFF 0x81", "-gen 0 0x100 -constant 0xFF", {}},
    // Single bytes at both ends, a pair across a 64-byte page boundary.
    {"AT24C256", "",
     "-gen 0 1 -constant 0x11 -gen 0x3F 0x41 -repeat-data 0x22 0x33 -gen 0x4000 0x4004 -repeat-string 24C2 "
     "-gen 0x7FFF 0x8000 -constant 0x00",
     "-gen 0 0x8000 -constant 0xFF", {}},
};

// Output and status of `command`, its error output too.
test::CommandOutput Shell(const std::string& command) {
  return test::RunCommand("{ " + command + "; } 2>&1 </dev/null");
}

// quorvi2-cli on the simulated board, the chip kept in `home` from run to run.
std::string Cli(const std::string& home, const std::string& device) {
  return std::string("'") + QUORVI_CLI_PATH + "' --home '" + home + "' --port sim --chip '" + home +
         "/chip.json' --clock virtual --device " + device;
}

// The lines of gpdasm's view of a file that give the fuses and IDs.
std::string FusesAndIds(const std::string& part, const std::string& file) {
  return Shell("gpdasm -nos -p " + part + " '" + file + "' | grep -E '^\\s+(CONFIG|__idlocs)\\s'").out;
}

TEST(RoundTrip, OutsideToolsFindTheFileOnTheChipAndTheRestBlank) {
  for (const char* tool : {"gpasm", "gpdasm", "srec_cat", "srec_cmp", "srec_info"}) {
    if (!test::HaveProgram(tool)) GTEST_SKIP() << tool << " (packages gputils, srecord) is not installed";
  }
  if (Shell("/usr/bin/python3 -c 'import intelhex'").exitCode != 0) GTEST_SKIP() << "python3-intelhex is not installed";
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.device);
    const test::TempDir home;
    const std::string h = home.path().string(), original = h + "/original.hex", saved = h + "/saved.hex",
                      expected = h + "/expected.hex", part = c.part;
    const test::CommandOutput made =
        Shell(part.empty() ? "srec_cat " + std::string(c.source) + " -o '" + original + "' -intel"
                           : "gpasm -q -p " + part + " '" QUORVI_SOURCE_DIR "/examples/" + c.source + "' -o '" +
                                 original + "'");
    ASSERT_EQ(made.exitCode, 0) << made.out;
    const std::string cli = Cli(h, c.device);
    const test::CommandOutput written = Shell(cli + " write '" + original + "'");
    ASSERT_EQ(written.exitCode, 0) << written.out;
    const test::CommandOutput read = Shell(cli + " read -o '" + saved + "'");
    ASSERT_EQ(read.exitCode, 0) << read.out;

    std::string masked = "'" + original + "' -intel", maskedBytes;
    for (const KeptBits& k : c.kept) {
      const std::string byte = std::to_string(k.address) + " " + std::to_string(k.address + 1);
      masked += " -exclude " + byte;
      maskedBytes += " '" + original + "' -intel -crop " + byte + " -and " + std::to_string(k.bits);
    }
    ASSERT_EQ(Shell("srec_cat " + masked + maskedBytes + " -o '" + expected + "' -intel").exitCode, 0);
    const test::CommandOutput same =
        Shell("srec_cmp -v '" + expected + "' -intel '" + saved + "' -intel -crop -within '" + expected + "' -intel");
    EXPECT_EQ(same.exitCode, 0) << same.out;
    // After -within srec_cmp would read on into a "(" or "-exclude" as more of the range: it comes last,
    // and parentheses end the first side.
    const std::string rest = std::string(" ") + c.chipOwn + " -exclude -within '" + expected + "' -intel";
    const test::CommandOutput blank =
        Shell("srec_cmp -v '(' '" + saved + "' -intel" + rest + " ')' '(' " + c.blank + " ')'" + rest);
    EXPECT_EQ(blank.exitCode, 0) << blank.out;

    if (!part.empty()) {
      const std::string fuses = FusesAndIds(part, original);
      EXPECT_NE(fuses, "");
      EXPECT_EQ(FusesAndIds(part, saved), fuses);
    }
    const test::CommandOutput info = Shell("srec_info '" + saved + "' -intel");
    EXPECT_EQ(info.exitCode, 0) << info.out;
    const test::CommandOutput python =
        Shell("/usr/bin/python3 -c 'import intelhex,sys; intelhex.IntelHex(sys.argv[1])' '" + saved + "'");
    EXPECT_EQ(python.exitCode, 0) << python.out;
  }
}

// With --legacy-files a read still saves the ID records as our earlier versions
// did, their checksums 0Eh..08h too low (srec_cat refuses them): old scripts
// may compare against such files.
TEST(RoundTrip, LegacyFilesKeepTheOldIdRecords) {
  const test::TempDir home;
  const std::string h = home.path().string();
  const std::string cli = Cli(h, "16F84A");
  ASSERT_EQ(Shell(cli + " write '" QUORVI_SOURCE_DIR "/examples/eeprom_16f84a.inhx32.hex'").exitCode, 0);
  ASSERT_EQ(Shell(cli + " --legacy-files read -o '" + h + "/legacy.hex'").exitCode, 0);
  const char* ids = ":024000000400AC\r\n:024002000300AD\r\n:024004000200AE\r\n:024006000100AF\r\n";
  EXPECT_NE(home.Read("legacy.hex").find(ids), std::string::npos);
}

}  // namespace
}  // namespace quorvi

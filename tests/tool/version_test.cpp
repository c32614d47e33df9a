#include <gtest/gtest.h>

#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

TEST(Version, PrintsTheProgramsVersionTheInterfacesAndTheFormatRecord) {
  const RunResult result = fmp4({"version"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out, std::string("program version: ") + FMP4_VERSION +
                            "\n"
                            "interface version: 23\n"
                            "format records: 1\n"
                            "file type: 147\n"
                            "patterns: *.mp4;*.m4v;*.m4a;*.ismv;*.isma;*.mpd;*.xml;*.ism;*.ismc\n"
                            "short description: MP4 - Fragmented MP4/SS Reader Writer\n"
                            "long description: MP4 - Fragmented/Smooth Streaming MP4 Reader Writer\n"
                            "capability flags: 0x00500063\n"
                            "further flags: 0xF1000000\n");
}

TEST(Version, IsAlsoAnOptionOfTheProgram) {
  const RunResult result = fmp4({"--version"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out, "fmp4 " FMP4_VERSION "\n");
}

}  // namespace

}  // namespace fmp4

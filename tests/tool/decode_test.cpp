// Damage that only decoding shows.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>

#include "base/bytes.h"
#include "tests/support/box_builder.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"
#include "tool/check/access_unit_defect.h"

namespace fmp4 {

namespace {

using testing::HasSubstr;

// A NAL unit after its length of four bytes.
Bytes nalUnit(const Bytes& bytes) {
  return join({u32(static_cast<std::uint32_t>(bytes.size())), bytes});
}
// first_mb_in_slice 0, slice_type 7, pic_parameter_set_id 0.
const Bytes kIdr = {0x65, 0x88, 0x84, 0x21, 0xA0};

TEST(AccessUnitDefect, OfIntactUnitsIsNone) {
  EXPECT_EQ(accessUnitDefect(nalUnit(kIdr), 4), "");
  EXPECT_EQ(accessUnitDefect(join({nalUnit({0x09, 0xF0}), nalUnit(kIdr)}), 4), "");
  EXPECT_EQ(accessUnitDefect(Bytes{5, 0x65, 0x88, 0x84, 0x21, 0xA0}, 1), "");
  // Emulation prevention, and zeros after the end of the unit.
  EXPECT_EQ(accessUnitDefect(nalUnit({0x65, 0x88, 0x84, 0, 0, 3, 1, 0x80, 0, 0, 0}), 4), "");
}

// Exp-Golomb numbers of an IDR slice: its first macroblock, its type and its parameter set.
TEST(AccessUnitDefect, OfSliceHeadersIsANumberThatIsTooLarge) {
  const std::string defect = "NAL unit 1 has a slice header that cannot be";
  EXPECT_EQ(accessUnitDefect(nalUnit({0x65, 0xC0, 0x20, 0x1F, 0x80}), 4), "") << "parameter set 255";
  EXPECT_EQ(accessUnitDefect(nalUnit({0x65, 0xC0, 0x20, 0x3F, 0x80}), 4), defect) << "parameter set 256";
  EXPECT_EQ(accessUnitDefect(nalUnit({0x65, 0, 0, 0x3F, 0xFF, 0xFF, 0xFF, 0xFF, 0x80}), 4), defect)
      << "macroblock 524286";
}

TEST(AccessUnitDefect, NamesTheUnitAndWhatIsWrong) {
  const auto second = [](const Bytes& unit) {
    return accessUnitDefect(join({nalUnit({0x09, 0xF0}), unit}), 4);
  };
  EXPECT_EQ(second(join({u32(9), kIdr})), "NAL unit 2 is longer than the rest of the frame");
  EXPECT_EQ(second({0, 0, 0}), "NAL unit 2 has no complete length");
  EXPECT_EQ(second(u32(0)), "NAL unit 2 is empty");
  EXPECT_EQ(second(nalUnit({0xE5, 0x88, 0x84, 0x21, 0xA0})), "NAL unit 2 has its forbidden bit set");
  for (const std::uint8_t byte : Bytes{0, 1, 2})
    EXPECT_EQ(second(nalUnit({0x65, 0x88, 0x84, 0, 0, byte, 0x80})),
              "NAL unit 2 has bytes that no NAL unit can have");
  EXPECT_EQ(second(nalUnit({0x65, 0x88, 0x84, 0, 0, 3, 4, 0x80})),
            "NAL unit 2 has bytes that no NAL unit can have");
  // slice_type 10.
  EXPECT_EQ(second(nalUnit({0x65, 0x8B, 0x84, 0x21, 0xA0})), "NAL unit 2 has a slice header that cannot be");
  EXPECT_EQ(accessUnitDefect(nalUnit({0x09, 0xF0}), 4), "it has no slice");
  EXPECT_EQ(accessUnitDefect({}, 4), "it has no slice");
}

class VerifyDecoding : public testing::Test {
 protected:
  VerifyDecoding() {
    makeMedia(folder_.file("source.mp4"), videoInput(4, "25", "320x180") + toneInput(4) + h264Codec(25, 2) +
                                              std::vector<std::string>{"-c:a", "aac", "-ac", "2"});
    runOrThrow({VL_BIN_DIR "/fmp4", "--quiet", "package", folder_.file("source.mp4"), "--output",
                folder_.file("out.mp4")});
  }
  // Fills the first media data with noise, `count` bytes of it or all.
  void damage(const std::string& name, std::optional<std::size_t> count = std::nullopt) {
    Bytes bytes = readFile(folder_.file(name));
    const Bytes type = {'m', 'd', 'a', 't'};
    const auto data = std::search(bytes.begin(), bytes.end(), type.begin(), type.end()) + 4;
    const std::size_t size = Mp4LoadU32(&*(data - 8)) - 8, from = count ? 300 : 0;
    const std::size_t end = from + count.value_or(size);
    ASSERT_LE(end, size) << "the boxes must stay as they are";
    std::mt19937 random(20161122);
    for (auto at = data + static_cast<std::ptrdiff_t>(from); at != data + static_cast<std::ptrdiff_t>(end);
         ++at)
      *at = static_cast<std::uint8_t>(random());
    writeFile(folder_.file(name), bytes);
  }
  RunResult verified() { return fmp4({"--quiet", "verify", "--decode", folder_.file("out.mpd")}); }

  TempFolder folder_;
};

TEST_F(VerifyDecoding, FindsNothingInAnIntactRecording) {
  const RunResult result = verified();
  EXPECT_EQ(result.exitCode, 0) << result.out;
  EXPECT_THAT(result.out, HasSubstr("out.mpd is intact: 100 frames, "));
  EXPECT_EQ(result.err, "");
}

TEST_F(VerifyDecoding, FindsDamagedFrames) {
  damage("out.m4v", 5000);
  EXPECT_EQ(fmp4({"--quiet", "verify", folder_.file("out.mpd")}).exitCode, 0) << "the boxes are intact";
  const RunResult result = verified();
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.out, testing::StartsWith("out.m4v: frame "));
  EXPECT_THAT(result.out, HasSubstr(") is damaged: NAL unit "));
  EXPECT_THAT(result.out, HasSubstr("; none of this can be repaired; get an undamaged copy\n"));
}

TEST_F(VerifyDecoding, FindsAudioThatCannotBeDecoded) {
  damage("out.m4a", 5000);
  const RunResult result = verified();
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.out, testing::StartsWith("out.m4a: the audio from 00:00:0"));
  EXPECT_THAT(result.out, HasSubstr(" cannot be decoded\n"));
}

TEST_F(VerifyDecoding, FindsBothInOneFile) {
  ASSERT_EQ(fmp4({"-q", "package", folder_.file("source.mp4"), "-o", folder_.file("both.ismv")}).exitCode, 0);
  damage("both.ismv");
  const std::string out = fmp4({"--quiet", "verify", "--decode", folder_.file("both.ismv")}).out;
  EXPECT_THAT(out, HasSubstr("both.ismv: frame "));
  EXPECT_THAT(out, HasSubstr("both.ismv: the audio from "));
}

}  // namespace

}  // namespace fmp4

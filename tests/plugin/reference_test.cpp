// What the plug-in reads, compared with what ffprobe reads from the same file.
#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <random>

#include "tests/plugin/loaded_plugin.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

struct ReferenceCase {
  const char* name;
  std::vector<std::string> muxing;
  enum { H264, H264NoB, Hevc } codec = H264;
  bool audio = true;
  const char* rate = "30000/1001";
  double seconds = 2;
};

std::vector<std::string> codecOf(const ReferenceCase& c) {
  switch (c.codec) {
    case ReferenceCase::H264NoB:
      return h264Codec(12, 0);
    case ReferenceCase::Hevc:
      return hevcCodec(12);
    default:
      return h264Codec(12, 2);
  }
}

std::string crcOf(const std::vector<std::uint8_t>& bytes) {
  char text[9];
  std::snprintf(text, sizeof text, "%08lx", crc32_z(0, bytes.data(), bytes.size()));
  return text;
}

class Reference : public testing::TestWithParam<ReferenceCase> {};

TEST_P(Reference, EveryFrameMatchesFfprobeInAnyOrder) {
  const ReferenceCase& c = GetParam();
  const TempFolder folder;
  const std::string path = folder.file("clip.mp4");
  std::vector<std::string> arguments = videoInput(c.seconds, c.rate, "160x96");
  if (c.audio) arguments = arguments + toneInput(c.seconds);
  arguments = arguments + codecOf(c);
  if (c.audio) arguments = arguments + std::vector<std::string>{"-c:a", "aac", "-b:a", "64k"};
  makeMedia(path, arguments + c.muxing);
  const std::vector<Packet> packets = ffprobePackets(path, "v:0");
  ASSERT_FALSE(packets.empty());

  ASSERT_EQ(plugin().check(path.c_str(), 0, nullptr), 0);
  const MediaFile file = openFile(path);
  ASSERT_NE(file, nullptr);
  ASSERT_EQ(file->GetTotalFrames(), packets.size());
  EXPECT_EQ(describe(*file).system.streams, c.audio ? 2u : 1u);

  const auto count = static_cast<std::uint32_t>(packets.size());
  std::vector<std::uint32_t> order;
  for (std::uint32_t i = 0; i < count; ++i) order.push_back(i);
  for (std::uint32_t i = count; i-- > 0;) order.push_back(i);
  std::vector<std::uint32_t> shuffled(order.begin(), order.begin() + count);
  std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(7));
  order.insert(order.end(), shuffled.begin(), shuffled.end());
  std::uint32_t largest = 0;
  for (const std::uint32_t frame : order) {
    const VideoFrame read = readFrame(*file, frame);
    ASSERT_EQ(read.status, VL_OK) << frame;
    ASSERT_EQ(read.data.size(), static_cast<std::size_t>(packets[frame].size)) << frame;
    ASSERT_EQ(crcOf(read.data), packets[frame].crc32) << frame;
    ASSERT_EQ(read.key(), packets[frame].key) << frame;
    largest = std::max(largest, read.descriptor.bytes);
  }
  EXPECT_EQ(file->Read(0, 1, 1, QVR_MODE_VIDEO, nullptr, nullptr), largest);

  for (std::uint32_t frame = 0; frame < count; ++frame) {
    std::uint32_t before = frame, after = frame;
    while (before > 0 && !packets[before].key) --before;
    while (after < count && !packets[after].key) ++after;
    ASSERT_EQ(file->FindKeyFrame(1, 1, frame, 0), before);
    ASSERT_EQ(file->FindKeyFrame(1, 1, frame, 1), after < count ? after : frame);
  }
}

std::vector<std::string> flags(const char* value) {
  return {"-movflags", value};
}
std::vector<std::string> audioFirst(const char* value) {
  return {"-map", "1:a", "-map", "0:v", "-movflags", value};
}
std::vector<std::string> pieces(const char* microseconds) {
  return {"-movflags", "empty_moov", "-frag_duration", microseconds};
}
std::vector<std::string> timescale(const char* value) {
  return {"-movflags", "frag_keyframe+empty_moov", "-video_track_timescale", value};
}

const ReferenceCase kCases[] = {
    {"key_fragments", flags("frag_keyframe+empty_moov")},
    {"key_fragments_no_b", flags("frag_keyframe+empty_moov"), ReferenceCase::H264NoB},
    {"key_fragments_silent", flags("frag_keyframe+empty_moov"), ReferenceCase::H264, false},
    {"key_fragments_hevc", flags("frag_keyframe+empty_moov"), ReferenceCase::Hevc},
    {"default_base", flags("frag_keyframe+empty_moov+default_base_moof")},
    {"default_base_hevc", flags("frag_keyframe+empty_moov+default_base_moof"), ReferenceCase::Hevc, false},
    {"every_frame", flags("frag_every_frame+empty_moov")},
    {"every_frame_no_b_silent", flags("frag_every_frame+empty_moov"), ReferenceCase::H264NoB, false},
    {"separate_moof", flags("frag_keyframe+empty_moov+separate_moof")},
    {"separate_moof_default_base", flags("frag_keyframe+empty_moov+separate_moof+default_base_moof")},
    {"separate_moof_hevc", flags("frag_keyframe+empty_moov+separate_moof"), ReferenceCase::Hevc},
    {"cmaf", flags("cmaf+frag_keyframe+empty_moov")},
    {"cmaf_silent", flags("cmaf+frag_keyframe+empty_moov"), ReferenceCase::H264, false},
    {"cmaf_hevc", flags("cmaf+frag_keyframe+empty_moov"), ReferenceCase::Hevc},
    {"dash", flags("dash+frag_keyframe+empty_moov")},
    {"dash_no_b_silent", flags("dash+frag_keyframe+empty_moov"), ReferenceCase::H264NoB, false},
    {"dash_hevc", flags("dash+frag_keyframe+empty_moov"), ReferenceCase::Hevc},
    {"dash_global_index", flags("dash+global_sidx+frag_keyframe+empty_moov")},
    {"dash_global_index_silent", flags("dash+global_sidx+frag_keyframe+empty_moov"), ReferenceCase::H264,
     false},
    {"dash_global_index_hevc", flags("dash+global_sidx+frag_keyframe+empty_moov"), ReferenceCase::Hevc},
    {"delay_moov", flags("frag_keyframe+delay_moov")},
    {"implicit_base", flags("frag_keyframe+empty_moov+omit_tfhd_offset")},
    {"implicit_base_sound_first", audioFirst("frag_keyframe+empty_moov+omit_tfhd_offset")},
    {"explicit_base_sound_first", audioFirst("frag_keyframe+empty_moov")},
    {"default_base_sound_first", audioFirst("frag_keyframe+empty_moov+default_base_moof")},
    {"pieces_of_300_ms", pieces("300000")},
    {"pieces_of_300_ms_hevc", pieces("300000"), ReferenceCase::Hevc},
    {"pieces_delayed", {"-movflags", "delay_moov", "-frag_duration", "500000"}},
    {"rate_23_976", flags("frag_keyframe+empty_moov"), ReferenceCase::H264, true, "24000/1001"},
    {"rate_24", flags("frag_keyframe+empty_moov"), ReferenceCase::H264, false, "24"},
    {"rate_25", flags("frag_keyframe+empty_moov"), ReferenceCase::H264, true, "25"},
    {"rate_30", flags("frag_keyframe+empty_moov"), ReferenceCase::H264, false, "30"},
    {"rate_48", flags("frag_keyframe+empty_moov"), ReferenceCase::H264, false, "48"},
    {"rate_50", flags("frag_keyframe+empty_moov"), ReferenceCase::H264, true, "50"},
    {"rate_59_94", flags("frag_keyframe+empty_moov"), ReferenceCase::H264, true, "60000/1001"},
    {"rate_60", flags("frag_keyframe+empty_moov"), ReferenceCase::H264, false, "60"},
    {"rate_120", flags("frag_keyframe+empty_moov"), ReferenceCase::H264, true, "120"},
    {"timescale_1000", timescale("1000")},
    {"timescale_12345", timescale("12345")},
    {"timescale_10000000", timescale("10000000")},
};

INSTANTIATE_TEST_SUITE_P(Muxings, Reference, testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<ReferenceCase>& info) {
                           return std::string(info.param.name);
                         });

}  // namespace

}  // namespace fmp4

// The result of reading each damaged file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/corrupt/counted_reads.h"
#include "tests/corrupt/reading.h"
#include "tests/support/controlled_new.h"
#include "tests/support/log_capture.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

using testing::ElementsAreArray;

std::string error(const std::string& text) {
  return "ERROR(vlx_fmp4): " + text + "\n";
}

const std::vector<std::string> kQuiet = {};
const std::vector<std::string> kNoFile = {error("Cannot open file")};
const std::vector<std::string> kNoTracks = {error("No track that can be read")};
std::vector<std::string> noTracksFor(const std::string& defect) {
  return {error("No track that can be read: at byte " + defect)};
}
const std::vector<std::string> kNoRate = {error("No frame rate in the file, cannot address its frames")};
const std::vector<std::string> kNoChunk = {"fmp4 - Moof index beyond end",
                                           error("Unable to find correct video chunk")};

// A file, what opening it logs, how many frames it then has, and which; none if it does not open.
struct Case {
  std::string name;
  std::vector<std::string> log;
  std::uint32_t total = 0;
  FramesRead frames = {};
};

const std::vector<Case> kCases = {
    {"intact.mp4", kQuiet, 6, {"012345", "012345", "012345"}},
    {"empty.mp4", kNoTracks},
    {"no_boxes.mp4", noTracksFor("0 a box extends past the end of the file")},
    {"truncated_inside_the_movie_box.mp4", noTracksFor("24 a box extends past the end of the file")},
    {"truncated_after_the_movie_box.mp4", kNoChunk},
    {"truncated_inside_the_last_fragment.mp4", kQuiet, 4, {"0123", "0123", "0123"}},
    {"truncated_inside_the_last_media_data.mp4", kQuiet, 6, {"01234x", "0123..", "0123.."}},
    {"no_movie_box.mp4", kNoTracks},
    {"no_fragment_header.mp4", kQuiet, 4, {"0145", "0145", "0145"}},
    // The captions keep the frame numbers that they count themselves.
    {"no_track_fragment_header.mp4", kQuiet, 4, {"2345", "0123", "0123"}},

    {"box_size_0.mp4", kQuiet, 2, {"01", "01", "01"}},
    {"box_size_1_and_no_space_for_the_64_bit_size.mp4", kQuiet, 4, {"0123", "0123", "0123"}},
    {"box_size_7.mp4", kQuiet, 2, {"01", "01", "01"}},
    {"box_size_past_the_parent.mp4", kQuiet, 4, {"2345", "0123", "0123"}},
    // The fragment's boxes are present; what should follow them is missing.
    {"box_size_past_the_file.mp4", kQuiet, 4, {"01xx", "01..", "01.."}},
    {"box_size_past_64_bits.mp4", kNoChunk},
    {"media_data_size_past_the_file.mp4", kQuiet, 2, {"01", "01", "01"}},
    {"nested_400_deep.mp4", noTracksFor("256 boxes are nested too deep")},

    {"entry_count_all_ones.mp4", kQuiet, 6, {"012345", "012345", "012345"}},
    // Billions of samples of size 0: as many frames, without bytes.
    {"sample_count_all_ones_without_fields.mp4", kQuiet, 0xFFFFFFFF, {"01      ", "012345..", "012345.."}},
    {"sample_count_all_ones_with_sizes.mp4", kQuiet, 6, {"012345", "012345", "012345"}},
    {"sample_size_all_ones.mp4", kQuiet, 6, {"01xx45", "01..45", "01..45"}},
    {"reference_count_all_ones.mp4", kQuiet, 6, {"012345", "012345", "012345"}},
    {"references_of_no_size.mp4", kQuiet, 6, {"012345", "012345", "012345"}},
    {"reference_to_the_index_itself.mp4", kQuiet, 6, {"012345", "012345", "012345"}},
    {"reference_past_the_file.mp4", kQuiet, 6, {"012345", "012345", "012345"}},

    // The last number added is the number of fragments.
    {"sequence_number_0.mp4", kQuiet, 4, {"0145", "0145", "0145"}},
    {"sequence_number_0_at_the_end.mp4", kNoChunk},
    {"sequence_number_all_ones.mp4", kQuiet, 6, {"012345", "012345", "012345"}},
    {"sequence_numbers_repeated.mp4", kQuiet, 4, {"0145", "0145", "0145"}},
    {"sequence_numbers_descending.mp4", kQuiet, 2, {"45", "45", "45"}},

    {"data_offset_past_the_file.mp4", kQuiet, 6, {"01xx45", "01..45", "01..45"}},
    {"data_offset_negative.mp4", kQuiet, 6, {"01xx45", "01..45", "01..45"}},
    // One byte before the media data there are bytes, though not the frame's.
    {"data_offset_all_ones.mp4", kQuiet, 6, {"01??45", "012345", "012345"}},
    {"data_offsets_overlapping.mp4", kQuiet, 6, {"012?45", "012345", "012345"}},

    {"configuration_cut_short.mp4", kQuiet, 6, {"012345", "012345", "012345"}},
    {"configuration_size_past_the_sample_entry.mp4", kQuiet, 6, {"012345", "012345", "012345"}},
    {"sample_entry_cut_short.mp4", kQuiet, 6, {"012345", "012345", "012345"}},
    {"timescale_0.mp4", kNoRate},
    {"no_frame_duration.mp4", kNoRate},
    {"track_ids_all_the_same.mp4", kQuiet, 6, {"012345", "??????", "......"}},

    {"caption_packet_longer_than_its_sample.mp4", kQuiet, 6, {"012345", "012345", ".12345"}},
    {"caption_packet_length_past_its_end.mp4", kQuiet, 6, {"012345", "012345", "?12345"}},
    {"caption_pairs_of_one_byte.mp4", kQuiet, 6, {"012345", "..2345", "012345"}},
    {"caption_size_all_ones.mp4", kQuiet, 6, {"012345", "..2345", "012345"}},

    {"manifest_empty.mpd", kNoFile},
    {"manifest_nested_deep.mpd", kNoFile},
    {"manifest_of_no_numbers.mpd", kNoRate},
    {"manifest_of_ranges_outside_the_file.mpd", kQuiet, 6, {"012345", "012345", "012345"}},
    {"manifest_of_a_rate_with_a_comma.mpd", kNoRate},
};

std::string pathOf(const std::string& name) {
  return (std::filesystem::path(VL_CORRUPT_FILES) / name).string();
}

class DamagedFiles : public testing::TestWithParam<Case> {};

TEST_P(DamagedFiles, OpenOrFailAsExpected) {
  LogCapture log;
  const MediaFile file = openFile(pathOf(GetParam().name));
  std::vector<std::string> lines;
  // Every file with audio logs that the tests have FFmpeg switched off.
  for (const LogLine& line : log.lines)
    if (line.level != VL_LOG_CAUTION) lines.push_back(line.text);
  EXPECT_THAT(lines, ElementsAreArray(GetParam().log));
  ASSERT_EQ(file != nullptr, GetParam().total != 0);
  if (!file) return;
  EXPECT_EQ(file->GetTotalFrames(), GetParam().total);
  EXPECT_EQ(readForward(*file), GetParam().frames);
  EXPECT_EQ(readShuffled(*file), GetParam().frames);
  // Closed and opened again, it reads the same.
  file->Close();
  ASSERT_EQ(file->Open(pathOf(GetParam().name).c_str(), VL_GENERIC_READ, VL_SHARE_READ_WRITE, nullptr,
                       VL_OPEN_EXISTING, 0, 0),
            VL_OK);
  EXPECT_EQ(readForward(*file), GetParam().frames);
}

TEST_P(DamagedFiles, CostNoMoreThanIntactOnes) {
  LogCapture log;
  const HostReads before = hostReads();
  const CountingNew counting;
  if (const MediaFile file = openFile(pathOf(GetParam().name))) {
    readForward(*file);
    readShuffled(*file);
  }
  // One window per track, the descriptions; the files have less than four kilobytes.
  EXPECT_LT(counting.peakBytes(), 2u << 20);
  const std::uint64_t reads = hostReads().calls - before.calls;
  EXPECT_EQ(reads == 0, std::filesystem::file_size(pathOf(GetParam().name)) == 0);
  EXPECT_LT(reads, 60u);
}

INSTANTIATE_TEST_SUITE_P(All, DamagedFiles, testing::ValuesIn(kCases), [](const auto& info) {
  std::string name = info.param.name;
  std::replace_if(
      name.begin(), name.end(), [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); }, '_');
  return name;
});

TEST(DamagedFilesOnDisk, MatchTheirGenerator) {
  std::vector<std::string> cases;
  for (const Case& one : kCases) cases.push_back(one.name);
  std::vector<std::string> made;
  for (const DamagedFile& file : damagedFiles()) {
    made.push_back(file.name);
    EXPECT_EQ(readFile(pathOf(file.name)), file.bytes) << file.name;
    EXPECT_LE(file.bytes.size(), 4096u) << file.name;
  }
  EXPECT_EQ(cases, made) << "each has a case";
}

}  // namespace

}  // namespace fmp4

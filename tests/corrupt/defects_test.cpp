// The named defects of each damaged file: those of its boxes, and the first that reading its frames meets.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "streaming/index/seek.h"
#include "streaming/index/track_defaults.h"
#include "tests/corrupt/damaged_files.h"
#include "tests/support/file_tree.h"
#include "tests/support/log_capture.h"
#include "tests/support/places.h"

namespace fmp4 {

namespace {

struct DefectCase {
  std::string name;
  std::string boxes;            // codes with the offsets of their boxes, in the order of reading
  std::string frames = "none";  // the code of the first failure
};

const std::vector<DefectCase> kDefectCases = {
    {"intact.mp4", ""},
    {"empty.mp4", ""},
    {"no_boxes.mp4", "box-past-file 0"},
    {"truncated_inside_the_movie_box.mp4", "box-past-file 24, box-past-file 32"},
    {"truncated_after_the_movie_box.mp4", ""},
    {"truncated_inside_the_last_fragment.mp4", "box-past-file 2287, box-past-file 2335"},
    {"truncated_inside_the_last_media_data.mp4", "box-past-file 2607", "sample-past-file"},
    {"no_movie_box.mp4", ""},
    {"no_fragment_header.mp4", ""},
    {"no_track_fragment_header.mp4", ""},
    {"box_size_0.mp4", "box-size-zero 1854"},
    {"box_size_1_and_no_space_for_the_64_bit_size.mp4", "box-header-truncated 2287"},
    {"box_size_7.mp4", "box-size-below-header 1854"},
    {"box_size_past_the_parent.mp4", "box-past-parent 1493"},
    {"box_size_past_the_file.mp4", "box-past-file 1854", "sample-past-file"},
    {"box_size_past_64_bits.mp4", "box-size-past-64-bits 1425"},
    {"media_data_size_past_the_file.mp4", "box-past-file 1745"},
    {"nested_400_deep.mp4", "boxes-nested-too-deep 256"},
    {"entry_count_all_ones.mp4", ""},
    {"sample_count_all_ones_without_fields.mp4", ""},
    {"sample_count_all_ones_with_sizes.mp4", "count-past-box 1922"},
    {"sample_size_all_ones.mp4", "", "sample-past-file"},
    {"reference_count_all_ones.mp4", "count-past-box 1425"},
    {"references_of_no_size.mp4", ""},
    {"reference_to_the_index_itself.mp4", ""},
    {"reference_past_the_file.mp4", ""},
    {"sequence_number_0.mp4", ""},
    {"sequence_number_0_at_the_end.mp4", ""},
    {"sequence_number_all_ones.mp4", ""},
    {"sequence_numbers_repeated.mp4", ""},
    {"sequence_numbers_descending.mp4", ""},
    {"data_offset_past_the_file.mp4", "", "sample-past-file"},
    {"data_offset_negative.mp4", "", "sample-past-file"},
    {"data_offset_all_ones.mp4", ""},
    {"data_offsets_overlapping.mp4", ""},
    {"configuration_cut_short.mp4", ""},
    {"configuration_size_past_the_sample_entry.mp4", "box-past-parent 567"},
    {"sample_entry_cut_short.mp4", "payload-truncated 481"},
    {"timescale_0.mp4", ""},
    {"no_frame_duration.mp4", ""},
    {"track_ids_all_the_same.mp4", ""},
    {"caption_packet_longer_than_its_sample.mp4", ""},
    {"caption_packet_length_past_its_end.mp4", ""},
    {"caption_pairs_of_one_byte.mp4", ""},
    {"caption_size_all_ones.mp4", ""},
};

class NamedDefects : public testing::TestWithParam<DefectCase> {
 protected:
  NamedDefects() {
    const auto path = std::filesystem::path(VL_CORRUPT_FILES) / GetParam().name;
    stream_.open(path.string().c_str(), MP4_MODE_READ);
  }

  // The first failure of indexing the file and reading the frames of its video track, which has number 1.
  Result readFrames() {
    const FileTree root(stream_, false);
    const TrackDefaults defaults = readTrackDefaults(Mp4BoxChild(root.get(), Mp4FourCc("moov")));
    std::array<IndexedTrack, kTrackRoles> tracks;
    tracks[kVideoTrack] = {1, 30000, defaultsOfTrack(defaults, 1)};
    FragmentIndex index(root.reader(), tracks, {30000, 1001});
    if (const Result built = index.build(); !built.ok()) return built;
    TrackCursor cursor(tracks[kVideoTrack]);
    std::vector<std::uint8_t> frame(root->size);  // no more bytes than these are there to be read
    for (std::uint64_t i = 0; i < std::min<std::uint64_t>(index.total(kVideoTrack), kFrames); ++i) {
      if (const Result found = SeekVideoFrame(index, i, cursor); !found.ok()) return found;
      if (const Result read = cursor.read(index, frame.data()); !read.ok()) return read;
    }
    return {};
  }

  Mp4Stream stream_;
};

TEST_P(NamedDefects, AreThoseOfTheFile) {
  const FileTree root(stream_, true);
  std::string boxes;
  for (const Mp4BoxDefect& found : root.reader().defects().kept()) {
    if (!boxes.empty()) boxes += ", ";
    boxes += std::string(defectCode(found.defect)) + " " + std::to_string(found.offset);
  }
  EXPECT_EQ(boxes, GetParam().boxes);
  LogCapture log;
  EXPECT_EQ(defectCode(readFrames().defect()), GetParam().frames);
}

INSTANTIATE_TEST_SUITE_P(All, NamedDefects, testing::ValuesIn(kDefectCases), [](const auto& info) {
  std::string name = info.param.name;
  std::replace_if(
      name.begin(), name.end(), [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); }, '_');
  return name;
});

TEST(NamedDefectsTable, HasEachMediaFile) {
  std::vector<std::string> cases, made;
  for (const DefectCase& one : kDefectCases) cases.push_back(one.name);
  for (const DamagedFile& file : damagedFiles())
    if (file.name.ends_with(".mp4")) made.push_back(file.name);
  EXPECT_EQ(cases, made);
}

}  // namespace

}  // namespace fmp4

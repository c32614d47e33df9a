#include "tests/corrupt/damaged_files.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <stdexcept>

#include "tests/support/fragments.h"

namespace fmp4 {

namespace {

constexpr std::uint32_t kMax = 0xFFFFFFFF;
constexpr std::uint32_t kVideoId = 1, kAudioId = 2, kCc608Id = 3, kCc708Id = 4;

// The parts of a file; a defect changes some of them.
struct Parts {
  std::vector<TrackSpec> tracks = {videoTrack(kVideoId),
                                   {kAudioId, "soun", 48000, audioEntry("mp4a", 2, 16, 48000), 1024},
                                   {kCc608Id, "clcp", 30000, captionEntry("c608"), 1001},
                                   {kCc708Id, "clcp", 30000, captionEntry("c708"), 1001}};
  std::vector<std::uint32_t> numbers = {1, 2, 3};
  std::vector<std::vector<TrafSpec>> fragments;

  Parts() {
    for (std::uint32_t f = 0; f < kFragments; ++f) fragments.push_back(tracksOf(f));
  }

  Bytes bytes() const {
    Bytes all = join({fileTypeBox(), movieBox(tracks)});
    for (std::size_t f = 0; f < fragments.size(); ++f) all = join({all, fragment(numbers[f], fragments[f])});
    return all;
  }
  RunSpec& videoRun(std::size_t f) { return fragments[f][0].runs[0]; }

 private:
  static std::vector<TrafSpec> tracksOf(std::uint32_t f) {
    TrafSpec video, audio, cc608, cc708;
    RunSpec frames{kRunDataOffset | kRunSize | kRunFlags}, units{kRunDataOffset | kRunSize}, packets = units;
    Bytes pairs;
    for (std::uint32_t i = 0; i < kFramesPerFragment; ++i) {
      const std::uint32_t frame = f * kFramesPerFragment + i;
      frames.samples.push_back({videoOf(frame), 0, i ? kNonSyncSample : 0});
      units.samples.push_back(sampleOf(9, 100 + frame));
      pairs = join({pairs, cc608PairOf(frame)});
      packets.samples.push_back({box("ccdp", {cc708PacketOf(frame)})});
    }
    // One caption sample per fragment holds the pairs of all its frames.
    RunSpec captions{kRunDataOffset | kRunSize | kRunDuration};
    captions.samples = {{box("cdat", {pairs}), 1001 * kFramesPerFragment}};
    video.runs = {frames};
    audio.runs = {units};
    cc608.runs = {captions};
    cc708.runs = {packets};
    audio.trackId = kAudioId;
    cc608.trackId = kCc608Id;
    cc708.trackId = kCc708Id;
    audio.decodeTime = f * 1024 * kFramesPerFragment;
    video.decodeTime = cc608.decodeTime = cc708.decodeTime = f * 1001 * kFramesPerFragment;
    return {video, audio, cc608, cc708};
  }
};

Bytes madeWith(const std::function<void(Parts&)>& defect) {
  Parts parts;
  defect(parts);
  return parts.bytes();
}

// The offset of the `rank`th box of a type, given by its four characters.
std::size_t placeOf(const Bytes& bytes, std::string_view type, std::size_t rank = 0) {
  auto at = bytes.begin();
  for (;; ++at, --rank) {
    at = std::search(at, bytes.end(), type.begin(), type.end());
    if (at == bytes.end()) throw std::logic_error("no such box: " + std::string(type));
    if (rank == 0) return static_cast<std::size_t>(at - bytes.begin()) - 4;
  }
}

Bytes cutAt(std::size_t size) {
  Bytes bytes = intactFile();
  bytes.resize(size);
  return bytes;
}

// The intact file with bytes overwritten, `offset` bytes after the start of a box.
Bytes withBytes(std::string_view type, std::size_t rank, std::size_t offset, const Bytes& over) {
  Bytes bytes = intactFile();
  std::copy(over.begin(), over.end(),
            bytes.begin() + static_cast<std::ptrdiff_t>(placeOf(bytes, type, rank) + offset));
  return bytes;
}
Bytes withSize(std::string_view type, std::size_t rank, std::uint64_t size) {
  return withBytes(type, rank, 0, u32(size));
}

// The intact file with bytes between its movie box and its fragments.
Bytes withBeforeFragments(const Bytes& more) {
  const Bytes entire = intactFile();
  const auto at = entire.begin() + static_cast<std::ptrdiff_t>(placeOf(entire, "moof"));
  return join({Bytes(entire.begin(), at), more, Bytes(at, entire.end())});
}

Bytes nested(std::string_view type, std::size_t depth) {
  Bytes boxes;
  for (std::size_t i = 0; i < depth; ++i) boxes = join({boxes, boxOfSize(8 * (depth - i), type)});
  return boxes;
}

std::string repeated(std::string_view part, std::size_t times) {
  std::string text;
  for (std::size_t i = 0; i < times; ++i) text += part;
  return text;
}

}  // namespace

Bytes videoOf(std::uint32_t frame) {
  return sampleOf(20 + frame, frame).data;
}
Bytes cc608PairOf(std::uint32_t frame) {
  return join({u8(0x80 + frame), u8(0x20 + frame)});
}
Bytes cc708PacketOf(std::uint32_t frame) {
  // A caption distribution packet with only its header: marks, length, rate, flags, number.
  return join({u8(0x96), u8(0x69), u8(7), u8(0x4F), u8(0x43), u16(frame)});
}

Bytes intactFile() {
  return Parts().bytes();
}

std::vector<DamagedFile> damagedFiles() {
  const Bytes entire = intactFile();
  const std::size_t movie = placeOf(entire, "moov");
  const std::size_t firstFragment = placeOf(entire, "moof"), lastFragment = placeOf(entire, "moof", 2);
  const Bytes rateless = madeWith([](Parts& p) { p.tracks[0].duration = 0; });

  return {
      {"intact.mp4", entire},
      {"empty.mp4", {}},
      {"no_boxes.mp4", text("This is no media file, whatever its name may say of it.\n")},
      {"truncated_inside_the_movie_box.mp4", cutAt(movie + 100)},
      {"truncated_after_the_movie_box.mp4", cutAt(firstFragment)},
      {"truncated_inside_the_last_fragment.mp4", cutAt(lastFragment + 60)},
      {"truncated_inside_the_last_media_data.mp4", cutAt(placeOf(entire, "mdat", 2) + 8 + 24 + 5)},
      {"no_movie_box.mp4", withBytes("moov", 0, 4, text("skip"))},
      {"no_fragment_header.mp4", withBytes("mfhd", 1, 4, text("skip"))},
      {"no_track_fragment_header.mp4", withBytes("tfhd", 0, 4, text("skip"))},

      {"box_size_0.mp4", withSize("moof", 1, 0)},
      {"box_size_1_and_no_space_for_the_64_bit_size.mp4",
       join({Bytes(entire.begin(), entire.begin() + static_cast<std::ptrdiff_t>(lastFragment)),
             boxOfSize(1, "moof")})},
      {"box_size_7.mp4", withSize("moof", 1, 7)},
      {"box_size_past_the_parent.mp4", withSize("trun", 0, 0x200)},
      {"box_size_past_the_file.mp4", withSize("moof", 1, 0x7FFFFFFF)},
      {"box_size_past_64_bits.mp4", withBeforeFragments(largeBoxOfSize(~0ull, "moof"))},
      {"media_data_size_past_the_file.mp4", withSize("mdat", 0, 0xFFFFFFF0)},
      {"nested_400_deep.mp4", nested("moov", 400)},

      {"entry_count_all_ones.mp4", withBytes("stsd", 0, 12, u32(kMax))},
      {"sample_count_all_ones_without_fields.mp4", madeWith([](Parts& p) {
         p.fragments[1][0].flags |= kDefaultSize;
         p.videoRun(1) = {kRunDataOffset, {}, 0, 0, std::nullopt, kMax};
       })},
      {"sample_count_all_ones_with_sizes.mp4", madeWith([](Parts& p) { p.videoRun(1).count = kMax; })},
      {"sample_size_all_ones.mp4", withBytes("trun", 4, 20, u32(kMax))},
      {"reference_count_all_ones.mp4",
       withBeforeFragments(
           fullBox("sidx", 0, 0, {zeros(8), u32(0), u32(0), u16(0), u16(0xFFFF), zeros(24)}))},
      {"references_of_no_size.mp4", withBeforeFragments(sidxBox({{0}, {0}, {0}}))},
      {"reference_to_the_index_itself.mp4",
       withBeforeFragments(
           fullBox("sidx", 1, 0, {zeros(8), u64(0), u64(~0ull - 43), u16(0), u16(1), u32(100), zeros(8)}))},
      {"reference_past_the_file.mp4", withBeforeFragments(sidxBox({{100}}, 0x7FFFFFFF))},

      {"sequence_number_0.mp4", madeWith([](Parts& p) { p.numbers[1] = 0; })},
      {"sequence_number_0_at_the_end.mp4", madeWith([](Parts& p) { p.numbers[2] = 0; })},
      {"sequence_number_all_ones.mp4", madeWith([](Parts& p) { p.numbers[2] = kMax; })},
      {"sequence_numbers_repeated.mp4", madeWith([](Parts& p) {
         p.numbers = {1, 2, 2};
       })},
      {"sequence_numbers_descending.mp4", madeWith([](Parts& p) {
         p.numbers = {3, 2, 1};
       })},

      {"data_offset_past_the_file.mp4", madeWith([](Parts& p) { p.videoRun(1).dataOffset = 0x7FFFFFFF; })},
      {"data_offset_negative.mp4", madeWith([](Parts& p) { p.videoRun(1).dataOffset = 0x80000000; })},
      {"data_offset_all_ones.mp4", madeWith([](Parts& p) { p.videoRun(1).dataOffset = kMax; })},
      {"data_offsets_overlapping.mp4", madeWith([](Parts& p) {
         RunSpec first = p.videoRun(1), second = first;
         first.samples.pop_back();
         second.samples.erase(second.samples.begin());
         // From the first byte of the media data, both.
         first.dataOffset = second.dataOffset = 8;
         p.fragments[1][0].runs = {first, second};
       })},

      {"configuration_cut_short.mp4", madeWith([](Parts& p) {
         p.tracks[0].sampleEntry = visualEntry("avc1", 320, 180, box("avcC", {u8(1)}));
       })},
      {"configuration_size_past_the_sample_entry.mp4", withSize("avcC", 0, 0x7FFF)},
      {"sample_entry_cut_short.mp4", madeWith([](Parts& p) {
         p.tracks[0].sampleEntry = box("avc1", {zeros(6), u16(1)});
       })},
      {"timescale_0.mp4", madeWith([](Parts& p) { p.tracks[0].timescale = 0; })},
      {"no_frame_duration.mp4", rateless},
      {"track_ids_all_the_same.mp4", madeWith([](Parts& p) {
         for (TrackSpec& track : p.tracks) track.id = kVideoId;
       })},

      {"caption_packet_longer_than_its_sample.mp4", withSize("ccdp", 0, 0x1000)},
      {"caption_packet_length_past_its_end.mp4", withBytes("ccdp", 0, 10, u8(0xFF))},
      {"caption_pairs_of_one_byte.mp4",
       madeWith([](Parts& p) { p.fragments[0][2].runs[0].samples[0].data = u8(0x80); })},
      {"caption_size_all_ones.mp4", withBytes("trun", 2, 24, u32(kMax))},

      {"manifest_empty.mpd", {}},
      {"manifest_nested_deep.mpd", text(repeated("<MPD>", 300) + repeated("</MPD>", 300))},
      {"manifest_of_no_numbers.mpd",
       text("<MPD><Period><AdaptationSet frameRate=\"fast\" width=\"-1\" height=\"1e9\">"
            "<Representation mimeType=\"video/mp4\"><BaseURL>no_frame_duration.mp4</BaseURL><SegmentList>"
            "<SegmentURL indexRange=\"here\"/><SegmentURL indexRange=\"-\"/>"
            "<SegmentURL indexRange=\"99999999999999999999-1\"/></SegmentList></Representation>"
            "</AdaptationSet></Period></MPD>")},
      {"manifest_of_ranges_outside_the_file.mpd",
       text("<MPD><Period><AdaptationSet><Representation mimeType=\"video/mp4\"><BaseURL>intact.mp4</BaseURL>"
            "<SegmentList><SegmentURL indexRange=\"18446744073709551615-0\"/>"
            "<SegmentURL indexRange=\"1000000-0\"/><SegmentURL indexRange=\"1-2\"/></SegmentList>"
            "</Representation></AdaptationSet></Period></MPD>")},
      {"manifest_of_a_rate_with_a_comma.mpd",
       text("<MPD><Period><AdaptationSet frameRate=\"29,97\"><Representation mimeType=\"video/mp4\">"
            "<BaseURL>no_frame_duration.mp4</BaseURL></Representation></AdaptationSet></Period></MPD>")},
  };
}

}  // namespace fmp4

// Recordings that are made to be interrupted, and what must hold for them whatever happened.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <regex>
#include <string>

#include "base/user_error.h"
#include "mp4box/boxes/sidx.h"
#include "mp4box/boxes/trun.h"
#include "recording/check/repair.h"
#include "recording/check/verify.h"
#include "tests/plugin/recording.h"
#include "tests/support/fault_host.h"
#include "tests/support/file_tree.h"
#include "tool/source/source_file.h"

namespace fmp4 {

// A key frame every two frames: fragments of 2 frames, segments of 20.
inline constexpr std::uint32_t kInterval = 2;
inline constexpr std::uint32_t kFragmentFrames = 2;
inline constexpr std::uint32_t kSegmentFrames = 20;
// Access units in a fragment of a separate audio file: 3.13 for two video frames, rounded up.
inline constexpr std::uint32_t kAudioFragmentFrames = 4;

// Small frames; consecutive ones differ in size.
inline Bytes videoBytes(std::uint32_t frame) {
  return frameBytes(frame, 10 + frame % 7);
}
inline Bytes audio(std::uint32_t frame) {
  return frameBytes(frame, 5 + frame % 3);
}

// Access units of audio that play until the end of so many video frames.
inline std::uint32_t audioOf(std::uint32_t frames) {
  return static_cast<std::uint32_t>(std::uint64_t{frames} * 48000 * 1001 / (30000ull * 1024));
}

struct Kind {
  const char* name;  // given for the recording
  bool hasAudio;
  std::uint32_t captions;

  bool audioApart() const { return hasAudio && media() == "out.m4v"; }
  std::string media() const { return std::string(name) == "out.mp4" ? "out.m4v" : name; }
  std::string manifest() const { return std::string(name) == "out.mp4" ? "out.mpd" : "out.xml"; }
};
inline constexpr Kind kVideoAlone{"out.mp4", false, 0};
inline constexpr Kind kAudioApart{"out.mp4", true, 0};
inline constexpr Kind kAllInOne{"out.ismv", true, QVR_CAPTIONS_608 | QVR_CAPTIONS_708};

inline MediaFile startKind(const TempFolder& folder, const Kind& kind) {
  RecordingDescription d;
  d.audioMask = kind.hasAudio ? 3 : 0;
  d.captions = kind.captions;
  MediaFile file = createFile(folder.file(kind.name));
  if (!file) return file;
  file->SetCodecOption(1, 0, 8, kInterval, nullptr);
  describeVideo(*file, d);
  if (kind.hasAudio) describeAudio(*file, d);
  return file;
}

// Writes video frames, each after the audio that plays with it. Returns whether all were accepted.
inline bool writeAll(CAMediaFile& file, const Kind& kind, std::uint32_t frames) {
  std::uint32_t audioUnits = 0;
  for (std::uint32_t i = 0; i < frames; ++i) {
    for (; kind.hasAudio && audioUnits < audioOf(i + 1); ++audioUnits) {
      if (writeSample(file, 3, QVR_MODE_AUDIO, audio(audioUnits), audioUnits) != VL_OK) return false;
    }
    const auto flags = i % kInterval == 0 ? DFRAME_KEY : DFRAME_NOT_KEY;
    if (writeSample(file, 1, QVR_MODE_VIDEO, videoBytes(i), i, flags) != VL_OK) return false;
  }
  return true;
}

// All files of a folder, by name.
inline std::map<std::string, Bytes> filesOf(const TempFolder& folder) {
  std::map<std::string, Bytes> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
    files[entry.path().filename().string()] = readFile(entry.path());
  return files;
}

inline void fill(const TempFolder& folder, const std::map<std::string, Bytes>& files) {
  for (const auto& [name, bytes] : files) writeFile(folder.file(name), bytes);
}

// Samples of a track in the complete fragments of a file, counted here.
inline std::uint32_t completeSamples(const std::string& path, const std::string& track = "traf") {
  const std::uint64_t size = std::filesystem::file_size(path);
  BoxFile file(path);
  std::uint32_t samples = 0;
  for (Mp4Box* box = file.root->first; box && box->next; box = box->next) {
    if (box->type != Mp4FourCc("moof") || box->next->end() > size) continue;
    const auto* trun =
        Mp4PayloadOf<mp4::TrackRunBox>(Mp4BoxGet(nullptr, box, true, "%s/trun", track.c_str()));
    if (trun) samples += trun->sampleCount;
  }
  return samples;
}

// A segment that a list names: the bytes [start, end) of a file.
struct ListedSegment {
  std::string media;
  std::uint64_t start = 0;
  std::uint64_t end = 0;
  bool operator==(const ListedSegment&) const = default;
};

// The segments of a playlist, whose lines must all be complete.
inline std::vector<ListedSegment> segmentsOfPlaylist(const std::string& text) {
  if (text.empty()) return {};  // created, and its header not written yet
  static const std::regex header(
      "#EXTM3U\n#EXT-X-VERSION:7\n#EXT-X-TARGETDURATION:[0-9]+\n#EXT-X-MEDIA-SEQUENCE:0\n"
      "#EXT-X-INDEPENDENT-SEGMENTS\n#EXT-X-MAP:URI=\"[^\"]+\",BYTERANGE=\"[0-9]+@0\"\n"
      "#EXT-X-PROGRAM-DATE-TIME:[0-9TZ:.-]+\n((?:#EXTINF:[^#]*#EXT-X-BYTERANGE:[^#]*)*)(?:#EXT-X-ENDLIST\n)"
      "?");
  static const std::regex entry(
      "#EXTINF:[0-9]+\\.[0-9]{3},\n#EXT-X-BYTERANGE:([0-9]+)@([0-9]+)\n([^\n#]+)\n");
  std::smatch entire;
  EXPECT_TRUE(std::regex_match(text, entire, header)) << text;
  std::vector<ListedSegment> segments;
  std::string rest = entire.size() > 1 ? entire[1].str() : "";
  for (std::smatch match; std::regex_search(rest, match, entry, std::regex_constants::match_continuous);
       rest = match.suffix())
    segments.push_back({match[3], std::stoull(match[2]), std::stoull(match[2]) + std::stoull(match[1])});
  EXPECT_EQ(rest, "") << "entries are complete";
  return segments;
}

// The segments of a manifest, which must be a complete document.
inline std::vector<ListedSegment> segmentsOfManifest(const std::string& text) {
  EXPECT_EQ(text.rfind("</MPD>\n"), text.size() - 7) << text;
  static const std::regex part("<BaseURL>([^<]+)</BaseURL>|mediaRange=\"([0-9]+)-([0-9]+)\"");
  std::vector<ListedSegment> segments;
  std::string media;
  for (std::sregex_iterator match(text.begin(), text.end(), part), end; match != end; ++match) {
    if ((*match)[1].matched)
      media = (*match)[1];
    else
      segments.push_back({media, std::stoull((*match)[2]), std::stoull((*match)[3]) + 1});
  }
  return segments;
}

// The segments that the lists of a folder name, by list.
inline std::map<std::string, std::vector<ListedSegment>> listedIn(const TempFolder& folder) {
  std::map<std::string, std::vector<ListedSegment>> lists;
  for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
    const std::string name = entry.path().filename().string();
    const std::string text = textOf(entry.path().string());
    if (name.ends_with(".m3u8")) lists[name] = segmentsOfPlaylist(text);
    if (name.ends_with(".mpd") || name.ends_with(".xml")) lists[name] = segmentsOfManifest(text);
  }
  return lists;
}

// A listed segment is on the disk: an index, then complete fragments, as many bytes as the index says.
inline void expectIntact(const TempFolder& folder, const ListedSegment& segment) {
  const Bytes bytes = readFile(folder.file(segment.media));
  ASSERT_LE(segment.end, bytes.size()) << segment.media;
  const std::uint64_t length = segment.end - segment.start;
  Mp4MemoryStream stream(bytes.data() + segment.start, length);
  const FileTree root(stream, true);
  const auto* index = Mp4PayloadOf<mp4::SegmentIndexBox>(root->first);
  ASSERT_NE(index, nullptr) << segment.media << " at " << segment.start;
  std::uint64_t end = root->first->end();
  for (const auto& reference : index->references) end += reference.referencedSize;
  EXPECT_EQ(end, length);
  EXPECT_EQ(root->last->end(), length);
  EXPECT_EQ(root->last->type, Mp4FourCc("mdat"));
}

inline void expectListsIntact(const TempFolder& folder) {
  for (const auto& [name, segments] : listedIn(folder)) {
    for (const ListedSegment& segment : segments) expectIntact(folder, segment);
  }
}

// Every video frame, and nothing else, reads back through the plug-in.
inline void expectFrames(const std::string& path, std::uint32_t frames) {
  const MediaFile file = openFile(path);
  ASSERT_NE(file, nullptr) << path;
  ASSERT_EQ(file->GetTotalFrames(), frames) << path;
  for (std::uint32_t i = 0; i < frames; ++i)
    ASSERT_EQ(readFrame(*file, i).data, videoBytes(i)) << path << ' ' << i;
}

// Every access unit of audio is there.
inline void expectAudio(const std::string& path, std::uint32_t frames) {
  SourceFile file(path);
  const SourceTrack* const track = file.trackOfHandler(Mp4FourCc("soun"));
  ASSERT_EQ(track ? track->samples.size() : 0, frames) << path;
  for (std::uint32_t i = 0; i < frames; ++i) {
    const auto bytes = file.read(*track, i);
    ASSERT_EQ(Bytes(bytes.begin(), bytes.end()), audio(i)) << path << ' ' << i;
  }
}

inline std::string problemsOf(const Verification& verification) {
  std::string text;
  for (const Problem& problem : verification.problems.kept())
    text += problem.file + ": " + problem.text + "\n";
  return text;
}

// Whether a media file has its complete initialisation part.
inline bool hasMovie(const std::string& path) {
  constexpr std::uint64_t kFileType = 28;
  const std::uint64_t size = std::filesystem::file_size(path);
  if (size < kFileType) return false;
  const BoxFile file(path);
  return file.topLevel().starts_with("ftyp moov") && file.root->first->next->end() <= size;
}

// Repairs what is left of a recording and compares the result with what was complete before: nothing of it is
// lost, all of it is listed, verification finds no problem, and a second repair changes nothing.
inline void expectRepairable(const TempFolder& folder, const Kind& kind) {
  const std::string media = folder.file(kind.media());
  if (!hasMovie(media)) {
    EXPECT_THROW(repairRecording(media), UserError);
    return;
  }
  const auto listed = listedIn(folder);
  const std::uint32_t frames = completeSamples(media);
  const std::string audioFile = folder.file(kind.audioApart() ? "out.m4a" : kind.media());
  const std::uint32_t audioUnits =
      !kind.hasAudio ? 0 : completeSamples(audioFile, kind.audioApart() ? "traf" : "traf[1]");

  repairRecording(media);
  const Verification verification = verifyRecording(media);
  EXPECT_EQ(verification.problems.count(), 0u) << problemsOf(verification);
  EXPECT_EQ(verification.frames, frames);
  EXPECT_EQ(verification.audioFrames, audioUnits);
  expectListsIntact(folder);
  for (const auto& [name, before] : listed) {
    const auto after = listedIn(folder)[name];
    for (const ListedSegment& segment : before) {
      if (segment.end > std::filesystem::file_size(folder.file(segment.media))) continue;
      EXPECT_NE(std::find(after.begin(), after.end(), segment), after.end())
          << name << " lost " << segment.start;
    }
  }
  if (frames != 0) {
    expectFrames(media, frames);
    expectFrames(folder.file(kind.manifest()), frames);
  }
  if (audioUnits != 0) expectAudio(audioFile, audioUnits);

  const auto once = filesOf(folder);
  EXPECT_TRUE(repairRecording(media).empty());
  EXPECT_EQ(filesOf(folder), once) << "a second repair changes nothing";
}

}  // namespace fmp4

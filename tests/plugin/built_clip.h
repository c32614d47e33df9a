// Audio files built from the access units of real ones, with any changes.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/audio/streams.h"
#include "tests/plugin/loaded_plugin.h"
#include "tests/support/ffmpeg.h"
#include "tests/support/fragments.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

// Coded stereo audio at 48 kHz.
struct CodedAudio {
  std::uint32_t unitFrames;
  Bytes sampleEntry;
  std::vector<Bytes> units;
};

// The packets that ffmpeg makes of a second of two sweeps, in which no two positions are alike.
inline std::vector<Bytes> codedSweeps(const std::vector<std::string>& codec) {
  const TempFolder folder;
  const std::string source = folder.file("source.mp4");
  const std::string sweeps =
      "aevalsrc=0.4*sin(200*t*t*6.28)+0.1*sin(5000*t)|0.4*cos(300*t*t*6.28):s=48000:d=1";
  makeMedia(source, std::vector<std::string>{"-f", "lavfi", "-i", sweeps} + codec +
                        std::vector<std::string>{"-movflags", "empty_moov+delay_moov"});
  const std::vector<std::uint8_t> bytes = readFile(source);
  std::vector<Bytes> packets;
  for (const Packet& packet : ffprobePackets(source, "a:0", {"-ignore_editlist", "1"})) {
    const auto at = bytes.begin() + packet.offset;
    packets.emplace_back(at, at + packet.size);
  }
  return packets;
}

// Made once per test program.
inline const CodedAudio& aacAudio() {
  static const CodedAudio audio = {1024, audioEntry("mp4a", 2, 16, 48000, elementaryStreamBox()),
                                   codedSweeps({"-c:a", "aac", "-aac_pns", "0", "-b:a", "128k"})};
  return audio;
}
inline const CodedAudio& ac3Audio() {
  static const CodedAudio audio = {1536, audioEntry("ac-3", 2, 16, 48000),
                                   codedSweeps({"-c:a", "ac3", "-b:a", "192k"})};
  return audio;
}

// HE-AAC, whose configuration signals the core only.
inline CodedAudio heAacAudioOf(const char* file, std::uint16_t configuration) {
  CodedAudio audio = {2048, audioEntry("mp4a", 2, 16, 48000, elementaryStreamBox(0x40, configuration)), {}};
  for (const Bytes& frame : SplitAdts(readFile(std::string(VL_TEST_DATA) + "/" + file)))
    audio.units.emplace_back(frame.begin() + 7, frame.end());
  return audio;
}
inline const CodedAudio& heAacAudio() {
  static const CodedAudio audio = heAacAudioOf("he_v1_stereo_48k.aac", 0x1310);
  return audio;
}
inline const CodedAudio& heAacV2Audio() {
  static const CodedAudio audio = heAacAudioOf("he_v2_48k.aac", 0x1308);
  return audio;
}

// The audio as the only run of its track, each access unit with the duration it decodes to.
inline RunSpec runOf(const CodedAudio& audio) {
  RunSpec run{kRunDataOffset | kRunSize | kRunDuration};
  for (const Bytes& unit : audio.units) run.samples.push_back({unit, audio.unitFrames});
  return run;
}

// A track of a file: its sample entry and its access units.
using AudioTrackOf = std::pair<Bytes, RunSpec>;

// A file of such tracks with a single fragment.
inline Bytes audioFile(const std::vector<AudioTrackOf>& tracks) {
  std::vector<TrackSpec> specs;
  std::vector<TrafSpec> trafs;
  std::uint32_t trackId = 2;
  for (const auto& [entry, run] : tracks) {
    specs.push_back({trackId, "soun", 48000, entry, 1024});
    TrafSpec traf;
    traf.trackId = trackId++;
    traf.runs = {run};
    trafs.push_back(traf);
  }
  return join({fileTypeBox(), movieBox(specs), fragment(1, trafs)});
}

// A file of bytes, opened.
struct BuiltFile {
  TempFolder folder;
  std::string path = folder.file("clip.m4a");
  MediaFile file;

  explicit BuiltFile(const Bytes& bytes) {
    writeFile(path, bytes);
    file = openFile(path);
  }
  explicit BuiltFile(const std::vector<AudioTrackOf>& tracks) : BuiltFile(audioFile(tracks)) {}
  CAMediaFile& operator*() const { return *file; }
};

// Audio whose run `change` has modified.
template <class Change>
BuiltFile builtClip(const CodedAudio& audio, Change change) {
  RunSpec run = runOf(audio);
  change(run);
  return BuiltFile({AudioTrackOf{audio.sampleEntry, run}});
}

}  // namespace fmp4

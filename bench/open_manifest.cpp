// Opening a day of two media files through a manifest that lists their segments, compared with opening the
// two files alone.
#include <cstdio>
#include <filesystem>

#include "bench/host.h"
#include "bench/measure.h"
#include "streaming/lists/mpd_writer.h"
#include "tests/support/day_file.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

// The files of one day, NAME.mpd with its media, and these media without a manifest.
struct ManifestDay {
  std::string manifest, videoAlone, audioAlone;
};

MpdSegments listOf(const std::string& mediaName, const DayFile& file, std::uint32_t timescale,
                   std::uint32_t ticks) {
  return {mediaName, timescale, std::uint64_t{ticks} * file.fragmentsPerSegment, file.headerBytes - 1};
}

void addSegments(MpdWriter& manifest, MpdWriter::List list, const DayFile& file) {
  for (const DayFile::Segment& segment : file.segments) {
    manifest.reserveSegment(list);
    manifest.AddSegment(list, segment.start, segment.end, segment.indexEnd);
  }
}

ManifestDay writeDay(const TempFolder& folder, std::uint32_t fragmentsPerSegment) {
  const std::string name = "day" + std::to_string(fragmentsPerSegment);
  const std::string video = folder.file(name + ".m4v"), audio = folder.file(name + ".m4a");
  const ManifestDay day = {folder.file(name + ".mpd"), folder.file(name + "-video.m4v"),
                           folder.file(name + "-audio.m4a")};
  DayFile videoFile, audioFile;
  videoFile.hasAudio = audioFile.hasVideo = videoFile.hasMedia = audioFile.hasMedia = false;
  videoFile.fragmentsPerSegment = audioFile.fragmentsPerSegment = fragmentsPerSegment;
  videoFile.write(video);
  audioFile.write(audio);
  MpdWriter manifest(day.manifest);
  MpdVideo description;
  description.width = 320;
  description.height = 180;
  description.rate = {30, 1};
  description.segments = listOf(name + ".m4v", videoFile, 30, DayFile::kVideoSamples);
  description.startTime = "2026-01-01T00:00:00Z";
  addSegments(manifest, manifest.beginVideo(description, true), videoFile);
  MpdAudio sound;
  sound.objectType = 0x40;
  sound.segments = listOf(name + ".m4a", audioFile, 48000, DayFile::kAudioSamples * 1024);
  addSegments(manifest, manifest.beginAudio(sound), audioFile);
  if (!manifest.save(os::Durability::EitherContent)) throw std::runtime_error("the manifest is not saved");
  std::filesystem::create_hard_link(video, day.videoAlone);
  std::filesystem::create_hard_link(audio, day.audioAlone);
  return day;
}

// Both measured in this process, as a host opens them.
bool reportDay(MediaFileEntry entry, const ManifestDay& day, const DayFile& file) {
  std::vector<Measured> together, alone;
  alternate(
      7, together, alone,
      [&] { return measureWork([&] { const OpenRecording recording(entry, day.manifest); }); },
      [&] {
        return measureWork([&] {
          { const OpenRecording video(entry, day.videoAlone); }
          const OpenRecording audio(entry, day.audioAlone);
        });
      });
  const std::uint32_t segments = file.fragments / file.fragmentsPerSegment;
  std::printf("%u segments: %.3f s, the two files alone %.3f s (user and system, median of 7)\n", segments,
              medianOf(together, &Measured::cpuSeconds), medianOf(alone, &Measured::cpuSeconds));
  const std::string what = "opening a manifest of " + std::to_string(segments) + " segments over its files";
  return report(what.c_str(), ratioOf(together, alone, &Measured::cpuSeconds), "<=", 1.3);
}

}  // namespace

}  // namespace fmp4

using namespace fmp4;

int main() {
  const TempFolder folder;
  const MediaFileEntry entry = mediaFileEntry();
  bool met = true;
  for (const std::uint32_t fragmentsPerSegment : {10u, 1u}) {
    DayFile file;
    file.fragmentsPerSegment = fragmentsPerSegment;
    met = reportDay(entry, writeDay(folder, fragmentsPerSegment), file) && met;
  }
  return met ? 0 : 1;
}

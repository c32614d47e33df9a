// Recordings made by the module's own writers, to be checked and repaired.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/bytes.h"
#include "mp4box/box_type.h"
#include "os/path_name.h"
#include "recording/check/verify.h"
#include "recording/write/audio_recording.h"
#include "recording/write/video_recording.h"
#include "tests/support/box_builder.h"
#include "tests/support/temp_folder.h"
#include "vlutil.h"

namespace fmp4 {

// What is recorded: fragments of 2 frames, segments of 3 fragments, at 25 frames a second.
struct MadeKind {
  std::uint32_t frames = 15;  // two full segments and a part of a third, whose last fragment is not full
  bool audio = false;
  bool separateAudio = false;
  bool captions = false;
  std::uint32_t samplesPerUnit = 1024;
  FrameRate rate = {25000, 1000};
  std::size_t sampleBytes = 600;  // at least
};

inline constexpr std::uint32_t kMadeSegmentFrames = 6;

inline AudioSettings madeAudio(std::uint32_t samplesPerUnit = 1024) {
  return {48000, 16000, samplesPerUnit, {0x11, 0x90}};
}

inline VideoSettings madeVideo(const MadeKind& kind) {
  VideoSettings settings;
  settings.geometry = {2, 3};
  settings.rate = kind.rate;
  settings.width = 320;
  settings.height = 180;
  settings.avcRecord = {1, 0x64, 0, 0x1E, 0xFF, 0xE0, 0};
  settings.captions608 = settings.captions708 = kind.captions;
  if (kind.audio && !kind.separateAudio) settings.audio = madeAudio();
  return settings;
}

// The bytes of a sample: no zeros, and unlike those of its neighbours.
inline Bytes madeSample(std::uint32_t number, std::size_t size = 600) {
  Bytes bytes(size + number % 7);
  for (std::size_t i = 0; i < bytes.size(); ++i)
    bytes[i] = static_cast<std::uint8_t>(1 + (number * 31 + i * 7) % 255);
  return bytes;
}

// A recording in progress in a folder, by the name "out".
class MadeRecording {
 public:
  MadeRecording(const TempFolder& folder, const MadeKind& kind)
      : kind_(kind), manifest_(folder.file("out.mpd")) {
    EXPECT_TRUE(video_.create(folder.file("out.m4v")));
    EXPECT_TRUE(video_.start(madeVideo(kind), &manifest_, kind.separateAudio));
    if (!kind.separateAudio) return;
    EXPECT_TRUE(audio_.create(folder.file("out.m4a")));
    EXPECT_TRUE(
        audio_.start(madeAudio(kind.samplesPerUnit), madeVideo(kind).geometry, kind.rate, &manifest_));
  }

  std::uint32_t writeFrame(std::int32_t compositionOffset = 0) {
    Bytes bytes = madeSample(frames_, kind_.sampleBytes);
    DFRAME frame{};
    frame.size = sizeof frame;
    frame.data = bytes.data();
    frame.bytes = static_cast<std::uint32_t>(bytes.size());
    frame.flags = frames_ % 2 == 0 ? DFRAME_KEY : DFRAME_NOT_KEY;
    frame.compositionOffset = compositionOffset;
    ++frames_;
    return video_.writeVideo(frame);
  }
  std::uint32_t writeUnit() {
    Bytes bytes = madeSample(1000 + units_++);
    if (kind_.samplesPerUnit == 1536) {
      bytes[0] = 0x0B;
      bytes[1] = 0x77;
    }
    return kind_.separateAudio ? audio_.write(bytes) : video_.writeAudio(bytes);
  }
  // All frames, each after the access units that play until its end.
  void writeAll() {
    for (std::uint32_t i = 0; i < kind_.frames; ++i) {
      const std::uint64_t due = scaleExactly((i + 1) * std::uint64_t{48000}, kind_.rate.denominator,
                                             std::uint64_t{kind_.rate.numerator} * kind_.samplesPerUnit);
      while (kind_.audio && units_ < due) {
        EXPECT_EQ(writeUnit(), VL_OK);
      }
      EXPECT_EQ(writeFrame(), VL_OK);
    }
  }
  bool finish() {
    const bool complete = !kind_.separateAudio || audio_.finish();
    return video_.finish() && complete;
  }

  VideoRecording& video() { return video_; }
  AudioRecording& audio() { return audio_; }
  std::uint32_t units() const { return units_; }

 private:
  MadeKind kind_;
  MpdWriter manifest_;
  VideoRecording video_;
  AudioRecording audio_;
  std::uint32_t frames_ = 0, units_ = 0;
};

// A complete recording of a kind in a folder of its own.
struct MadeFiles {
  TempFolder folder;
  std::string media = folder.file("out.m4v");

  explicit MadeFiles(const MadeKind& kind = {}, int unitsAfterTheLastFrame = 0) {
    MadeRecording recording(folder, kind);
    recording.writeAll();
    for (int i = 0; i < unitsAfterTheLastFrame; ++i) EXPECT_EQ(recording.writeUnit(), VL_OK);
    EXPECT_TRUE(recording.finish());
  }

  // The lines of a text file, with line ends as \n.
  std::string text(const std::string& name) const {
    std::ifstream file(vlPath(folder.file(name)));
    return {std::istreambuf_iterator<char>(file), {}};
  }
  void edit(const std::string& name, const std::string& from, const std::string& to) const {
    std::string changed = text(name);
    const std::size_t at = changed.find(from);
    ASSERT_NE(at, std::string::npos) << from;
    std::ofstream(vlPath(folder.file(name))) << changed.replace(at, from.size(), to);
  }
  template <class Change>
  void change(const std::string& name, Change change) const {
    Bytes bytes = readFile(vlPath(folder.file(name)));
    change(bytes);
    writeFile(vlPath(folder.file(name)), bytes);
  }
};

// The offsets of the top-level boxes of a type.
inline std::vector<std::size_t> offsetsOf(const Bytes& bytes, std::uint32_t type) {
  std::vector<std::size_t> offsets;
  for (std::size_t at = 0; at + 8 <= bytes.size(); at += Mp4LoadU32(&bytes[at]))
    if (Mp4LoadU32(&bytes[at + 4]) == type) offsets.push_back(at);
  return offsets;
}

// The offset of the first text of four characters from an offset on.
inline std::size_t typeAfter(const Bytes& bytes, std::size_t from, std::string_view type) {
  const auto at = bytes.begin() + static_cast<std::ptrdiff_t>(from);
  return static_cast<std::size_t>(std::search(at, bytes.end(), type.begin(), type.end()) - bytes.begin());
}

inline void storeU32(Bytes& bytes, std::size_t at, std::uint32_t value) {
  const Bytes number = u32(value);
  std::copy(number.begin(), number.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
}

// "FILE: TEXT" of each problem; those that cannot be repaired end with "(stays)".
inline std::vector<std::string> problemsIn(const Verification& verification) {
  std::vector<std::string> texts;
  for (const Problem& problem : verification.problems.kept())
    texts.push_back(problem.file + ": " + problem.text + (problem.repairable ? "" : " (stays)"));
  return texts;
}

}  // namespace fmp4

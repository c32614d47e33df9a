// Recording through the plug-in as a host does, and inspecting what it has written.
#pragma once

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "mp4box/box.h"
#include "tests/plugin/loaded_plugin.h"
#include "tests/support/box_builder.h"
#include "tests/support/file_tree.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

inline MFXOPEN writeRequest(const std::string& path, std::uint32_t openFlags = 0) {
  return {147,
          VL_GENERIC_READ | VL_GENERIC_WRITE,
          path.c_str(),
          VL_SHARE_READ_WRITE,
          VL_CREATE_ALWAYS,
          nullptr,
          0,
          openFlags};
}

// An object that writes `path`, null when the plug-in refuses.
inline MediaFile createFile(const std::string& path, std::uint32_t openFlags = 0) {
  MFXOPEN request = writeRequest(path, openFlags);
  return MediaFile(objectOf(plugin().media(nullptr, 1, &request)));
}

// An avcC box with one sequence and one picture parameter set.
inline Bytes avcBox() {
  return box("avcC", {u8(1), u8(0x64), u8(0x1F), u8(0x1E), u8(0xFF), u8(0xE1), u16(4), Bytes{0x67, 1, 2, 3},
                      u8(1), u16(2), Bytes{0x68, 9}});
}

// A host's description of the streams of a recording.
struct RecordingDescription {
  std::uint32_t rate = 30000;
  std::uint32_t scale = 1001;
  std::int32_t width = 320;
  std::int32_t height = 180;
  Bytes configuration = avcBox();
  std::uint32_t audioMask = 0;
  std::uint32_t sampleRate = 48000;
  std::uint16_t channels = 2;
  Bytes audioConfiguration = join({u8(0x11), u8(0x90)});
  std::uint32_t captions = 0;
};

// Two channels of audio beside the video.
inline RecordingDescription withAudio(std::uint32_t sampleRate = 48000) {
  RecordingDescription d;
  d.audioMask = 3;
  d.sampleRate = sampleRate;
  return d;
}

inline std::uint32_t describeVideo(CAMediaFile& file, const RecordingDescription& d) {
  const Described defaults = describe(file);
  QVRVIDEO& video = *defaults.video;
  video.bitmap.width = d.width;
  video.bitmap.height = d.height;
  video.stream.rate = d.rate;
  video.stream.scale = d.scale;
  std::copy(d.configuration.begin(), d.configuration.end(), video.colourTable);
  QVRINFO info = defaults.info;
  info.captions = d.captions;
  return file.SetFileInfo(1, nullptr, &video, nullptr, &info);
}

inline std::uint32_t describeAudio(CAMediaFile& file, const RecordingDescription& d) {
  QVRAUDIO audio = describe(file).audio;
  audio.codec = 0x6D703461;
  audio.wave.samplesPerSecond = d.sampleRate;
  audio.wave.channels = d.channels;
  audio.wave.averageBytesPerSecond = 16000;
  audio.wave.extraSize = static_cast<std::uint16_t>(d.audioConfiguration.size());
  std::copy(d.audioConfiguration.begin(), d.audioConfiguration.end(), audio.wave.extra);
  return file.SetFileInfo(d.audioMask, nullptr, nullptr, &audio, nullptr);
}

// An object that is ready to accept samples.
inline MediaFile startRecording(const std::string& path, const RecordingDescription& d = {},
                                std::uint32_t interval = 1) {
  MediaFile file = createFile(path);
  if (!file) return file;
  file->SetCodecOption(1, 0, 8, interval, nullptr);
  EXPECT_EQ(describeVideo(*file, d), VL_OK);
  if (d.audioMask != 0) {
    EXPECT_EQ(describeAudio(*file, d), VL_OK);
  }
  return file;
}

// The bytes of a frame, unique to it.
inline Bytes frameBytes(std::uint32_t frame, std::size_t size = 100) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(frame * 31 + i * 7);
  return bytes;
}

inline std::uint32_t writeSample(CAMediaFile& file, std::uint32_t mask, std::uint32_t mode,
                                 const Bytes& bytes, std::uint32_t frame = 0,
                                 std::uint32_t flags = DFRAME_KEY, std::int32_t compositionOffset = 0) {
  DFRAME descriptor{};
  descriptor.size = sizeof descriptor;
  descriptor.data = const_cast<std::uint8_t*>(bytes.data());
  descriptor.bytes = static_cast<std::uint32_t>(bytes.size());
  descriptor.flags = flags;
  descriptor.compositionOffset = compositionOffset;
  return file.Write(frame, 1, mask, mode, &descriptor, nullptr);
}

// Frames `first` to `first + count - 1`, a key frame every `interval`.
inline void writeFrames(CAMediaFile& file, std::uint32_t count, std::uint32_t first = 0,
                        std::uint32_t interval = 30) {
  for (std::uint32_t i = first; i < first + count; ++i) {
    ASSERT_EQ(writeSample(file, 1, QVR_MODE_VIDEO, frameBytes(i), i,
                          i % interval == 0 ? DFRAME_KEY : DFRAME_NOT_KEY),
              VL_OK);
  }
}

inline void writeAudio(CAMediaFile& file, std::uint32_t count, std::uint32_t first = 0,
                       std::uint32_t mask = 3) {
  for (std::uint32_t i = first; i < first + count; ++i)
    ASSERT_EQ(writeSample(file, mask, QVR_MODE_AUDIO, frameBytes(i, 20), i), VL_OK);
}

inline std::uint32_t closeFile(MediaFile& file) {
  MFXCLOSE close{};
  return file->MFXCmd(MFX_CLOSE, &close);
}

// The boxes of a file, all of them.
struct BoxFile {
  explicit BoxFile(const std::string& path) : stream(path), root(stream, true) {}
  Mp4Box* at(const std::string& path) { return Mp4BoxGet(nullptr, root.get(), true, "%s", path.c_str()); }
  template <class Payload>
  const Payload* get(const std::string& path) {
    return Mp4PayloadOf<Payload>(at(path));
  }
  // "ftyp moov sidx moof mdat ..."
  std::string topLevel() const {
    std::string names;
    for (const Mp4Box* box = root->first; box; box = box->next) {
      if (!names.empty()) names += ' ';
      for (int shift = 24; shift >= 0; shift -= 8) names += static_cast<char>(box->type >> shift & 0xFF);
    }
    return names;
  }

  struct Opened : Mp4Stream {
    explicit Opened(const std::string& path) { open(path.c_str(), MP4_MODE_READ); }
  };
  Opened stream;
  FileTree root;
};

// The lines of a text, whatever the system's line ending.
inline std::string textOf(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

// The text with every date and time replaced by "NOW".
inline std::string withoutTime(std::string text) {
  for (std::size_t place = 0; (place = text.find("20", place)) != std::string::npos; ++place) {
    const std::size_t length = std::strlen("2016-09-21T08:15:30.250Z");
    if (place + length <= text.size() && text[place + 10] == 'T' && text[place + 23] == 'Z')
      text.replace(place, length, "NOW");
  }
  return text;
}

// The names of all files in a folder, sorted.
inline std::vector<std::string> namesIn(const TempFolder& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
    names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace fmp4

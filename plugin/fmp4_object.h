// The media-file object: one fragmented MP4 presentation, read or written through the host's interface.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "mediafile.h"
#include "plugin/host_view.h"
#include "plugin/recorder.h"

namespace fmp4 {

class LastManifest;
class Source;

class CMFFmp4 : public CAMediaFile {
 public:
  // `fileType` is passed to the base; the object reports kFileTypeCode.
  explicit CMFFmp4(std::uint32_t fileType);
  // Closes an open file.
  ~CMFFmp4() override;

  std::uint32_t Open(const char* fileName, std::uint32_t access, std::uint32_t share, void* security,
                     std::uint32_t creation, std::uint32_t attributes, std::uint32_t openFlags) override;
  std::uint32_t Close() override;
  // The audio description is that of the file containing the audio.
  std::uint32_t GetFileInfo(std::uint32_t channelMask, QVRSYSTEM* system, QVRVIDEO* video, QVRAUDIO* audio,
                            QVRINFO* info) override;
  // Describes what a recording will contain; fixed by the first sample. An object opened for reading reports
  // this description from then on, with 0 frames once its video is described; its reads do not change.
  std::uint32_t SetFileInfo(std::uint32_t channelMask, const QVRSYSTEM* system, const QVRVIDEO* video,
                            const QVRAUDIO* audio, const QVRINFO* info) override;
  std::uint32_t SetSysInfo(const QVRSYSTEM* system, const QVRVIDEO* video, const QVRAUDIO* audio) override;
  // Adds one video frame or one audio access unit to a recording, in call order.
  std::uint32_t Write(std::uint32_t frame, std::uint32_t count, std::uint32_t channelMask, std::uint32_t mode,
                      DFRAME* descriptor, void* extra) override;
  std::uint32_t Read(std::uint32_t frame, std::uint32_t count, std::uint32_t channelMask, std::uint32_t mode,
                     DFRAME* descriptor, void* extra) override;
  // Returns 1 for any capability.
  std::uint32_t QueryCapability(std::uint32_t capability) override;
  std::uint32_t GetTotalFrames() override;
  std::uint32_t FindKeyFrame(std::uint32_t channelMask, std::int8_t directionMode, std::uint32_t frame,
                             std::int32_t direction) override;
  std::uint32_t EnumCodecs(std::int32_t stream, std::int32_t index, char* shortCode, char* name,
                           std::uint32_t* flags, std::uint32_t* extra) override;
  std::uint32_t SetCodecOption(std::uint32_t channelMask, std::uint32_t stream, std::uint32_t option,
                               std::uint32_t value, const CODEC_DESCRIPTION* description) override;

  // For queries at the entry points; the base keeps both protected.
  std::uint32_t openFlags() const { return m_GetOpenFlags(); }
  const char* fileName() const { return m_fileName; }

  // What the host sees of this object: for its source and recorder, and for those of the owner of a
  // companion.
  HostView host();
  // The recorder while the object is open for writing, otherwise null. Owned by the object.
  Recorder* recorder() const { return m_recorder.get(); }

 private:
  // open.cpp
  std::uint32_t openRead();
  std::uint32_t openWrite();
  std::unique_ptr<CMFFmp4> openAudioFile(const std::string& path, LastManifest* manifest) const;

  // object.cpp: the object of the audio file beside this one; null if there is none.
  CMFFmp4* companion() const;

  // set_file_info.cpp
  std::uint32_t takeDescriptions(std::uint32_t channelMask, const QVRSYSTEM* system, const QVRVIDEO* video,
                                 const QVRAUDIO* audio, const QVRINFO* info);
  template <class Wanted>
  QVRSTREAM* findHolder(Wanted wanted) const;
  void takeInformation(const QVRINFO& info);
  std::uint32_t takeVideo();
  void takeVideoSizes();
  void takeAudio(std::uint32_t channelMask);
  void addAudioHolder(std::uint32_t pair);
  void describeToCompanion();

  RecordingOptions m_recordingOptions;
  // While open, one of the two.
  std::unique_ptr<Source> m_source;
  std::unique_ptr<Recorder> m_recorder;
  // While the object whose companion this is opens it: the manifest of both.
  LastManifest* m_lastManifest = nullptr;
};

}  // namespace fmp4

// The simple operations of the media-file object.
#include <cstdlib>
#include <cstring>

#include "base/codec_code.h"
#include "base/guard.h"
#include "codecutil.h"
#include "plugin/fmp4_object.h"
#include "plugin/source.h"
#include "qvrutil.h"

namespace fmp4 {

namespace {

constexpr std::uint32_t kOptionHeight = 2;
constexpr std::uint32_t kOptionWidth = 3;
constexpr std::uint32_t kOptionKeyFrameInterval = 8;

// In the flags of an enumerated codec. Their bits are the host's own, which names none of them.
constexpr std::uint32_t kAudioCodecFlags = 0x10000040u;
constexpr std::uint32_t kVideoCodecFlags = 0x10000023u;

constexpr std::int8_t kVideoDirectionMode = 1;
constexpr std::int32_t kForward = 1;

template <class T>
void store(T* out, T value) {
  if (out) *out = value;
}

}  // namespace

CMFFmp4::CMFFmp4(std::uint32_t fileType) : CAMediaFile(fileType) {
  m_SetFileType(kFileTypeCode);
  host().resetDescriptions();
}

CMFFmp4::~CMFFmp4() {
  try {
    CMFFmp4::Close();
  } catch (...) {
    // The object is destroyed whatever errors closing returns; nothing may be thrown from a destructor.
  }
}

HostView CMFFmp4::host() {
  return {m_system,       m_video,     m_audio,
          m_info,         m_audioMask, m_videoChannels,
          m_currentFrame, m_streams,   [this] { return m_AllocAStream(); }};
}

CMFFmp4* CMFFmp4::companion() const {
  return m_source ? m_source->companion() : m_recorder ? m_recorder->companion() : nullptr;
}

std::uint32_t CMFFmp4::GetFileInfo(std::uint32_t channelMask, QVRSYSTEM* system, QVRVIDEO* video,
                                   QVRAUDIO* audio, QVRINFO* info) {
  const std::uint32_t result = CAMediaFile::GetFileInfo(channelMask, system, video, audio, info);
  if (CMFFmp4* const file = companion(); file && audio)
    file->GetFileInfo(channelMask, nullptr, nullptr, audio, nullptr);
  return result;
}

std::uint32_t CMFFmp4::SetSysInfo(const QVRSYSTEM* system, const QVRVIDEO* video, const QVRAUDIO* audio) {
  if (!video) return CAMediaFile::SetSysInfo(system, video, audio);
  // The host's frames have 32 bits per pixel, regardless of the description.
  return guarded(VL_FAILED, [&] {
    const auto sized = std::make_unique<QVRVIDEO>(*video);
    QVRBITMAP& bitmap = sized->bitmap;
    const auto height = static_cast<std::uint64_t>(std::llabs(std::int64_t{bitmap.height}));
    bitmap.sizeImage = static_cast<std::uint32_t>(static_cast<std::uint32_t>(bitmap.width) * height * 4);
    return CAMediaFile::SetSysInfo(system, sized.get(), audio);
  });
}

std::uint32_t CMFFmp4::QueryCapability(std::uint32_t /*capability*/) {
  return 1;
}

std::uint32_t CMFFmp4::GetTotalFrames() {
  return m_video.stream.length;
}

std::uint32_t CMFFmp4::FindKeyFrame(std::uint32_t channelMask, std::int8_t directionMode, std::uint32_t frame,
                                    std::int32_t direction) {
  const bool video = findChannel(channelMask) == 0 && m_source;
  if (directionMode != kVideoDirectionMode || !video) return frame;
  return m_source->findKeyFrame(frame, direction == kForward);
}

std::uint32_t CMFFmp4::EnumCodecs(std::int32_t stream, std::int32_t index, char* shortCode, char* name,
                                  std::uint32_t* flags, std::uint32_t* extra) {
  if (index != 0) return VL_FAILED;
  store(extra, 0u);
  // Intended (quirk 4): these codes are in file byte order, although the video description holds its code
  // reversed.
  if (stream < 0) {
    if (shortCode) std::memcpy(shortCode, "AAC", 4);
    if (name) std::strcpy(name, "AAC Audio Stream");
    store(flags, kAudioCodecFlags);
    return kMp4a;
  }
  // Intended (quirk 5): if `name` is null, the short code is not written either.
  if (name) {
    if (shortCode) std::strcpy(shortCode, "AVC1 h.264");
    std::strcpy(name, "AVC1 h.264");
  }
  store(flags, kVideoCodecFlags);
  return kAvc1;
}

std::uint32_t CMFFmp4::SetCodecOption(std::uint32_t channelMask, std::uint32_t stream, std::uint32_t option,
                                      std::uint32_t value, const CODEC_DESCRIPTION* description) {
  switch (option) {
    case kOptionHeight:
      m_video.bitmap.height = static_cast<std::int32_t>(value);
      break;
    case kOptionWidth:
      m_video.bitmap.width = static_cast<std::int32_t>(value);
      break;
    case kOptionKeyFrameInterval:
      m_recordingOptions.keyFrameInterval = value;
      break;
    default:
      break;
  }
  return CAMediaFile::SetCodecOption(channelMask, stream, option, value, description);
}

}  // namespace fmp4

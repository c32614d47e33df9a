#include "mediafile.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "qvrutil.h"

namespace {

constexpr std::size_t kMaxStreams = 65;  // one video, 64 audio

// The holder of the audio stream that carries a channel; null if there is none.
const QVRSTREAM* audioHolder(const std::vector<std::unique_ptr<QVRSTREAM>>& streams, std::uint32_t channel) {
  if (channel == QVR_NO_CHANNEL) return nullptr;
  for (const std::unique_ptr<QVRSTREAM>& stream : streams) {
    const bool serves = (stream->audio.channelMask & 1u << channel) != 0;
    if (stream->kind == QVR_KIND_AUDIO && serves) return stream.get();
  }
  return nullptr;
}

template <typename Record>
void copyGiven(Record* to, const Record* from) {
  if (to != nullptr && from != nullptr) *to = *from;
}

// The size stored in the first four bytes of a box.
std::uint32_t boxSize(const std::uint8_t* box) {
  return std::uint32_t{box[0]} << 24 | std::uint32_t{box[1]} << 16 | std::uint32_t{box[2]} << 8 | box[3];
}

constexpr std::uint32_t kBoxHeaderBytes = 8;

}  // namespace

CAMediaFile::CAMediaFile(std::uint32_t fileType) : m_fileType(fileType) {
  m_info.startTimecode = QVR_NOT_SET;
  m_info.startTimecodeLtc = QVR_NOT_SET;
  m_info.startTimecodeVitc = QVR_NOT_SET;
}

CAMediaFile::~CAMediaFile() = default;

std::uint32_t CAMediaFile::Open(const char* fileName, std::uint32_t access, std::uint32_t share,
                                void* security, std::uint32_t creation, std::uint32_t attributes,
                                std::uint32_t openFlags) {
  return m_setOpen(fileName, access, share, security, creation, attributes, openFlags);
}

std::uint32_t CAMediaFile::Close() {
  m_setClose();
  return VL_OK;
}

std::uint32_t CAMediaFile::GetFileInfo(std::uint32_t channelMask, QVRSYSTEM* system, QVRVIDEO* video,
                                       QVRAUDIO* audio, QVRINFO* info) {
  const QVRSTREAM* holder = audioHolder(m_streams, findChannel(channelMask));
  copyGiven(system, &m_system);
  copyGiven(video, &m_video);
  copyGiven(audio, holder != nullptr ? &holder->audio : &m_audio);
  copyGiven(info, &m_info);
  return VL_OK;
}

std::uint32_t CAMediaFile::SetFileInfo(std::uint32_t /*channelMask*/, const QVRSYSTEM* system,
                                       const QVRVIDEO* video, const QVRAUDIO* audio, const QVRINFO* info) {
  copyGiven(&m_system, system);
  copyGiven(&m_video, video);
  copyGiven(&m_audio, audio);
  copyGiven(&m_info, info);
  return VL_OK;
}

std::uint32_t CAMediaFile::SetSysInfo(const QVRSYSTEM* system, const QVRVIDEO* video, const QVRAUDIO* audio) {
  copyGiven(&m_system, system);
  copyGiven(&m_video, video);
  copyGiven(&m_audio, audio);
  return VL_OK;
}

std::uint32_t CAMediaFile::SetMode(const MEDIACMD* command) {
  return command == nullptr ? VL_FAILED : VL_OK;
}

std::uint32_t CAMediaFile::Write(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, DFRAME*, void*) {
  return VL_E_NOT_SUPPORTED;
}

std::uint32_t CAMediaFile::Read(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, DFRAME*, void*) {
  return VL_E_NOT_SUPPORTED;
}

std::uint32_t CAMediaFile::QueryCapability(std::uint32_t) {
  return 0;
}

std::uint32_t CAMediaFile::GetTotalFrames() {
  return m_video.stream.length;
}

std::uint32_t CAMediaFile::FindKeyFrame(std::uint32_t, std::int8_t, std::uint32_t frame, std::int32_t) {
  return frame;
}

std::uint32_t CAMediaFile::EnumCodecs(std::int32_t, std::int32_t, char*, char*, std::uint32_t*,
                                      std::uint32_t*) {
  return VL_FAILED;
}

std::uint32_t CAMediaFile::GetCodecOptions(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t*,
                                           CODEC_DESCRIPTION*) {
  return VL_E_NOT_SUPPORTED;
}

std::uint32_t CAMediaFile::SetCodecOption(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                                          const CODEC_DESCRIPTION*) {
  return VL_OK;
}

std::uint32_t CAMediaFile::Channels() {
  return m_audioMask;
}

std::uint32_t CAMediaFile::AudChan() {
  return totalChannels(m_audioMask);
}

std::uint32_t CAMediaFile::VidChan() {
  return m_videoChannels;
}

std::uint32_t CAMediaFile::InfChan() {
  return 0;
}

std::uint32_t CAMediaFile::GetSysInfo(QVRSYSTEM* system) {
  if (system == nullptr) return VL_FAILED;
  *system = m_system;
  return VL_OK;
}

std::uint32_t CAMediaFile::GetActive() {
  return m_activeMask;
}

std::uint32_t CAMediaFile::SetActive(std::uint32_t mask) {
  m_activeMask = mask;
  return VL_OK;
}

std::uint32_t CAMediaFile::Status() {
  if (!m_isOpen) return 0;
  return m_fCreateFile() ? 2 : 1;
}

std::uint32_t CAMediaFile::GetCurFrame() {
  return m_currentFrame;
}

std::uint32_t CAMediaFile::MFXCmd(std::uint32_t command, void* argument) {
  switch (command) {
    case MFX_OPEN: {
      if (argument == nullptr) return VL_FAILED;
      const MFXOPEN& open = *static_cast<const MFXOPEN*>(argument);
      return Open(open.fileName, open.access, open.share, open.security, open.creation, open.attributes,
                  open.openFlags);
    }
    case MFX_CLOSE:
      return Close();
    default:
      return VL_E_NOT_SUPPORTED;
  }
}

std::uint32_t CAMediaFile::m_setOpen(const char* fileName, std::uint32_t access, std::uint32_t share,
                                     void* security, std::uint32_t creation, std::uint32_t attributes,
                                     std::uint32_t openFlags) {
  const std::size_t length = fileName == nullptr ? 0 : strnlen(fileName, VL_MAX_PATH);
  if (length == 0 || length == VL_MAX_PATH) return VL_FAILED;
  std::memmove(m_fileName, fileName, length);  // the name may alias the recorded one
  std::fill(m_fileName + length, m_fileName + VL_MAX_PATH, '\0');
  m_access = access;
  m_share = share;
  m_security = security;
  m_creation = creation;
  m_attributes = attributes;
  m_openFlags = openFlags;
  m_isOpen = true;
  m_streams.clear();
  m_audioMask = 0;
  m_videoChannels = 0;
  m_currentFrame = QVR_NOT_SET;
  return VL_OK;
}

void CAMediaFile::m_setClose() {
  m_isOpen = false;
}

bool CAMediaFile::m_fCreateFile() const {
  return (m_access & VL_GENERIC_WRITE) != 0 &&
         (m_creation == VL_CREATE_NEW || m_creation == VL_CREATE_ALWAYS);
}

std::uint32_t CAMediaFile::m_GetOpenFlags() const {
  return m_openFlags;
}

std::uint32_t CAMediaFile::m_GetFileType() const {
  return m_fileType;
}

void CAMediaFile::m_SetFileType(std::uint32_t fileType) {
  m_fileType = fileType;
}

VLHANDLE CAMediaFile::m_GetHandle() const {
  return m_handle;
}

std::uint32_t CAMediaFile::m_GetfccCodec() const {
  return m_video.bitmap.compression;
}

QVRSTREAM* CAMediaFile::m_AllocAStream() {
  if (m_streams.size() >= kMaxStreams) return nullptr;
  try {
    return m_streams.emplace_back(std::make_unique<QVRSTREAM>()).get();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void CAMediaFile::m_fixQVRStruct(QVRAUDIO* audio) const {
  if (audio == nullptr) return;
  QVRWAVE& wave = audio->wave;
  if (wave.blockAlign == 0) {
    const std::uint32_t bytes = wave.channels * ((wave.bitsPerSample + 7u) / 8);
    constexpr std::uint32_t kMax = std::numeric_limits<std::uint16_t>::max();
    wave.blockAlign = static_cast<std::uint16_t>(std::min(bytes, kMax));
  }
  if (wave.averageBytesPerSecond == 0) {
    const std::uint64_t bytes = std::uint64_t{wave.blockAlign} * wave.samplesPerSecond;
    constexpr std::uint64_t kMax = std::numeric_limits<std::uint32_t>::max();
    wave.averageBytesPerSecond = static_cast<std::uint32_t>(std::min(bytes, kMax));
  }
  wave.extraSize = std::min<std::uint16_t>(wave.extraSize, QVR_AUDIO_EXTRA_BYTES);
}

const std::uint8_t* CAMediaFile::m_GetCodecPrivateData(std::uint32_t* bytes) const {
  const std::uint32_t size = boxSize(m_video.colourTable);
  const bool isBox =
      m_video.bitmap.compression != 0 && size >= kBoxHeaderBytes && size <= QVR_CODEC_CONFIGURATION_BYTES;
  if (bytes != nullptr) *bytes = isBox ? size : 0;
  return isBox ? m_video.colourTable : nullptr;
}

std::uint32_t CAMediaFile::m_SetCodecPrivateData(const std::uint8_t* data, std::uint32_t bytes) {
  if (data == nullptr || bytes < kBoxHeaderBytes || bytes > QVR_CODEC_CONFIGURATION_BYTES ||
      boxSize(data) != bytes) {
    return VL_FAILED;
  }
  std::memmove(m_video.colourTable, data, bytes);
  std::fill(m_video.colourTable + bytes, m_video.colourTable + QVR_CODEC_CONFIGURATION_BYTES,
            std::uint8_t{0});
  return VL_OK;
}

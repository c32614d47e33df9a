#include "audio/audio_decode.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "audio/ffmpeg_loader.h"
#include "audio/umc/aac/aac_decoder.h"
#include "audio/umc/ac3/ac3_decoder.h"
#include "base/aac/audio_specific_config.h"
#include "vlutil.h"

namespace fmp4 {

namespace {

constexpr std::uint32_t kFirstBufferBytes = 200000;
// The buffer is allocated for this multiple of the requested PCM frames.
constexpr std::uint32_t kBufferFactor = 8;
// Maximum number of PCM frames from one decoder call.
constexpr std::uint32_t kCallFrames = 4096;
// Shorter configurations contain neither object type nor sampling frequency.
constexpr std::size_t kMinConfigurationBytes = 2;
// The core's object type where the configuration is truncated before it.
constexpr int kUnknownObjectType = 0;
// Output size passed to a decoder for output outside the PCM buffer.
constexpr std::uint32_t kOutputBytes = 0xFFFFF;
// AC-3 sync frames are never split: fewer remaining bytes than this after one are dropped.
constexpr std::int32_t kAc3RestBytes = 1536;

void Warn(const char* text) {
  ErrFmtOut(VL_LOG_WARNING, 0, 0, "WARNING(vlx_Fmp4): %s\n", text);
}

// Logs which feature of a configuration the AAC decoder does not support.
void WarnUnsupported(const UMC::aac::AudioSpecificConfig& config) {
  char text[64] = "Audio programs with these channels are not supported";
  if (!UMC::aac::IsSupportedObjectType(config.objectType)) {
    std::snprintf(text, sizeof text, "Audio object type %d is not supported", config.objectType);
  } else if (config.channelConfiguration != 0) {
    std::snprintf(text, sizeof text, "Audio channel configuration %d is not supported",
                  config.channelConfiguration);
  }
  Warn(text);
}

// Loads FFmpeg. Returns whether its decoders can be used.
bool StartFFmpeg() {
  if (LoadFFmpeg() != VL_FFMPEG_AVAILABLE) return false;
  const FFmpegLock lock;
  FFmpeg().avcodec_register_all();
  return true;
}

UMC::AudioStreamInfo StreamInfoOf(const QVRWAVE& wave) {
  UMC::AudioStreamInfo info;
  info.channels = wave.channels;
  info.sampleFrequency = wave.samplesPerSecond;
  info.bitsPerSample = wave.bitsPerSample;
  return info;
}

}  // namespace

VL_Audio_Decode::VL_Audio_Decode() = default;
VL_Audio_Decode::~VL_Audio_Decode() = default;

std::uint32_t VL_Audio_Decode::Init(QVRAUDIO* format) {
  CloseCodec();
  m_memoryShort = false;
  const bool hasFFmpeg = StartFFmpeg();
  m_codecCode = format->codec;
  m_bitsPerSample = format->wave.bitsPerSample;
  m_bytesPerSecond = format->wave.averageBytesPerSecond;
  m_channels = format->wave.channels;
  // 24-bit stereo is stored in 32-bit samples.
  m_frameSize = format->wave.blockAlign == 6 ? 8 : format->wave.blockAlign;
  SetBufferedFrames(0);
  switch (m_codecCode) {
    case VL_FCC_AES3:  // already PCM
      break;
    case VL_FCC_MP1:
      if (hasFFmpeg) m_ffmpeg = FFmpegDecoder::Open(ffmpeg57::kCodecMp1);
      break;
    case VL_FCC_MP2:
      if (hasFFmpeg) m_ffmpeg = FFmpegDecoder::Open(ffmpeg57::kCodecMp2);
      break;
    case VL_FCC_MP3:
      if (hasFFmpeg) m_ffmpeg = FFmpegDecoder::Open(ffmpeg57::kCodecMp3);
      break;
    case VL_FCC_AC3:
    case VL_FCC_EAC3:
      // The E-AC-3 decoder also accepts AC-3.
      if (hasFFmpeg) m_ffmpeg = FFmpegDecoder::Open(ffmpeg57::kCodecEac3);
      if (m_ffmpeg == nullptr) OpenAc3(*format);
      format->wave.channels = 2;  // output channels of either decoder
      break;
    default:
      OpenAac(*format);
  }
  return VL_OK;
}

void VL_Audio_Decode::OpenAac(const QVRAUDIO& format) {
  auto codec = std::unique_ptr<UMC::AACDecoder>(new (std::nothrow) UMC::AACDecoder);
  auto params = std::unique_ptr<UMC::AACDecoderParams>(new (std::nothrow) UMC::AACDecoderParams);
  m_memoryShort = codec == nullptr || params == nullptr;
  if (m_memoryShort) return;
  params->m_input = params->m_output = StreamInfoOf(format.wave);
  params->m_input.channelMask = (1u << (format.wave.channels % 32)) - 1;
  params->m_sbrDownSampled = 0;
  const UMC::Status status = codec->Init(params.get());
  m_memoryShort = status == UMC::UMC_ERR_ALLOC;
  if (status < UMC::UMC_OK) return;
  codec->SetParams(params.get());
  codec->GetInfo(params.get());
  m_codec = std::move(codec);
  m_params = std::move(params);
}

void VL_Audio_Decode::OpenAc3(const QVRAUDIO& format) {
  auto codec = std::unique_ptr<UMC::AC3Decoder>(new (std::nothrow) UMC::AC3Decoder);
  auto params = std::unique_ptr<UMC::AC3DecoderParams>(new (std::nothrow) UMC::AC3DecoderParams);
  m_memoryShort = codec == nullptr || params == nullptr;
  if (m_memoryShort) return;
  params->m_input = params->m_output = StreamInfoOf(format.wave);
  const UMC::Status status = codec->Init(params.get());
  m_memoryShort = status == UMC::UMC_ERR_ALLOC;
  if (status < UMC::UMC_OK) return;
  UMC::AC3DecoderParams stereo;  // defaults to two channels
  stereo.m_option4 = 3;
  codec->SetParams(&stereo);
  codec->GetInfo(params.get());
  m_codec = std::move(codec);
  m_params = std::move(params);
}

std::uint32_t VL_Audio_Decode::Reset() {
  if (m_codec != nullptr) m_codec->Reset();
  if (m_buffer != nullptr) std::memset(m_buffer, 0, std::min(m_bufferedBytes, m_bufferCapacity));
  m_bufferStart = 0;
  SetBufferedFrames(0);
  return VL_OK;
}

std::uint32_t VL_Audio_Decode::CheckBuffer(std::uint32_t frames) {
  constexpr std::uint64_t kLargest = std::numeric_limits<std::uint32_t>::max();
  std::uint64_t needed = kFirstBufferBytes;
  m_memoryShort = false;
  if (m_buffer != nullptr) {
    // The products cannot overflow 64 bits: a frame has at most 8 x 65535 bytes.
    needed = std::uint64_t{m_frameSize} * frames * kBufferFactor;
    if (needed <= m_bufferCapacity) return VL_OK;
  }
  const std::uint32_t held = m_buffer != nullptr ? m_bufferCapacity : 0;
  m_bufferCapacity = static_cast<std::uint32_t>(std::min(needed, kLargest));
  void* grown = needed > kLargest ? nullptr : std::realloc(m_buffer, m_bufferCapacity);
  if (grown == nullptr) {
    std::free(m_buffer);
    m_buffer = nullptr;
    m_memoryShort = true;
    SetBufferedFrames(0);
    Warn("Unable to alloc audio buffer\n");
    return VL_E_AUDIO_MEMORY;
  }
  m_buffer = static_cast<std::uint8_t*>(grown);
  // Samples of some formats leave part of the output unwritten.
  std::memset(m_buffer + held, 0, m_bufferCapacity - held);
  return VL_OK;
}

std::int32_t VL_Audio_Decode::DecodeFrameAudio(std::uint8_t* output, std::uint32_t* outputBytes,
                                               std::uint8_t* input, std::uint32_t inputBytes,
                                               std::uint32_t /*reserved*/, std::uint32_t /*channelPair*/,
                                               std::uint32_t duration) {
  if (m_ffmpeg != nullptr)
    return m_ffmpeg->Decode(output, WritableBytesAt(output), outputBytes, input, inputBytes, duration);
  if (m_codec == nullptr) return -1;
  m_input.SetBufferPointer(input, inputBytes);
  m_input.SetDataSize(inputBytes);
  m_output.SetBufferPointer(output, WritableBytesAt(output));
  const UMC::Status status = m_codec->GetFrame(&m_input, &m_output);
  m_memoryShort = status == UMC::UMC_ERR_ALLOC;
  if (status != UMC::UMC_OK) return -1;
  *outputBytes = static_cast<std::uint32_t>(m_output.GetDataSize());
  return static_cast<std::int32_t>(m_input.GetDataSize());
}

std::int32_t VL_Audio_Decode::DecodeFrameAudioBuffered(std::uint8_t* input, std::uint32_t inputBytes,
                                                       std::uint32_t* outputBytes, std::uint32_t reserved,
                                                       std::uint32_t channelPair, std::uint32_t duration,
                                                       std::uint32_t /*mono*/) {
  const std::uint32_t startFrames = m_bufferedFrames;
  *outputBytes = 0;
  auto result = static_cast<std::int32_t>(inputBytes);
  if (result < 1) {
    SetBufferedFrames(m_bufferedFrames);
    return result;
  }
  if (m_frameSize == 0) return -1;

  const bool isAc3 = m_codecCode == VL_FCC_AC3 || m_codecCode == VL_FCC_EAC3;
  std::uint32_t offset = m_bufferedBytes;
  bool goesOn = true;
  while (goesOn) {
    const std::int32_t left = result;
    std::uint32_t produced = 0;
    if (CheckBuffer(startFrames + kCallFrames) != VL_OK) {
      *outputBytes = 0;  // the decoded PCM was lost with the buffer
      return -1;
    }
    result = DecodeFrameAudio(m_buffer + offset, &produced, input + inputBytes - left,
                              static_cast<std::uint32_t>(left), reserved, channelPair, duration);
    *outputBytes += produced;
    offset += produced;
    if (isAc3 && result >= 0 && result < kAc3RestBytes) result = 0;
    goesOn = result > 0 && result < left;
  }
  if (m_ffmpeg != nullptr) m_ffmpeg->DropRest();
  SetBufferedFrames(m_bufferedFrames + *outputBytes / m_frameSize);
  return result;
}

std::uint32_t VL_Audio_Decode::PullAudio(std::uint64_t position, std::uint32_t frames,
                                         std::uint8_t* destination, std::uint32_t* offset) {
  if (position < m_bufferStart || position - m_bufferStart >= m_bufferedFrames) {
    m_bufferStart = position;
    SetBufferedFrames(0);
    return VL_OK;
  }
  const auto skipped = static_cast<std::uint32_t>(position - m_bufferStart);
  const std::uint32_t source = skipped * m_frameSize;
  const std::uint64_t frameBytes = std::uint64_t{m_bitsPerSample / 8} * m_channels;
  const bool beyond = std::uint64_t{skipped} + frames > m_bufferedFrames;
  const std::uint64_t wanted = frameBytes * (beyond ? m_bufferedFrames : frames);
  const auto bytes = static_cast<std::uint32_t>(std::min<std::uint64_t>(wanted, m_bufferCapacity - source));
  if (bytes > 0) std::memcpy(destination + *offset, m_buffer + source, bytes);
  *offset += bytes;
  if (beyond) {
    m_bufferStart = position + m_bufferedFrames;
    SetBufferedFrames(0);
  } else {
    const std::uint32_t left = m_bufferedFrames - skipped - frames;
    std::memmove(m_buffer, m_buffer + std::size_t{skipped + frames} * m_frameSize,
                 std::size_t{left} * m_frameSize);
    m_bufferStart = position + frames;
    SetBufferedFrames(left);
  }
  return VL_OK;
}

std::uint32_t VL_Audio_Decode::RemoveSamples(std::uint32_t frames) {
  if (m_bufferedFrames == 0) return VL_E_AUDIO_EMPTY;
  const std::uint32_t removed = std::min(frames, m_bufferedFrames);
  const std::uint32_t left = m_bufferedFrames - removed;
  if (left > 0)
    std::memmove(m_buffer, m_buffer + std::size_t{removed} * m_frameSize, std::size_t{left} * m_frameSize);
  m_bufferStart += removed;
  SetBufferedFrames(left);
  return VL_OK;
}

bool VL_Audio_Decode::IsOpen() const {
  return m_codec != nullptr || m_ffmpeg != nullptr;
}

bool VL_Audio_Decode::Converged() const {
  auto* aac = UMC::DynamicCast<UMC::AACDecoder>(m_codec.get());
  return aac == nullptr || aac->Converged();
}

void VL_Audio_Decode::SetUnit(std::uint64_t number) {
  if (auto* aac = UMC::DynamicCast<UMC::AACDecoder>(m_codec.get())) aac->SetBlock(number);
}

void VL_Audio_Decode::ResetHistory() {
  if (auto* aac = UMC::DynamicCast<UMC::AACDecoder>(m_codec.get())) {
    aac->PassLostBlock();
  } else if (m_codec != nullptr) {
    m_codec->Reset();
  }
}

void VL_Audio_Decode::SetConfiguration(const std::uint8_t* data, std::size_t size) {
  auto* aac = UMC::DynamicCast<UMC::AACDecoder>(m_codec.get());
  if (aac == nullptr || size < kMinConfigurationBytes) return;
  UMC::aac::AudioSpecificConfig config;
  if (UMC::aac::ParseAudioSpecificConfig(data, size, config)) {
    if (aac->SetConfiguration(config) == UMC::UMC_OK) return;
  } else if (config.objectType == kUnknownObjectType || UMC::aac::IsSupportedObjectType(config.objectType)) {
    return;
  }
  WarnUnsupported(config);
  CloseCodec();
}

void VL_Audio_Decode::SetFrameSize(std::uint32_t bytes) {
  // Buffered PCM of another frame size is unusable: drop it.
  if (bytes != m_frameSize) m_bufferedFrames = 0;
  m_frameSize = bytes;
  SetBufferedFrames(m_bufferedFrames);
}

void VL_Audio_Decode::ReleaseBuffer() {
  std::free(m_buffer);
  m_buffer = nullptr;
  m_bufferCapacity = 0;
  SetBufferedFrames(0);
}

void VL_Audio_Decode::CloseCodec() {
  m_codec.reset();
  m_params.reset();
  m_ffmpeg.reset();
}

void VL_Audio_Decode::SetBufferedFrames(std::uint32_t frames) {
  m_bufferedFrames = frames;
  m_bufferedBytes = m_frameSize * frames;
}

std::uint32_t VL_Audio_Decode::WritableBytesAt(const std::uint8_t* output) const {
  const auto at = reinterpret_cast<std::uintptr_t>(output);
  const auto start = reinterpret_cast<std::uintptr_t>(m_buffer);
  if (m_buffer == nullptr || at < start || at > start + m_bufferCapacity) return kOutputBytes;
  return std::min(static_cast<std::uint32_t>(start + m_bufferCapacity - at), kOutputBytes);
}

}  // namespace fmp4

#include "audio/ffmpeg_decoder.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <new>

#include "audio/ffmpeg_loader.h"
#include "audio/sample_converter.h"
#include "vlutil.h"

namespace fmp4 {

using ffmpeg57::FieldAt;

std::unique_ptr<FFmpegDecoder> FFmpegDecoder::Open(ffmpeg57::CodecId id) {
  const ffmpeg57::Functions& ffmpeg = FFmpeg();
  const FFmpegLock lock;
  const ffmpeg57::Codec* const codec = ffmpeg.avcodec_find_decoder(id);
  if (codec == nullptr) return nullptr;
  std::unique_ptr<FFmpegDecoder> decoder(new (std::nothrow) FFmpegDecoder);
  if (decoder == nullptr) return nullptr;
  decoder->m_context = ffmpeg.avcodec_alloc_context3(codec);
  if (decoder->m_context != nullptr)
    decoder->m_opened = ffmpeg.avcodec_open2(decoder->m_context, codec, nullptr) >= 0;
  if (decoder->m_context != nullptr && !decoder->m_opened)
    ErrFmtOut(VL_LOG_WARNING, 0, 0, "WARNING(vlx_Fmp4): %s\n", "Unable to open audio decoder f");
  return decoder;
}

FFmpegDecoder::~FFmpegDecoder() {
  const ffmpeg57::Functions& ffmpeg = FFmpeg();
  const FFmpegLock lock;
  if (m_context != nullptr) {
    ffmpeg.avcodec_close(m_context);
    ffmpeg.av_free(m_context);
  }
  if (m_frame != nullptr) ffmpeg.av_frame_free(&m_frame);
}

std::int32_t FFmpegDecoder::Decode(std::uint8_t* output, std::uint32_t space, std::uint32_t* outputBytes,
                                   const std::uint8_t* input, std::uint32_t inputBytes,
                                   std::uint32_t duration) {
  constexpr std::uint64_t kLimitBytesPerFrame = 64;
  constexpr std::uint32_t kPairBytes = 4;
  *outputBytes = 0;
  if (!m_opened) return -1;
  if (inputBytes == 0) return 0;
  if (m_frame == nullptr) m_frame = FFmpeg().av_frame_alloc();
  if (m_frame == nullptr) return -1;

  const bool isRest = m_rest > 0 && input == m_next && inputBytes == m_rest;
  if (!isRest) {
    DropRest();
    if (!TakePacket(input, inputBytes)) return -1;
  }
  bool gotFrame = false;
  if (!DecodeOnce(gotFrame)) return -1;
  if (gotFrame) {
    constexpr std::size_t kPlaneB = ffmpeg57::kFrameData + sizeof(void*);
    const DecodedSamples samples = {FieldAt<const std::uint8_t*>(m_frame, ffmpeg57::kFrameData),
                                    FieldAt<const std::uint8_t*>(m_frame, kPlaneB),
                                    FieldAt<int>(m_context, ffmpeg57::kContextSampleFormat),
                                    FieldAt<int>(m_context, ffmpeg57::kContextChannels),
                                    FieldAt<int>(m_frame, ffmpeg57::kFrameSamples)};
    *outputBytes = ConvertSamples(samples, output, kLimitBytesPerFrame * duration, space / kPairBytes);
  }
  m_next = input + (inputBytes - m_rest);
  return static_cast<std::int32_t>(m_rest);
}

void FFmpegDecoder::DropRest() {
  bool ignored = false;
  while (m_rest > 0) {
    const std::uint32_t before = m_rest;
    if (!DecodeOnce(ignored) || m_rest == before) m_rest = 0;
  }
}

// Decoders read past the end of their input, so they are given a padded copy. False if memory is exhausted or
// the input exceeds the maximum packet size.
bool FFmpegDecoder::TakePacket(const std::uint8_t* input, std::uint32_t bytes) {
  if (bytes > static_cast<std::uint32_t>(std::numeric_limits<int>::max())) return false;
  const std::size_t space = bytes + ffmpeg57::kPacketPadding;
  if (space > m_packetSpace) {
    const std::size_t grown = std::bit_ceil(space);
    m_packet.reset(new (std::nothrow) std::uint8_t[grown]);
    m_packetSpace = m_packet == nullptr ? 0 : grown;
    if (m_packet == nullptr) return false;
  }
  std::memcpy(m_packet.get(), input, bytes);
  std::memset(m_packet.get() + bytes, 0, ffmpeg57::kPacketPadding);
  m_packetBytes = m_rest = bytes;
  return true;
}

// One call for the rest of the packet. If the decoder fails, returns false and drops the rest.
bool FFmpegDecoder::DecodeOnce(bool& gotFrame) {
  ffmpeg57::Packet packet = {};
  packet.data = m_packet.get() + (m_packetBytes - m_rest);
  packet.size = static_cast<int>(m_rest);
  int got = 0;
  const int consumed = FFmpeg().avcodec_decode_audio4(m_context, m_frame, &got, &packet);
  gotFrame = got != 0;
  m_rest -= consumed < 0 ? m_rest : std::min(static_cast<std::uint32_t>(consumed), m_rest);
  return consumed >= 0;
}

}  // namespace fmp4

#include "ffmpeg_decoder.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "ffmpeg_loader.h"
#include "sample_converter.h"
#include "vlutil.h"

using ffmpeg57::FieldAt;

std::unique_ptr<FFmpegDecoder> FFmpegDecoder::Open(ffmpeg57::CodecId id) {
  const ffmpeg57::Functions& ffmpeg = FFmpeg();
  const FFmpegLock lock;
  const ffmpeg57::Codec* const codec = ffmpeg.avcodec_find_decoder(id);
  if (codec == nullptr) return nullptr;
  std::unique_ptr<FFmpegDecoder> decoder(new (std::nothrow) FFmpegDecoder);
  if (decoder == nullptr) return nullptr;
  decoder->m_packet.reset(new (std::nothrow) std::uint8_t[kPacketBytes]());
  if (decoder->m_packet == nullptr) return nullptr;
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

std::int32_t FFmpegDecoder::Decode(std::uint8_t* output, std::uint32_t room, std::uint32_t* outputBytes,
                                   const std::uint8_t* input, std::uint32_t inputBytes,
                                   std::uint32_t duration) {
  constexpr std::uint64_t kLimitBytesPerFrame = 64;
  constexpr std::uint32_t kPairBytes = 4;
  const ffmpeg57::Functions& ffmpeg = FFmpeg();
  *outputBytes = 0;
  if (!m_opened) return -1;
  if (m_frame == nullptr) m_frame = ffmpeg.av_frame_alloc();
  if (m_frame == nullptr) return -1;

  // Decoders read behind their input: they are given a copy with room there.
  const std::size_t bytes = std::min<std::size_t>(inputBytes, kPacketBytes - ffmpeg57::kPacketPadding);
  std::memcpy(m_packet.get(), input, bytes);
  std::memset(m_packet.get() + bytes, 0, ffmpeg57::kPacketPadding);
  ffmpeg57::Packet packet = {};
  packet.data = m_packet.get();
  packet.size = static_cast<int>(bytes);

  int gotFrame = 0;
  const int consumed = ffmpeg.avcodec_decode_audio4(m_context, m_frame, &gotFrame, &packet);
  if (consumed < 0) return -1;
  if (gotFrame != 0) {
    constexpr std::size_t kPlaneB = ffmpeg57::kFrameData + sizeof(void*);
    const DecodedSamples samples = {FieldAt<const std::uint8_t*>(m_frame, ffmpeg57::kFrameData),
                                    FieldAt<const std::uint8_t*>(m_frame, kPlaneB),
                                    FieldAt<int>(m_context, ffmpeg57::kContextSampleFormat),
                                    FieldAt<int>(m_context, ffmpeg57::kContextChannels),
                                    FieldAt<int>(m_frame, ffmpeg57::kFrameSamples)};
    *outputBytes = ConvertSamples(samples, output, kLimitBytesPerFrame * duration, room / kPairBytes);
  }
  return static_cast<std::int32_t>(inputBytes - std::min(static_cast<std::uint32_t>(consumed), inputBytes));
}

// An FFmpeg audio decoder with output as interleaved 16-bit pairs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "audio/ffmpeg_abi.h"

namespace fmp4 {

// May exist only while FFmpeg is loaded. Not thread-safe.
class FFmpegDecoder {
 public:
  // Null if FFmpeg has no decoder of this id, or memory is exhausted. A decoder that FFmpeg fails to open is
  // logged, and decodes nothing.
  static std::unique_ptr<FFmpegDecoder> Open(ffmpeg57::CodecId id);
  ~FFmpegDecoder();
  FFmpegDecoder(const FFmpegDecoder&) = delete;
  FFmpegDecoder& operator=(const FFmpegDecoder&) = delete;

  // Decodes as much of the input as one call consumes. `*outputBytes` receives the PCM bytes written to
  // `output`, at most `space`; the access unit's duration, in PCM frames, is a further limit. Returns the
  // number of input bytes left, or -1 if the decoder fails. Input that begins where the last call stopped,
  // and is exactly what it left, continues the packet; any other input begins a new packet, and the rest of
  // the last one is dropped.
  std::int32_t Decode(std::uint8_t* output, std::uint32_t space, std::uint32_t* outputBytes,
                      const std::uint8_t* input, std::uint32_t inputBytes, std::uint32_t duration);

  // Discards what the last call left of its input. The decoder still receives it, as FFmpeg accepts no new
  // packet before the last one is used up; its output is dropped.
  void DropRest();

 private:
  FFmpegDecoder() = default;

  bool TakePacket(const std::uint8_t* input, std::uint32_t bytes);
  bool DecodeOnce(bool& gotFrame);

  ffmpeg57::CodecContext* m_context = nullptr;
  bool m_opened = false;
  ffmpeg57::Frame* m_frame = nullptr;        // allocated on first use
  std::unique_ptr<std::uint8_t[]> m_packet;  // a copy of the input, zero-padded
  std::size_t m_packetSpace = 0;             // allocated bytes; never shrinks
  std::uint32_t m_packetBytes = 0;           // bytes of input in `m_packet`
  std::uint32_t m_rest = 0;                  // bytes at the end of the packet still to be decoded
  const std::uint8_t* m_next = nullptr;      // their address in the caller's input; never dereferenced
};

}  // namespace fmp4

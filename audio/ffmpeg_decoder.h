// One of FFmpeg's audio decoders, to interleaved 16-bit pairs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "audio/ffmpeg_abi.h"

// Exists only while FFmpeg is loaded. Not safe to use from several threads at a time.
class FFmpegDecoder {
 public:
  // Null when FFmpeg has no decoder of this id, or memory runs out. A decoder that FFmpeg fails to open is
  // reported, and decodes nothing.
  static std::unique_ptr<FFmpegDecoder> Open(ffmpeg57::CodecId id);
  ~FFmpegDecoder();
  FFmpegDecoder(const FFmpegDecoder&) = delete;
  FFmpegDecoder& operator=(const FFmpegDecoder&) = delete;

  // Decodes what one call takes of the input. `*outputBytes` receives the bytes of PCM written to `output`,
  // `room` at most. What it writes is limited by the unit's duration, too, in sample frames. Returns the
  // input bytes that are left, or -1 when the decoder fails. Input that begins where the last call's ended,
  // and is what that left, is taken for just this; any other begins a new packet, and what was left is
  // dropped.
  std::int32_t Decode(std::uint8_t* output, std::uint32_t room, std::uint32_t* outputBytes,
                      const std::uint8_t* input, std::uint32_t inputBytes, std::uint32_t duration);

  // Gives up what the last call left of its input. The decoder still gets it, for FFmpeg takes no new packet
  // before the last one is used up; what it decodes to is dropped.
  void DropRest();

 private:
  FFmpegDecoder() = default;

  bool TakePacket(const std::uint8_t* input, std::uint32_t bytes);
  bool DecodeOnce(bool& gotFrame);

  ffmpeg57::CodecContext* m_context = nullptr;
  bool m_opened = false;
  ffmpeg57::Frame* m_frame = nullptr;        // made when first needed
  std::unique_ptr<std::uint8_t[]> m_packet;  // a copy of the input, and zeros after it
  std::size_t m_packetRoom = 0;              // bytes of it, which only grow
  std::uint32_t m_packetBytes = 0;           // of the input
  std::uint32_t m_rest = 0;                  // the last ones of these, which are still to be decoded
  const std::uint8_t* m_next = nullptr;      // where they are in the caller's input; never read
};

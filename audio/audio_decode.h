// Decodes the compressed samples of one audio track to interleaved PCM and keeps a sliding buffer of it, so
// that PCM frames can be read from any position, regardless of access unit boundaries.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "audio/ffmpeg_decoder.h"
#include "audio/umc/base_codec.h"
#include "qvr.h"

namespace fmp4 {

// RemoveSamples on an empty buffer.
inline constexpr std::uint32_t VL_E_AUDIO_EMPTY = 0xE8023027u;
// The PCM buffer could not be allocated.
inline constexpr std::uint32_t VL_E_AUDIO_MEMORY = 0xE8023020u;

// Codec codes, the four characters in file byte order.
inline constexpr std::uint32_t VL_FCC_AES3 = 0x61657333u;  // "aes3"
inline constexpr std::uint32_t VL_FCC_MP1 = 0x2E6D7031u;   // ".mp1"
inline constexpr std::uint32_t VL_FCC_MP2 = 0x2E6D7032u;   // ".mp2"
inline constexpr std::uint32_t VL_FCC_MP3 = 0x2E6D7033u;   // ".mp3"
inline constexpr std::uint32_t VL_FCC_AC3 = 0x61632D33u;   // "ac-3"
inline constexpr std::uint32_t VL_FCC_EAC3 = 0x65616333u;  // "eac3"

// A "frame" here is a PCM frame: one sample of every channel. Not thread-safe.
class VL_Audio_Decode {
 public:
  VL_Audio_Decode();
  VL_Audio_Decode(const VL_Audio_Decode&) = delete;
  VL_Audio_Decode& operator=(const VL_Audio_Decode&) = delete;

  // Closes the decoder. The PCM buffer is not freed: see ReleaseBuffer.
  virtual ~VL_Audio_Decode();

  // Opens a decoder for the described stream, with FFmpeg if available. For a codec without a decoder the
  // object stays closed. AC-3 is always decoded to two channels, and the description is updated accordingly.
  // Returns 0.
  virtual std::uint32_t Init(QVRAUDIO* format);

  // Discards buffered PCM and resets the decoder; the next frame decoded is at position 0. An FFmpeg decoder
  // keeps its state. Returns 0.
  virtual std::uint32_t Reset();

  // Ensures space for `frames` more frames. The first buffer has 200,000 bytes, whatever is requested.
  // Returns 0 or VL_E_AUDIO_MEMORY.
  virtual std::uint32_t CheckBuffer(std::uint32_t frames);

  // Decodes as much of the input as one decoder call consumes. `*outputBytes` receives the PCM bytes written.
  // An output inside the PCM buffer has space up to the buffer's end, any other 0xFFFFF bytes. Returns the
  // number of input bytes left, or -1 if the decoder fails; `*outputBytes` is then unchanged (0 with FFmpeg).
  // `duration` is that of the input in frames, which limits FFmpeg's output; `reserved` and `channelPair` are
  // ignored by the decoders here.
  virtual std::int32_t DecodeFrameAudio(std::uint8_t* output, std::uint32_t* outputBytes, std::uint8_t* input,
                                        std::uint32_t inputBytes, std::uint32_t reserved,
                                        std::uint32_t channelPair, std::uint32_t duration);

  // Decodes a complete input into the PCM buffer. `*outputBytes` receives the PCM bytes added. Returns the
  // number of input bytes left (0: all were consumed), or -1 if the decoder failed; PCM decoded before the
  // failure is kept. `duration` as above; the other three arguments are ignored by the decoders here.
  virtual std::int32_t DecodeFrameAudioBuffered(std::uint8_t* input, std::uint32_t inputBytes,
                                                std::uint32_t* outputBytes, std::uint32_t reserved,
                                                std::uint32_t channelPair, std::uint32_t duration,
                                                std::uint32_t mono);

  // Copies frames from `position` to `destination` + `*offset` and advances the offset; frames up to the last
  // one copied leave the buffer. A position outside the buffer empties it and becomes its start. A request
  // beyond the buffered frames copies as many frames as are buffered, counted from `position`: unless it
  // starts at the first buffered frame, the caller must limit it. Returns 0.
  virtual std::uint32_t PullAudio(std::uint64_t position, std::uint32_t frames, std::uint8_t* destination,
                                  std::uint32_t* offset);

  // Drops frames from the start of the buffer. Returns 0, or VL_E_AUDIO_EMPTY if it is empty.
  virtual std::uint32_t RemoveSamples(std::uint32_t frames);

  // True if a decoder is open.
  virtual bool IsOpen() const;

  // Sets the number in its track, from 0, of the next access unit, which determines the phase of the SBR
  // noise in AAC. Ignored by other decoders.
  void SetUnit(std::uint64_t number);

  // True once the decoder has converged: its output no longer depends on anything before the frames decoded
  // or lost since Reset, except for an overlap into the next frame.
  [[nodiscard]] bool Converged() const;

  // True if the last Init, CheckBuffer or decoding call failed because memory was exhausted, which says
  // nothing about its input.
  [[nodiscard]] bool MemoryShort() const { return m_memoryShort; }

  // Resets the signal that overlaps into the next frame, after a lost frame. Buffered PCM is kept. An FFmpeg
  // decoder keeps its state, as in Reset.
  void ResetHistory();

  // Passes the AudioSpecificConfig (ISO/IEC 14496-3, 1.6.2.1) of an AAC track to the decoder, after Init; the
  // headers before its samples hold only part of it. An unsupported configuration closes the decoder, with a
  // warning that states the reason. A truncated one is ignored in favour of those headers, unless its object
  // type is unsupported. Ignored by other decoders.
  void SetConfiguration(const std::uint8_t* data, std::size_t size);

  // Fields that the reader sets and inspects between calls.
  void SetChannels(std::uint32_t channels) { m_channels = channels; }
  void SetFrameSize(std::uint32_t bytes);
  void SetBufferStart(std::uint64_t position) { m_bufferStart = position; }
  [[nodiscard]] std::uint32_t CodecCode() const { return m_codecCode; }
  [[nodiscard]] std::uint32_t BitsPerSample() const { return m_bitsPerSample; }
  [[nodiscard]] std::uint32_t BytesPerSecond() const { return m_bytesPerSecond; }
  [[nodiscard]] std::uint32_t Channels() const { return m_channels; }
  [[nodiscard]] std::uint32_t FrameSize() const { return m_frameSize; }
  [[nodiscard]] std::uint64_t BufferStart() const { return m_bufferStart; }
  [[nodiscard]] std::uint32_t BufferedFrames() const { return m_bufferedFrames; }
  [[nodiscard]] std::uint32_t BufferedBytes() const { return m_bufferedBytes; }
  [[nodiscard]] std::uint32_t BufferCapacity() const { return m_bufferCapacity; }

  // Frees the PCM buffer, as the owner does when the track is closed.
  void ReleaseBuffer();

  // Closes the decoder; the next Init starts from scratch.
  void CloseCodec();

 private:
  void OpenAac(const QVRAUDIO& format);
  void OpenAc3(const QVRAUDIO& format);
  void SetBufferedFrames(std::uint32_t frames);
  // Number of bytes that may be written at `output`.
  [[nodiscard]] std::uint32_t WritableBytesAt(const std::uint8_t* output) const;

  std::uint32_t m_codecCode = 0;
  std::uint32_t m_bitsPerSample = 16;
  std::uint32_t m_bytesPerSecond = 0;
  std::uint32_t m_frameSize = 4;  // bytes
  std::uint32_t m_channels = 2;
  std::unique_ptr<UMC::BaseCodecParams> m_params;
  std::unique_ptr<UMC::AudioCodec> m_codec;
  std::unique_ptr<FFmpegDecoder> m_ffmpeg;  // replaces m_codec
  UMC::MediaData m_input;
  UMC::MediaData m_output;
  std::uint32_t m_bufferedBytes = 0;
  std::uint32_t m_bufferCapacity = 0;  // bytes
  std::uint64_t m_bufferStart = 0;     // position of the first buffered frame
  std::uint32_t m_bufferedFrames = 0;
  bool m_memoryShort = false;
  std::uint8_t* m_buffer = nullptr;  // allocated by malloc
};

}  // namespace fmp4

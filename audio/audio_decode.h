// Turns the compressed samples of one audio track into interleaved PCM, and keeps a sliding buffer of it, so
// that sample frames can be had from any position, wherever the access units begin and end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "audio/ffmpeg_decoder.h"
#include "audio/umc/base_codec.h"
#include "qvr.h"

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

// A "frame" is one sample of every channel. Not safe to use from several threads at a time.
class VL_Audio_Decode {
 public:
  VL_Audio_Decode();
  VL_Audio_Decode(const VL_Audio_Decode&) = delete;
  VL_Audio_Decode& operator=(const VL_Audio_Decode&) = delete;

  // Closes the decoder. The PCM buffer is not given back: ReleaseBuffer does that.
  virtual ~VL_Audio_Decode();

  // Opens a decoder for the described stream, with FFmpeg where it is to be had. A codec without one leaves
  // the object not open. AC-3 is decoded to two channels, whatever it has, and the description told so.
  // Returns 0.
  virtual std::uint32_t Init(QVRAUDIO* format);

  // Forgets buffered PCM and the decoder's signal; the next frame decoded is at position 0. A decoder of
  // FFmpeg keeps its signal. Returns 0.
  virtual std::uint32_t Reset();

  // Makes room for so many more frames. The first buffer has 200,000 bytes, whatever is asked. Returns 0 or
  // VL_E_AUDIO_MEMORY.
  virtual std::uint32_t CheckBuffer(std::uint32_t frames);

  // Decodes as much of the input as one call of the decoder takes. `*outputBytes` receives the PCM bytes
  // written. The output has room for as much PCM as the buffer holds after it when it lies in the PCM
  // buffer, else for 0xFFFFF bytes. Returns the input bytes that are left, or -1 when the decoder fails,
  // which leaves `*outputBytes` alone (0 with FFmpeg). `duration` is that of the input in frames, by which
  // FFmpeg's output is limited; `reserved` and `channelPair` do not matter to the decoders here.
  virtual std::int32_t DecodeFrameAudio(std::uint8_t* output, std::uint32_t* outputBytes, std::uint8_t* input,
                                        std::uint32_t inputBytes, std::uint32_t reserved,
                                        std::uint32_t channelPair, std::uint32_t duration);

  // Decodes a whole input into the PCM buffer. `*outputBytes` receives the PCM bytes added. Returns the
  // input bytes that are left (0: all were used), or -1 when the decoder failed; what was decoded until then
  // stays. `duration` as above; the three other arguments do not matter to the decoders here.
  virtual std::int32_t DecodeFrameAudioBuffered(std::uint8_t* input, std::uint32_t inputBytes,
                                                std::uint32_t* outputBytes, std::uint32_t reserved,
                                                std::uint32_t channelPair, std::uint32_t duration,
                                                std::uint32_t mono);

  // Copies frames from `position` on to `destination` + `*offset` and advances the offset; the frames up to
  // the last one copied leave the buffer. A position outside the buffer empties it and makes it start there.
  // A request that goes beyond the buffered frames copies as many as are buffered, counted from `position`:
  // unless it starts with the first of them, the caller limits it. Returns 0.
  virtual std::uint32_t PullAudio(std::uint64_t position, std::uint32_t frames, std::uint8_t* destination,
                                  std::uint32_t* offset);

  // Drops frames from the head of the buffer. Returns 0, or VL_E_AUDIO_EMPTY when there are none.
  virtual std::uint32_t RemoveSamples(std::uint32_t frames);

  // True when there is a decoder.
  virtual bool IsOpen() const;

  // Tells the number in its track, from 0, of the access unit that comes next, by which AAC places its noise.
  // Without effect on other decoders.
  void SetUnit(std::uint64_t number);

  // True when what comes next does not depend on what came before the frames decoded or lost since Reset, but
  // for an overlap into the next frame.
  [[nodiscard]] bool Settled() const;

  // True when the last CheckBuffer or decoding call failed because memory was short, which says nothing of
  // its input.
  [[nodiscard]] bool MemoryShort() const { return m_memoryShort; }

  // Forgets the signal that overlaps into the next frame, for a frame in between is lost. Buffered PCM stays.
  // A decoder of FFmpeg keeps its signal, as with Reset.
  void ForgetSignal();

  // Tells, after Init, the AudioSpecificConfig (ISO/IEC 14496-3, 1.6.2.1) of an AAC track, of which the
  // headers before its samples have room for little. One that is not supported closes the decoder, with a
  // warning that says why; one that is cut off leaves it to those headers, unless its object type is none
  // that is supported. Without effect on other decoders.
  void SetConfiguration(const std::uint8_t* data, std::size_t size);

  // What the reader sets and looks at between calls.
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

  // Gives the PCM buffer back, as the owner does when the track is closed.
  void ReleaseBuffer();

  // Closes the decoder, so that the next Init starts afresh.
  void CloseCodec();

 private:
  void OpenAac(const QVRAUDIO& format);
  void OpenAc3(const QVRAUDIO& format);
  void SetBufferedFrames(std::uint32_t frames);
  // Bytes that may be written at `output`.
  [[nodiscard]] std::uint32_t RoomAt(const std::uint8_t* output) const;

  std::uint32_t m_codecCode = 0;
  std::uint32_t m_bitsPerSample = 16;
  std::uint32_t m_bytesPerSecond = 0;
  std::uint32_t m_frameSize = 4;  // bytes
  std::uint32_t m_channels = 2;
  std::unique_ptr<UMC::BaseCodecParams> m_params;
  std::unique_ptr<UMC::AudioCodec> m_codec;
  std::unique_ptr<FFmpegDecoder> m_ffmpeg;  // in place of m_codec
  UMC::MediaData m_input;
  UMC::MediaData m_output;
  std::uint32_t m_bufferedBytes = 0;
  std::uint32_t m_bufferCapacity = 0;  // bytes
  std::uint64_t m_bufferStart = 0;     // position of the first buffered frame
  std::uint32_t m_bufferedFrames = 0;
  bool m_memoryShort = false;
  std::uint8_t* m_buffer = nullptr;  // of malloc
};

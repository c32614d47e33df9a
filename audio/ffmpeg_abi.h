// The binary interface of the FFmpeg generation that is loaded at run time: libavcodec 57 and libavutil 55 of
// FFmpeg 3.0 to 3.4 on 64-bit Linux and Windows. Its structures are larger than declared here and are
// allocated by the libraries alone; other generations have other offsets and other codec ids.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace fmp4::ffmpeg57 {

// Allocated and owned by the libraries; their fields are read by offset.
struct Codec;
struct CodecContext;
struct Frame;
struct Dictionary;

enum CodecId : int {
  kCodecMp2 = 0x15000,
  kCodecMp3 = 86017,
  kCodecEac3 = 86057,
  kCodecMp1 = 86059,
};

// AVSampleFormat: the interleaved formats, then the planar ones.
enum SampleFormat : int {
  kU8 = 0,
  kS16 = 1,
  kS32 = 2,
  kFloat = 3,
  kDouble = 4,
  kU8Planar = 5,
  kS16Planar = 6,
  kS32Planar = 7,
  kFloatPlanar = 8,
  kDoublePlanar = 9,
};

// AVPacket: the only structure allocated here, all zero except for the data.
struct Packet {
  void* buffer;
  std::int64_t presentationTime;
  std::int64_t decodeTime;
  const std::uint8_t* data;
  int size;  // bytes of `data`
  int streamIndex;
  int flags;
  void* sideData;
  int sideDataElements;
  std::int64_t duration;
  std::int64_t position;
  std::int64_t reserved;
};
static_assert(sizeof(void*) == 8, "the offsets are those of 64-bit systems");
static_assert(sizeof(Packet) == 88 && offsetof(Packet, data) == 24 && offsetof(Packet, size) == 32 &&
              offsetof(Packet, sideData) == 48 && offsetof(Packet, duration) == 64);

// Bytes after a packet's data that decoders may read: 32 in this generation, 64 in others.
inline constexpr std::size_t kPacketPadding = 64;

// Byte offsets of fields of AVFrame and AVCodecContext.
inline constexpr std::size_t kFrameData = 0;              // eight pointers, one per plane; null if unused
inline constexpr std::size_t kFrameSamples = 112;         // int: samples per channel
inline constexpr std::size_t kContextChannels = 476;      // int
inline constexpr std::size_t kContextSampleFormat = 480;  // int, a SampleFormat

// The field at `offset` in one of the libraries' structures.
template <class T>
T FieldAt(const void* structure, std::size_t offset) {
  T value;
  std::memcpy(&value, static_cast<const std::uint8_t*>(structure) + offset, sizeof value);
  return value;
}

// Versions are major << 16 | minor << 8 | micro. A fork's libraries have the same names and major versions
// but other offsets; their micro version is below 100. Offsets are known from 57.24 on.
constexpr bool IsAvcodec57(unsigned version) {
  return version >> 16 == 57 && (version >> 8 & 0xFF) >= 24 && (version & 0xFF) >= 100;
}
constexpr bool IsAvutil55(unsigned version) {
  return version >> 16 == 55 && (version & 0xFF) >= 100;
}

inline constexpr int kLogDebug = 48;

using LogCallback = void (*)(void* source, int level, const char* format, va_list arguments);

// The library functions in use, under their own names. Codec functions return a negative number on failure.
struct Functions {
  void (*avcodec_register_all)();
  const Codec* (*avcodec_find_decoder)(int id);  // null if not found
  CodecContext* (*avcodec_alloc_context3)(const Codec* codec);
  int (*avcodec_open2)(CodecContext* context, const Codec* codec, Dictionary** options);
  int (*avcodec_close)(CodecContext* context);
  // Returns the number of bytes consumed. The frame's data belong to the decoder and are valid until the next
  // call. From FFmpeg 3.4 on, a partly consumed packet must be followed by exactly its remainder until that
  // is used up or the call fails; any other packet fails, and so does every later one. An empty packet ends
  // the stream for good.
  int (*avcodec_decode_audio4)(CodecContext* context, Frame* frame, int* gotFrame, const Packet* packet);
  Frame* (*av_frame_alloc)();
  void (*av_frame_free)(Frame** frame);
  void (*av_free)(void* memory);
  void (*av_log_set_callback)(LogCallback callback);
  void (*av_log_default_callback)(void* source, int level, const char* format, va_list arguments);
  void (*av_log_set_level)(int level);
  const char* (*av_version_info)();
};

}  // namespace fmp4::ffmpeg57

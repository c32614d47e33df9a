// Stands in for libavcodec 57 (STAND_IN_AVCODEC) or libavutil 55 of FFmpeg: exports the entry points that the
// loader asks for and nothing else, with a decoder that puts out what its packets tell. With STAND_IN_VERSION
// it tells its version too.
#include "ffmpeg_stand_in.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "vlutil.h"

#define ENTRY extern "C" __attribute__((visibility("default")))
// An entry point that is never called.
#define UNCALLED(name) \
  ENTRY void name() {  \
    std::abort();      \
  }

namespace {

#if defined(STAND_IN_AVCODEC)
constexpr char kName[] = "avcodec";
#else
constexpr char kName[] = "avutil";
#endif

// The log shows when the library comes and goes.
__attribute__((constructor)) void loaded() {
  ErrOut("%s loaded", kName);
}
__attribute__((destructor)) void unloaded() {
  ErrOut("%s unloaded", kName);
}

[[maybe_unused]] unsigned versionFrom(const char* variable) {
  const char* const text = std::getenv(variable);
  return text == nullptr ? 0 : static_cast<unsigned>(std::strtoul(text, nullptr, 10));
}

template <class T>
[[maybe_unused]] void putAt(void* structure, std::size_t offset, T value) {
  std::memcpy(static_cast<std::uint8_t*>(structure) + offset, &value, sizeof value);
}

template <class T>
[[maybe_unused]] T getFrom(const void* structure, std::size_t offset) {
  T value;
  std::memcpy(&value, static_cast<const std::uint8_t*>(structure) + offset, sizeof value);
  return value;
}

}  // namespace

#if defined(STAND_IN_AVCODEC)

namespace {

// A codec and the number that contexts of it hold.
struct Codec {
  const char* name;
  int id;
};
constexpr Codec kCodecs[] = {{"mp1", 86059}, {"mp2", 0x15000}, {"mp3", 86017}, {"eac3", 86057}};

constexpr std::size_t kContextSize = 1160;
constexpr std::size_t kContextCodec = 16;
constexpr std::size_t kContextExtradata = 128;
constexpr std::size_t kPacketSize = 88;

// Where the decoder keeps its samples; they are its own until the next call.
struct Planes {
  std::uint8_t* a = nullptr;
  std::uint8_t* b = nullptr;
};

std::atomic<int> busy{0};
std::atomic<bool> registered{false};

// A call that must not meet another on a second thread. Long enough for others to run into it.
struct Exclusive {
  bool alone = busy.fetch_add(1) == 0;
  Exclusive() { std::this_thread::yield(); }
  ~Exclusive() { busy.fetch_sub(1); }
};

Planes* planesOf(const void* context) {
  return getFrom<Planes*>(context, kContextExtradata);
}

void freePlanes(Planes& planes) {
  std::free(planes.a);
  std::free(planes.b);
  planes = {};
}

std::uint8_t* copyOf(const std::uint8_t* bytes, std::int32_t count) {
  if (count == 0) return nullptr;
  auto* const copy = static_cast<std::uint8_t*>(std::malloc(static_cast<std::size_t>(count)));
  std::memcpy(copy, bytes, static_cast<std::size_t>(count));
  return copy;
}

// Only data and size are set, and what lies behind the data is zero as far as decoders read.
bool isProper(const void* packet) {
  constexpr std::size_t kData = 24, kSizeEnd = 36, kPadding = 32;
  const auto* const bytes = static_cast<const std::uint8_t*>(packet);
  for (std::size_t i = 0; i < kPacketSize; ++i)
    if ((i < kData || i >= kSizeEnd) && bytes[i] != 0) return false;
  const auto* const data = getFrom<const std::uint8_t*>(packet, kData);
  const auto size = static_cast<std::size_t>(getFrom<int>(packet, 32));
  for (std::size_t i = 0; i < kPadding; ++i)
    if (data[size + i] != 0) return false;
  return true;
}

}  // namespace

ENTRY void avcodec_register_all() {
  const Exclusive call;
  registered = call.alone;
}
ENTRY const void* avcodec_find_decoder(int id) {
  if (!registered) return nullptr;
  for (const Codec& codec : kCodecs)
    if (codec.id == id) return &codec;
  return nullptr;
}
ENTRY void* avcodec_alloc_context3(const void* codec) {
  void* const context = std::calloc(1, kContextSize);
  putAt(context, kContextCodec, codec);
  return context;
}
ENTRY int avcodec_open2(void* context, const void* codec, void** options) {
  const Exclusive call;
  const bool fits = codec != nullptr && getFrom<const void*>(context, kContextCodec) == codec;
  if (!call.alone || !fits || options != nullptr || std::getenv(kStandInRefusesToOpen)) return -1;
  putAt(context, kContextExtradata, new Planes);
  ErrOut("%s opened", static_cast<const Codec*>(codec)->name);
  return 0;
}
ENTRY int avcodec_close(void* context) {
  const Exclusive call;
  if (!call.alone) std::abort();
  if (Planes* const planes = planesOf(context)) {
    freePlanes(*planes);
    delete planes;
    ErrOut("closed");
  }
  putAt<Planes*>(context, kContextExtradata, nullptr);
  return 0;
}
ENTRY int avcodec_decode_audio4(void* context, void* frame, int* gotFrame, const void* packet) {
  Planes* const planes = planesOf(context);
  if (planes == nullptr || !isProper(packet)) return -1;
  const auto* const data = getFrom<const std::uint8_t*>(packet, 24);
  const int size = getFrom<int>(packet, 32);
  StandInPacket head;
  if (static_cast<std::size_t>(size) < sizeof head) return -1;
  std::memcpy(&head, data, sizeof head);
  if (head.result < 0) return head.result;
  *gotFrame = head.gotFrame;
  freePlanes(*planes);
  const std::uint8_t* const samples = data + sizeof head;
  planes->a = copyOf(samples, head.planeABytes);
  planes->b = copyOf(samples + head.planeABytes, head.planeBBytes);
  putAt(frame, 0, planes->a);
  putAt(frame, 8, planes->b);
  putAt(frame, 112, head.samples);
  putAt(context, 476, head.channels);
  putAt(context, 480, head.format);
  return head.result == 0 ? size : head.result;
}
ENTRY void av_free(void*) {
  std::abort();  // libavutil's is the one to be called
}

UNCALLED(avcodec_register)
UNCALLED(avcodec_get_context_defaults3)
UNCALLED(avcodec_find_encoder)
UNCALLED(avcodec_is_open)
UNCALLED(avcodec_free_frame)
UNCALLED(avcodec_encode_video)
UNCALLED(avcodec_encode_video2)
UNCALLED(avcodec_decode_video2)
UNCALLED(avcodec_flush_buffers)
UNCALLED(av_init_packet)
UNCALLED(av_new_packet)
UNCALLED(av_free_packet)
UNCALLED(av_fast_padded_malloc)

#if defined(STAND_IN_VERSION)
ENTRY unsigned avcodec_version() {
  return versionFrom(kStandInAvcodecVersion);
}
#endif

#else

namespace {

constexpr std::size_t kFrameSize = 528;

using LogCallback = void (*)(void* source, int level, const char* format, va_list arguments);
LogCallback logCallback = nullptr;
int logLevel = 0;
char versionText[64];

void logNoise(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  if (logCallback) logCallback(nullptr, 16, format, arguments);
  va_end(arguments);
}

}  // namespace

ENTRY void* av_frame_alloc() {
  logNoise("a frame is made");
  return std::calloc(1, kFrameSize);
}
ENTRY void av_frame_free(void** frame) {
  std::free(*frame);
  *frame = nullptr;
}
ENTRY void av_free(void* memory) {
  std::free(memory);
}
ENTRY void av_log_set_level(int level) {
  logLevel = level;
}
ENTRY void av_log_default_callback(void*, int, const char* format, va_list) {
  ErrOut("FFmpeg's own log: %s", format);
}
ENTRY void av_log_set_callback(LogCallback callback) {
  logCallback = callback;
  logNoise("this is where the log goes");
}
// The version tells how the log is set up.
ENTRY const char* av_version_info() {
  std::snprintf(versionText, sizeof versionText, "of a stand-in (%s, level %d)",
                logCallback ? "log taken" : "log free", logLevel);
  return versionText;
}

UNCALLED(av_log_get_level)
UNCALLED(av_log_format_line)
UNCALLED(av_frame_get_buffer)
UNCALLED(av_image_alloc)
UNCALLED(av_freep)
UNCALLED(av_mallocz)
UNCALLED(av_malloc)
UNCALLED(av_log2)
UNCALLED(av_dict_get)
UNCALLED(av_dict_set)
UNCALLED(av_dict_copy)
UNCALLED(av_dict_free)

#if defined(STAND_IN_VERSION)
ENTRY unsigned avutil_version() {
  return versionFrom(kStandInAvutilVersion);
}
#endif

#endif

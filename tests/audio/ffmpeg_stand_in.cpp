// Stands in for libavcodec 57 (STAND_IN_AVCODEC) or libavutil 55 of FFmpeg 3.4: exports only the entry points
// that the loader requests, with a decoder that outputs what its packets specify and requires everything that
// the real one requires. libavcodec needs libavutil by name. With STAND_IN_VERSION they also report their
// versions.
#include "tests/audio/ffmpeg_stand_in.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#include "vlutil.h"

namespace fmp4 {

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

// The log shows when the library is loaded and unloaded.
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

// Of libavutil.
extern "C" void av_frame_unref(void* frame);

namespace {

// A codec and the value that its contexts hold.
struct Codec {
  const char* name;
  int id;
};
constexpr int kEac3 = 86057;
constexpr Codec kCodecs[] = {{"mp1", 86059}, {"mp2", 0x15000}, {"mp3", 86017}, {"eac3", kEac3}};

constexpr std::size_t kContextSize = 1160;
constexpr std::size_t kContextCodec = 16;
constexpr std::size_t kContextExtradata = 128;
constexpr std::size_t kPacketSize = 88;

constexpr int kInvalidArgument = -22, kInvalidData = -1094995529, kBug = -558323010;

using Bytes = std::vector<std::uint8_t>;

// A decoder's own data, from opening to closing.
struct Decoder {
  // The samples of the last frame, until the next call.
  Bytes planeA;
  Bytes planeB;
  Bytes current;  // the packet being decoded, from its first byte not yet decoded
  Bytes queued;   // the one after it
  int rest = 0;   // bytes left of a partly decoded packet: the size of the only packet that may follow
  bool ended = false;
};

// A frame: samples, their format, and its coded size.
struct Coded {
  StandInPacket head;
  const std::uint8_t* planes;
  std::size_t bytes;
};

std::atomic<int> busy{0};
std::atomic<bool> registered{false};

// A call that must not overlap with another thread's. Long enough for others to run into it.
struct Exclusive {
  bool alone = busy.fetch_add(1) == 0;
  Exclusive() { std::this_thread::yield(); }
  ~Exclusive() { busy.fetch_sub(1); }
};

Decoder* decoderOf(const void* context) {
  return getFrom<Decoder*>(context, kContextExtradata);
}

// A sync frame of AC-3 at 48 kHz: one pair of samples 1536 times, its first checksum (A/52, 5.3.1 and 5.3.2).
int readSyncFrame(const Bytes& packet, Coded& coded, Bytes& samples) {
  constexpr int kRates[] = {32,  40,  48,  56,  64,  80,  96,  112, 128, 160,
                            192, 224, 256, 320, 384, 448, 512, 576, 640};  // kbit/s
  constexpr std::size_t kFrames = 1536;
  if (packet.size() < 5 || packet[4] >> 6 != 0 || (packet[4] & 63) / 2 >= 19) return kInvalidData;
  const auto bytes = static_cast<std::size_t>(4 * kRates[(packet[4] & 63) / 2]);
  if (packet.size() < bytes) return kInvalidData;
  for (std::size_t i = 0; i < 2 * kFrames; ++i) {
    samples.push_back(packet[3]);
    samples.push_back(packet[2]);
  }
  coded.head.samples = kFrames;
  coded.head.planeABytes = static_cast<std::int32_t>(samples.size());
  coded.planes = samples.data();
  return static_cast<int>(bytes);
}

int readStandIn(const Bytes& packet, Coded& coded) {
  if (packet.size() < sizeof coded.head) return kInvalidData;
  std::memcpy(&coded.head, packet.data(), sizeof coded.head);
  coded.planes = packet.data() + sizeof coded.head;
  const StandInPacket& head = coded.head;
  const std::int64_t planes = std::int64_t{head.planeABytes} + head.planeBBytes;
  const auto space = static_cast<std::int64_t>(packet.size() - sizeof head);
  if (head.planeABytes < 0 || head.planeBBytes < 0 || planes > space) return kInvalidData;
  if (head.result == kStandInTakesNothing) return 0;
  return head.result == 0 ? static_cast<int>(packet.size()) : head.result;
}

// Decodes the frame at the start of the current packet. Returns its size in bytes, or the error.
int decodeFrame(Decoder& decoder, void* context, void* frame, int* gotFrame) {
  Coded coded = {};
  Bytes samples;
  const Bytes& packet = decoder.current;
  const bool isSyncFrame = packet.size() > 1 && packet[0] == 0x0B && packet[1] == 0x77;
  const int used = isSyncFrame ? readSyncFrame(packet, coded, samples) : readStandIn(packet, coded);
  if (used < 0) return used;
  *gotFrame = coded.head.gotFrame;
  const std::uint8_t* const planeB = coded.planes + coded.head.planeABytes;
  decoder.planeA.assign(coded.planes, planeB);
  decoder.planeB.assign(planeB, planeB + coded.head.planeBBytes);
  putAt(frame, 0, decoder.planeA.empty() ? nullptr : decoder.planeA.data());
  putAt(frame, 8, decoder.planeB.empty() ? nullptr : decoder.planeB.data());
  putAt(frame, 112, coded.head.samples);
  putAt(context, 476, coded.head.channels);
  putAt(context, 480, coded.head.format);
  return used;
}

// Takes a packet, or the rest of the one before, and decodes up to a frame. Returns the bytes used, or the
// error, on which the current packet is dropped but not the queued one.
int decodePacket(Decoder& decoder, void* context, void* frame, int* gotFrame, const Bytes& packet) {
  if (decoder.rest > 0 && decoder.rest != static_cast<int>(packet.size())) return kInvalidArgument;
  if (decoder.rest == 0) {
    if (!decoder.queued.empty()) return kBug;
    decoder.queued = packet;
  }
  std::size_t used = 0;
  while (*gotFrame == 0) {
    if (decoder.current.empty()) decoder.current.swap(decoder.queued);
    if (decoder.current.empty()) break;
    const int result = decodeFrame(decoder, context, frame, gotFrame);
    if (result < 0) decoder.current.clear();
    if (result < 0) return result;
    if (result == 0) decoder.current.resize(1);  // not even a header
    const std::size_t taken = std::min(static_cast<std::size_t>(result), decoder.current.size());
    decoder.current.erase(decoder.current.begin(),
                          decoder.current.begin() + static_cast<std::ptrdiff_t>(taken));
    used += static_cast<std::size_t>(result);
  }
  return static_cast<int>(std::min(used, packet.size()));
}

// Only data and size are set, and the padding that decoders read after the data is zero.
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
  if (!registered || (id == kEac3 && std::getenv(kStandInLacksEac3))) return nullptr;
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
  putAt(context, kContextExtradata, new Decoder);
  ErrOut("%s opened", static_cast<const Codec*>(codec)->name);
  return 0;
}
ENTRY int avcodec_close(void* context) {
  const Exclusive call;
  if (!call.alone) std::abort();
  if (Decoder* const decoder = decoderOf(context)) {
    delete decoder;
    ErrOut("closed");
  }
  putAt<Decoder*>(context, kContextExtradata, nullptr);
  return 0;
}
ENTRY int avcodec_decode_audio4(void* context, void* frame, int* gotFrame, const void* packet) {
  Decoder* const decoder = decoderOf(context);
  if (decoder == nullptr || !isProper(packet)) return kInvalidArgument;
  av_frame_unref(frame);
  *gotFrame = 0;
  const auto* const data = getFrom<const std::uint8_t*>(packet, 24);
  const int size = getFrom<int>(packet, 32);
  if (size == 0) decoder->ended = true;
  if (decoder->ended) return 0;
  const int result = decodePacket(*decoder, context, frame, gotFrame, Bytes(data, data + size));
  decoder->rest = result < 0 ? 0 : size - result;
  return result;
}
ENTRY void av_free(void*) {
  std::abort();  // libavutil's must be called instead
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

// The size of a frame belongs to libavutil: no other copy of it can take a frame of this one.
constexpr std::size_t kFrameSize = 528;
const char thisCopy = 0;

using LogCallback = void (*)(void* source, int level, const char* format, va_list arguments);
LogCallback logCallback = nullptr;
int logLevel = 0;
thread_local char versionText[64];

void logNoise(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  if (logCallback) logCallback(nullptr, 16, format, arguments);
  va_end(arguments);
}

}  // namespace

ENTRY void* av_frame_alloc() {
  logNoise("a frame is made");
  void* const frame = std::calloc(1, kFrameSize + sizeof(&thisCopy));
  putAt(frame, kFrameSize, &thisCopy);
  return frame;
}
ENTRY void av_frame_unref(void* frame) {
  if (getFrom<const char*>(frame, kFrameSize) != &thisCopy) std::abort();
  std::memset(frame, 0, kFrameSize);
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

}  // namespace fmp4

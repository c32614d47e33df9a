#include "audio/ffmpeg_loader.h"

#include <array>
#include <functional>
#include <optional>
#include <span>

#include "vlsync.h"
#include "vlutil.h"

namespace fmp4 {

namespace {

using ffmpeg57::Functions;

// ---- Setting and messages ----------------------------------------------------------------------------

constexpr char kSettingKey[] = "Framewright\\Codecs\\FFMPEG";
constexpr char kSettingName[] = "AllowFFMPEG";

constexpr char kDisabled[] = "FFMPEG codecs disabled, some codecs will not be available";
constexpr char kNoAvcodec[] = "FFMPEG DLLs (AvCodec) will not load, extra codecs will not be available.";
constexpr char kNoAvutil[] = "FFMPEG DLLs (AvUtil) will not load, extra codecs will not be available.";
constexpr char kIncomplete[] = "Unable to find proc in FFMPEG dll";

// Every track that is opened looks for the libraries; a failure is logged at most once per interval.
constexpr std::uint64_t kReportInterval = 10000;  // milliseconds

void reportStatus(const char* text) {
  ErrFmtOut(VL_LOG_STATUS, 0, 0, "STATUS(vlx_Fmp4): %s\n", text);
}

// Creates the setting, enabled, if it does not exist.
bool isAllowed() {
  std::uint32_t value = 1;
  if (vlCFGValueDword(VL_CFG_DEFAULT_ROOT, kSettingKey, kSettingName, &value, VL_CFG_READ) != VL_OK) {
    value = 1;
    vlCFGValueDword(VL_CFG_DEFAULT_ROOT, kSettingKey, kSettingName, &value, VL_CFG_WRITE);
    vlCFGSave(VL_CFG_DEFAULT_ROOT, 0);
  }
  return value != 0;
}

// ---- The two libraries -------------------------------------------------------------------------------

enum class Need { Required, Optional };

// A library function. Not all of them are called, but a library that lacks a required one is not a supported
// version.
struct EntryPoint {
  static constexpr std::size_t kNotCalled = ~std::size_t{0};

  const char* name;
  Need need = Need::Required;
  std::size_t place = kNotCalled;  // index of its pointer in Functions
};

#define VL_CALLED(name) \
  { #name, Need::Required, offsetof(Functions, name) }

constexpr EntryPoint kAvcodecEntryPoints[] = {
    {"avcodec_register"},
    VL_CALLED(avcodec_alloc_context3),
    {"avcodec_get_context_defaults3"},
    {"avcodec_find_encoder"},
    VL_CALLED(avcodec_find_decoder),
    {"avcodec_is_open"},
    VL_CALLED(avcodec_open2),
    VL_CALLED(avcodec_close),
    {"avcodec_free_frame", Need::Optional},
    {"avcodec_encode_video", Need::Optional},
    {"avcodec_encode_video2"},
    {"avcodec_decode_video2"},
    VL_CALLED(avcodec_decode_audio4),
    VL_CALLED(avcodec_register_all),
    {"avcodec_flush_buffers"},
    // libavutil's own is found later and takes precedence.
    {"av_free", Need::Optional},
    {"av_init_packet"},
    {"av_new_packet"},
    {"av_free_packet"},
    {"av_fast_padded_malloc"},
};

constexpr EntryPoint kAvutilEntryPoints[] = {
    VL_CALLED(av_frame_alloc),
    VL_CALLED(av_frame_free),
    {"av_log_get_level"},
    VL_CALLED(av_log_set_level),
    VL_CALLED(av_log_set_callback),
    VL_CALLED(av_log_default_callback),
    {"av_log_format_line", Need::Optional},
    {"av_frame_get_buffer"},
    {"av_image_alloc", Need::Optional},
    VL_CALLED(av_free),
    {"av_freep"},
    {"av_mallocz"},
    {"av_malloc"},
    {"av_log2"},
    {"av_dict_get"},
    {"av_dict_set"},
    {"av_dict_copy"},
    {"av_dict_free"},
    VL_CALLED(av_version_info),
};

#undef VL_CALLED

// What is known about a library before it is loaded.
struct LibraryKind {
  std::array<const char*, 3> places;  // in search order
  const char* versionName;            // function that returns the version; null if none
  bool (*isKnown)(unsigned version);
  std::span<const EntryPoint> entryPoints;
};

constexpr LibraryKind kAvcodec = {
    {"avcodec-57.dll", "C:\\Program Files\\FFMpeg\\avcodec-57.dll", "Extended_formats\\avcodec-57.dll"},
    "avcodec_version",
    &ffmpeg57::IsAvcodec57,
    kAvcodecEntryPoints};

constexpr LibraryKind kAvutil = {
    {"avutil-55.dll", "C:\\Program Files\\FFMpeg\\avutil-55.dll", "Extended_formats\\avutil-55.dll"},
    "avutil_version",
    &ffmpeg57::IsAvutil55,
    kAvutilEntryPoints};

class Library {
 public:
  bool loaded() const { return handle_ != nullptr; }
  // Whether all required functions were found.
  bool complete() const { return complete_; }

  // Unless one is already loaded, loads the first candidate of a supported version that fits the other
  // library, if that is loaded; then resolves its functions. Returns false if there is none.
  bool load(const LibraryKind& kind, const std::function<bool(void* candidate)>& fits, Functions& functions) {
    for (const char* place : kind.places) {
      if (!loaded()) handle_ = loadFitting(kind, fits, place);
    }
    if (loaded()) resolve(kind, functions);
    return loaded();
  }

  void* handle() const { return handle_; }

  void unload() {
    if (loaded()) vlOSFreeLibrary(handle_);
    handle_ = nullptr;
    complete_ = false;
  }

 private:
  static void* loadFitting(const LibraryKind& kind, const std::function<bool(void* candidate)>& fits,
                           const char* place) {
    constexpr std::uint32_t kLoadFlags = 2;
    void* const handle = vlOSLoadLibrary(place, kLoadFlags);
    if (handle == nullptr || (isKnown(kind, handle) && fits(handle))) return handle;
    vlOSFreeLibrary(handle);
    return nullptr;
  }

  // A library whose version differs from what its name says is rejected.
  static bool isKnown(const LibraryKind& kind, void* handle) {
    const auto version = reinterpret_cast<unsigned (*)()>(vlOSGetProcAddress(handle, kind.versionName));
    return version == nullptr || kind.isKnown(version());
  }

  void resolve(const LibraryKind& kind, Functions& functions) {
    complete_ = true;
    for (const EntryPoint& entry : kind.entryPoints) {
      void* const address = vlOSGetProcAddress(handle_, entry.name);
      if (address == nullptr && entry.need == Need::Required) complete_ = false;
      if (entry.place != EntryPoint::kNotCalled)
        std::memcpy(reinterpret_cast<std::uint8_t*>(&functions) + entry.place, &address, sizeof address);
    }
  }

  void* handle_ = nullptr;
  bool complete_ = false;
};

// Whether libavcodec uses this libavutil, as far as the system can tell. If two copies are loaded, it may be
// bound to the other one, and frames allocated by one are too small for the other.
bool isBoundTo(void* avcodec, void* avutil) {
  constexpr char kShared[] = "av_frame_alloc";
  void* const used = vlOSGetProcAddress(avcodec, kShared);
  return used == nullptr || used == vlOSGetProcAddress(avutil, kShared);
}

// FFmpeg's own messages are discarded. A callback receives messages of every level, whatever level is set.
void swallowLog(void* /*source*/, int /*level*/, const char* /*format*/, va_list /*arguments*/) {}

// ---- State of the process ----------------------------------------------------------------------------

struct State {
  State() { vlOSInitializeCriticalSection(&lock); }
  // The libraries stay loaded but this module may be unloaded: they must no longer log through it.
  ~State() {
    if (avutil.loaded() && functions.av_log_set_callback)
      functions.av_log_set_callback(functions.av_log_default_callback);
  }

  VLCRITICALSECTION lock;  // lives as long as the process: the host has no call to delete it
  Library avcodec;
  Library avutil;
  Functions functions = {};
  std::optional<std::uint64_t> lastReport;  // of a missing libavcodec; milliseconds of the host's clock
};

State& state() {
  static State theState;
  return theState;
}

// Whether it is time to report again that libavcodec is missing.
bool isReportDue(State& s) {
  const std::uint64_t now = vsyncGetCurMs();
  if (s.lastReport && now - *s.lastReport < kReportInterval) return false;
  s.lastReport = now;
  return true;
}

// The result to return, and the message to log once the lock is released.
struct Outcome {
  std::int32_t result;
  const char* text;  // null: no message
};

// Called with the lock held.
Outcome loadBoth(State& s) {
  const auto fitsAvutil = [&](void* avcodec) {
    return !s.avutil.loaded() || isBoundTo(avcodec, s.avutil.handle());
  };
  const auto fitsAvcodec = [&](void* avutil) { return isBoundTo(s.avcodec.handle(), avutil); };
  if (!s.avcodec.loaded() && !s.avcodec.load(kAvcodec, fitsAvutil, s.functions))
    return {VL_FFMPEG_MISSING, isReportDue(s) ? kNoAvcodec : nullptr};
  if (!s.avutil.loaded()) {
    if (!s.avutil.load(kAvutil, fitsAvcodec, s.functions)) return {VL_FFMPEG_MISSING, kNoAvutil};
    if (s.functions.av_log_set_callback) s.functions.av_log_set_callback(&swallowLog);
    if (s.functions.av_log_set_level) s.functions.av_log_set_level(ffmpeg57::kLogDebug);
  }
  if (!s.avcodec.complete() || !s.avutil.complete()) return {VL_FFMPEG_REFUSED, kIncomplete};
  return {VL_FFMPEG_AVAILABLE, nullptr};
}

}  // namespace

std::int32_t LoadFFmpeg() {
  State& s = state();
  bool allowed = false;
  Outcome outcome = {VL_FFMPEG_REFUSED, nullptr};
  {
    const FFmpegLock lock;
    allowed = isAllowed();
    if (allowed) outcome = loadBoth(s);
  }
  if (!allowed) ErrFmtOut(VL_LOG_CAUTION, 0, 0, "CAUTION(vlx_Fmp4): %s\n", kDisabled);
  if (outcome.text != nullptr) reportStatus(outcome.text);
  if (outcome.result == VL_FFMPEG_AVAILABLE) {
    if (const char* const version = s.functions.av_version_info()) ErrOut("\n FFMPEG Version %s. ", version);
  }
  return outcome.result;
}

std::int32_t UnloadFFmpeg() {
  const FFmpegLock lock;
  state().avcodec.unload();
  return -1;
}

const ffmpeg57::Functions& FFmpeg() {
  return state().functions;
}

FFmpegLock::FFmpegLock() {
  vlOSEnterCriticalSection(&state().lock);
}

FFmpegLock::~FFmpegLock() {
  vlOSLeaveCriticalSection(&state().lock);
}

}  // namespace fmp4

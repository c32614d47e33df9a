// Which libraries are searched for, in which order, and what is logged; with stand-ins for FFmpeg's libraries
// and a clock that only the tests advance.
#include "audio/ffmpeg_loader.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "tests/audio/ffmpeg_place.h"
#include "tests/audio/ffmpeg_stand_in.h"
#include "tests/support/log_capture.h"
#include "vlsync.h"

namespace fmp4 {

namespace {

std::uint64_t now = 0;  // milliseconds

// Libraries requested from the host, with their flags.
std::vector<std::pair<std::string, std::uint32_t>> asked;
int askedOfNoLibrary = 0;
std::string hidden;  // a library of this name is not found

// The host's own function of this name.
template <class Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

}  // namespace fmp4

using namespace fmp4;

// In place of the host's.
std::uint64_t vsyncGetCurMs() {
  return now;
}
void* vlOSLoadLibrary(const char* path, std::uint32_t flags) {
  asked.emplace_back(path, flags);
  if (!hidden.empty() && std::string_view(path).ends_with(hidden)) return nullptr;
  return next<decltype(vlOSLoadLibrary)>("vlOSLoadLibrary")(path, flags);
}
void* vlOSGetProcAddress(void* library, const char* name) {
  if (library == nullptr) ++askedOfNoLibrary;
  return next<decltype(vlOSGetProcAddress)>("vlOSGetProcAddress")(library, name);
}

namespace fmp4 {

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::StartsWith;

const LogLine kAvcodecLoaded = {VL_LOG_PLAIN, "avcodec loaded"};
const LogLine kAvcodecUnloaded = {VL_LOG_PLAIN, "avcodec unloaded"};
const LogLine kAvutilLoaded = {VL_LOG_PLAIN, "avutil loaded"};
const LogLine kAvutilUnloaded = {VL_LOG_PLAIN, "avutil unloaded"};
const LogLine kVersion = {VL_LOG_PLAIN, "\n FFMPEG Version of a stand-in (log taken, level 48). "};
const LogLine kDisabled = {0x40000000u,
                           "CAUTION(vlx_Fmp4): FFMPEG codecs disabled, some codecs will not be available\n"};
const LogLine kNoAvcodec = {
    0u, "STATUS(vlx_Fmp4): FFMPEG DLLs (AvCodec) will not load, extra codecs will not be available.\n"};
const LogLine kNoAvutil = {
    0u, "STATUS(vlx_Fmp4): FFMPEG DLLs (AvUtil) will not load, extra codecs will not be available.\n"};
const LogLine kIncomplete = {0u, "STATUS(vlx_Fmp4): Unable to find proc in FFMPEG dll\n"};

TEST(FFmpegLoader, LoadsBothFromAnyPlaceAndLogsTheVersion) {
  for (const char* folder : {kBesideHost, kSearchPath, kFormats}) {
    inFFmpegPlace([folder] {
      const FFmpegPlace place;
      place.allow(true);
      place.putBoth(folder);
      LogCapture log;
      EXPECT_EQ(LoadFFmpeg(), 0) << folder;
      EXPECT_THAT(log.lines, ElementsAre(kAvutilLoaded, kAvcodecLoaded, kVersion)) << folder;
    });
  }
}

TEST(FFmpegLoader, SearchesEveryPlaceForAvcodecThenForAvutil) {
  inFFmpegPlace([] {
    const FFmpegPlace place;
    place.allow(true);
    place.putBoth();
    hidden = "avutil-55.dll";
    EXPECT_EQ(LoadFFmpeg(), -2);
    EXPECT_THAT(asked,
                ElementsAre(Pair("avcodec-57.dll", 2), Pair("C:\\Program Files\\FFMpeg\\avcodec-57.dll", 2),
                            Pair("Extended_formats\\avcodec-57.dll", 2), Pair("avutil-55.dll", 2),
                            Pair("C:\\Program Files\\FFMpeg\\avutil-55.dll", 2),
                            Pair("Extended_formats\\avutil-55.dll", 2)));
    EXPECT_EQ(askedOfNoLibrary, 0) << "for an entry point";
  });
}

TEST(FFmpegLoader, LoadsOnceAndLogsTheVersionEachTime) {
  inFFmpegPlace([] {
    const FFmpegPlace place;
    place.allow(true);
    place.putBoth();
    ASSERT_EQ(LoadFFmpeg(), 0);
    LogCapture log;
    EXPECT_EQ(LoadFFmpeg(), 0);
    EXPECT_EQ(LoadFFmpeg(), 0);
    EXPECT_THAT(log.lines, ElementsAre(kVersion, kVersion));
  });
}

TEST(FFmpegLoader, LoadsOnceOnManyThreads) {
  inFFmpegPlace([] {
    const FFmpegPlace place;
    place.allow(true);
    place.putBoth();
    LogCapture log;
    std::vector<std::thread> threads;
    std::vector<int> results(8, 1);
    for (int& result : results) threads.emplace_back([&result] { result = LoadFFmpeg(); });
    for (std::thread& thread : threads) thread.join();
    EXPECT_THAT(results, testing::Each(0));
    ASSERT_EQ(log.lines.size(), 10u);
    EXPECT_EQ(log.lines[0], kAvutilLoaded);
    EXPECT_EQ(log.lines[1], kAvcodecLoaded);
    EXPECT_THAT(std::vector(log.lines.begin() + 2, log.lines.end()), testing::Each(kVersion));
  });
}

TEST(FFmpegLoader, CreatesAMissingSettingSwitchedOn) {
  inFFmpegPlace([] {
    const FFmpegPlace place;
    place.putBoth();
    EXPECT_EQ(LoadFFmpeg(), 0);
    EXPECT_EQ(place.storeText(), std::string(FFmpegPlace::kEntry) + "1\n");
  });
}

TEST(FFmpegLoader, ReplacesASettingThatIsNotANumber) {
  inFFmpegPlace([] {
    const FFmpegPlace place;
    place.setStore("# mine\n" + std::string(FFmpegPlace::kEntry) + "never\n");
    place.putBoth();
    EXPECT_EQ(LoadFFmpeg(), 0);
    EXPECT_EQ(place.storeText(), "# mine\n" + std::string(FFmpegPlace::kEntry) + "1\n");
  });
}

TEST(FFmpegLoader, SwitchedOffLoadsNothingAndSaysSoEachTime) {
  inFFmpegPlace([] {
    const FFmpegPlace place;
    place.allow(false);
    place.putBoth();
    LogCapture log;
    EXPECT_EQ(LoadFFmpeg(), -1);
    EXPECT_EQ(LoadFFmpeg(), -1);
    EXPECT_THAT(log.lines, ElementsAre(kDisabled, kDisabled));
    EXPECT_EQ(place.storeText(), std::string(FFmpegPlace::kEntry) + "0\n");
  });
}

TEST(FFmpegLoader, TheSettingIsReadAtEachCall) {
  inFFmpegPlace([] {
    const FFmpegPlace place;
    place.putBoth();
    for (const bool allowed : {false, true, false, true}) {
      place.allow(allowed);
      EXPECT_EQ(LoadFFmpeg(), allowed ? 0 : -1);
    }
    place.setStore(std::string(FFmpegPlace::kEntry) + "4294967295\n");
    EXPECT_EQ(LoadFFmpeg(), 0);
  });
}

TEST(FFmpegLoader, LogsAMissingAvcodecOnceInTenSeconds) {
  inFFmpegPlace([] {
    const FFmpegPlace place;
    place.allow(true);
    place.put(kAvutilFile);
    LogCapture log;
    // Also at the clock's very start.
    for (const std::uint64_t time : {0u, 1u, 9999u, 10000u, 10001u, 19999u, 20000u}) {
      now = time;
      EXPECT_EQ(LoadFFmpeg(), -2);
      if (time % 10000 == 0) {
        EXPECT_THAT(log.lines, ElementsAre(kNoAvcodec)) << time;
      } else {
        EXPECT_THAT(log.lines, IsEmpty()) << time;
      }
      log.lines.clear();
    }
  });
}

TEST(FFmpegLoader, LogsAMissingAvutilEachTimeAndLoadsAvcodecOnce) {
  inFFmpegPlace([] {
    const FFmpegPlace place;
    place.allow(true);
    place.putBoth();
    hidden = "avutil-55.dll";
    LogCapture log;
    EXPECT_EQ(LoadFFmpeg(), -2);
    EXPECT_EQ(LoadFFmpeg(), -2);
    EXPECT_THAT(log.lines, ElementsAre(kAvutilLoaded, kAvcodecLoaded, kNoAvutil, kNoAvutil));
    log.lines.clear();
    hidden.clear();
    EXPECT_EQ(LoadFFmpeg(), 0);
    EXPECT_THAT(log.lines, ElementsAre(kVersion));
  });
}

TEST(FFmpegLoader, LogsWhyAnAvcodecWithoutItsAvutilFails) {
  inFFmpegPlace([] {
    const FFmpegPlace place;
    place.allow(true);
    place.put(kAvcodecFile, kSearchPath);
    LogCapture log;
    EXPECT_EQ(LoadFFmpeg(), -2);
    ASSERT_EQ(log.lines.size(), 2u);
    EXPECT_THAT(log.lines[0].text, AllOf(StartsWith("WARNING(vlhost): "), HasSubstr(kAvutilFile)));
    EXPECT_EQ(log.lines[1], kNoAvcodec);
  });
}

// ---- One libavutil -----------------------------------------------------------------------------------

// Without this entry point, which is optional, it can be distinguished from the other.
const StandIn kOtherCopy = {.missing = "av_log_format_line"};

bool isOtherCopy() {
  void* const avutil = vlOSLoadLibrary("avutil-55.dll", 2);
  const bool other = vlOSGetProcAddress(avutil, "av_log_format_line") == nullptr;
  vlOSFreeLibrary(avutil);
  return other;
}

TEST(FFmpegLoader, AvcodecUsesTheAvutilBesideItWhateverTheSearchPathHas) {
  for (const char* folder : {kBesideHost, kFormats}) {
    inFFmpegPlace([folder] {
      const FFmpegPlace place;
      place.allow(true);
      place.putBoth(folder);
      place.put(kAvutilFile, kSearchPath, kOtherCopy);
      LogCapture log;
      EXPECT_EQ(LoadFFmpeg(), 0);
      EXPECT_THAT(log.lines, ElementsAre(kAvutilLoaded, kAvcodecLoaded, kVersion)) << folder;
      EXPECT_FALSE(isOtherCopy()) << folder;
    });
  }
}

TEST(FFmpegLoader, SkipsAnAvutilOtherThanAvcodecs) {
  inFFmpegPlace([] {
    const FFmpegPlace place;
    place.allow(true);
    place.putBoth(kFormats);
    place.put(kAvutilFile, kBesideHost, kOtherCopy);
    LogCapture log;
    EXPECT_EQ(LoadFFmpeg(), 0);
    EXPECT_THAT(log.lines,
                ElementsAre(kAvutilLoaded, kAvcodecLoaded, kAvutilLoaded, kAvutilUnloaded, kVersion));
  });
}

TEST(FFmpegLoader, RejectsAnAvcodecThatUsesAnotherAvutil) {
  inFFmpegPlace([] {
    const FFmpegPlace place;
    place.allow(true);
    place.putBoth(kSearchPath);
    place.put(kAvutilFile, kBesideHost, kOtherCopy);
    LogCapture log;
    for (int i = 0; i < 2; ++i) {
      EXPECT_EQ(LoadFFmpeg(), -2);
      if (i == 0) {
        EXPECT_THAT(log.lines,
                    ElementsAre(kAvutilLoaded, kAvcodecLoaded, kAvutilLoaded, kAvutilUnloaded, kNoAvutil));
      } else {
        EXPECT_THAT(log.lines, ElementsAre(kAvutilLoaded, kAvutilUnloaded, kNoAvutil));
      }
      log.lines.clear();
    }
  });
}

// ---- Entry points ------------------------------------------------------------------------------------

struct Missing {
  const char* library;
  const char* name;
  bool accepted;
};

void PrintTo(const Missing& missing, std::ostream* out) {
  *out << missing.name;
}

class WithoutEntryPoint : public testing::TestWithParam<Missing> {};

TEST_P(WithoutEntryPoint, IsRejectedUnlessItIsOptional) {
  inFFmpegPlace([] {
    const auto [library, name, accepted] = GetParam();
    const FFmpegPlace place;
    place.allow(true);
    place.putBoth();
    place.put(library, kFormats, {.missing = name});
    LogCapture log;
    EXPECT_EQ(LoadFFmpeg(), accepted ? 0 : -1);
    if (accepted) {
      EXPECT_THAT(log.lines, ElementsAre(kAvutilLoaded, kAvcodecLoaded, kVersion));
      return;
    }
    EXPECT_THAT(log.lines, ElementsAre(kAvutilLoaded, kAvcodecLoaded, kIncomplete));
    // The libraries stay loaded, and the result stays the same.
    log.lines.clear();
    EXPECT_EQ(LoadFFmpeg(), -1);
    EXPECT_THAT(log.lines, ElementsAre(kIncomplete));
  });
}

INSTANTIATE_TEST_SUITE_P(
    Each, WithoutEntryPoint,
    testing::Values(
        Missing{kAvcodecFile, "avcodec_register", false},
        Missing{kAvcodecFile, "avcodec_alloc_context3", false},
        Missing{kAvcodecFile, "avcodec_get_context_defaults3", false},
        Missing{kAvcodecFile, "avcodec_find_encoder", false},
        Missing{kAvcodecFile, "avcodec_find_decoder", false}, Missing{kAvcodecFile, "avcodec_is_open", false},
        Missing{kAvcodecFile, "avcodec_open2", false}, Missing{kAvcodecFile, "avcodec_close", false},
        Missing{kAvcodecFile, "avcodec_free_frame", true},
        Missing{kAvcodecFile, "avcodec_encode_video", true},
        Missing{kAvcodecFile, "avcodec_encode_video2", false},
        Missing{kAvcodecFile, "avcodec_decode_video2", false},
        Missing{kAvcodecFile, "avcodec_decode_audio4", false},
        Missing{kAvcodecFile, "avcodec_register_all", false},
        Missing{kAvcodecFile, "avcodec_flush_buffers", false},
        // libavutil's is used instead.
        Missing{kAvcodecFile, "av_free", true}, Missing{kAvcodecFile, "av_init_packet", false},
        Missing{kAvcodecFile, "av_new_packet", false}, Missing{kAvcodecFile, "av_free_packet", false},
        Missing{kAvcodecFile, "av_fast_padded_malloc", false}, Missing{kAvutilFile, "av_frame_alloc", false},
        Missing{kAvutilFile, "av_frame_free", false}, Missing{kAvutilFile, "av_log_get_level", false},
        Missing{kAvutilFile, "av_log_set_level", false}, Missing{kAvutilFile, "av_log_set_callback", false},
        Missing{kAvutilFile, "av_log_default_callback", false},
        Missing{kAvutilFile, "av_log_format_line", true}, Missing{kAvutilFile, "av_frame_get_buffer", false},
        Missing{kAvutilFile, "av_image_alloc", true}, Missing{kAvutilFile, "av_free", false},
        Missing{kAvutilFile, "av_freep", false}, Missing{kAvutilFile, "av_mallocz", false},
        Missing{kAvutilFile, "av_malloc", false}, Missing{kAvutilFile, "av_log2", false},
        Missing{kAvutilFile, "av_dict_get", false}, Missing{kAvutilFile, "av_dict_set", false},
        Missing{kAvutilFile, "av_dict_copy", false}, Missing{kAvutilFile, "av_dict_free", false},
        Missing{kAvutilFile, "av_version_info", false}),
    [](const auto& test) {
      return std::string(test.param.library == kAvcodecFile ? "avcodec_" : "avutil_") + test.param.name;
    });

// ---- Versions ----------------------------------------------------------------------------------------

constexpr unsigned version(unsigned major, unsigned minor, unsigned micro) {
  return major << 16 | minor << 8 | micro;
}

const StandIn kWithVersion = {.from = "ffmpeg_stand_in_version"};

void printVersions(unsigned avcodec, unsigned avutil) {
  setEnvironment(kStandInAvcodecVersion, std::to_string(avcodec).c_str());
  setEnvironment(kStandInAvutilVersion, std::to_string(avutil).c_str());
}

TEST(FFmpegLoader, AcceptsEveryReleaseOfItsGeneration) {
  for (const auto& release : {std::pair{version(57, 24, 102), version(55, 17, 103)},
                              std::pair{version(57, 48, 101), version(55, 28, 100)},
                              std::pair{version(57, 107, 100), version(55, 78, 100)}}) {
    inFFmpegPlace([&] {
      const FFmpegPlace place;
      place.allow(true);
      place.putBoth(kFormats, kWithVersion);
      printVersions(release.first, release.second);
      LogCapture log;
      EXPECT_EQ(LoadFFmpeg(), 0);
      EXPECT_THAT(log.lines, ElementsAre(kAvutilLoaded, kAvcodecLoaded, kVersion));
    });
  }
}

TEST(FFmpegLoader, RejectsAnAvcodecOfAnotherGenerationOrProject) {
  for (const unsigned avcodec : {version(58, 18, 100), version(56, 60, 100), version(57, 23, 100),
                                 version(57, 25, 0), version(57, 107, 99), 0u}) {
    inFFmpegPlace([&] {
      const FFmpegPlace place;
      place.allow(true);
      place.putBoth(kFormats, kWithVersion);
      printVersions(avcodec, version(55, 78, 100));
      LogCapture log;
      EXPECT_EQ(LoadFFmpeg(), -2);
      EXPECT_THAT(log.lines,
                  ElementsAre(kAvutilLoaded, kAvcodecLoaded, kAvcodecUnloaded, kAvutilUnloaded, kNoAvcodec));
    });
  }
}

TEST(FFmpegLoader, RejectsAnAvutilOfAnotherGenerationOrProject) {
  for (const unsigned avutil : {version(56, 14, 100), version(54, 31, 100), version(55, 17, 0)}) {
    inFFmpegPlace([&] {
      const FFmpegPlace place;
      place.allow(true);
      place.putBoth(kFormats, kWithVersion);
      printVersions(version(57, 107, 100), avutil);
      LogCapture log;
      EXPECT_EQ(LoadFFmpeg(), -2);
      EXPECT_THAT(log.lines, ElementsAre(kAvutilLoaded, kAvcodecLoaded, kNoAvutil));
    });
  }
}

TEST(FFmpegLoader, TriesTheNextPlaceAfterOneOfAnotherGeneration) {
  inFFmpegPlace([] {
    const FFmpegPlace place;
    place.allow(true);
    place.putBoth(kBesideHost, kWithVersion);
    place.putBoth(kFormats);  // has no version function
    printVersions(version(58, 18, 100), version(56, 14, 100));
    LogCapture log;
    EXPECT_EQ(LoadFFmpeg(), 0);
    EXPECT_THAT(log.lines,
                ElementsAre(kAvutilLoaded, kAvcodecLoaded, kAvcodecUnloaded, kAvutilUnloaded, kAvutilLoaded,
                            kAvcodecLoaded, kAvutilLoaded, kAvutilUnloaded, kVersion));
  });
}

// ---- Unloading ---------------------------------------------------------------------------------------

TEST(FFmpegLoader, UnloadsOnlyAvcodecAndLoadsItAgain) {
  inFFmpegPlace([] {
    const FFmpegPlace place;
    place.allow(true);
    place.putBoth();
    ASSERT_EQ(LoadFFmpeg(), 0);
    LogCapture log;
    EXPECT_EQ(UnloadFFmpeg(), -1);
    EXPECT_EQ(UnloadFFmpeg(), -1);
    EXPECT_THAT(log.lines, ElementsAre(kAvcodecUnloaded));
    log.lines.clear();
    EXPECT_EQ(LoadFFmpeg(), 0);
    EXPECT_THAT(log.lines, ElementsAre(kAvcodecLoaded, kVersion));
  });
}

TEST(FFmpegLoader, RestoresFFmpegsLogAtTheEnd) {
  const std::string log = inFFmpegPlace([] {
    const FFmpegPlace place;
    place.allow(true);
    place.putBoth();
    EXPECT_EQ(LoadFFmpeg(), 0);
  });
  EXPECT_THAT(log, HasSubstr("FFmpeg's own log: this is where the log goes"));
}

}  // namespace

}  // namespace fmp4

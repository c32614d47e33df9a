#include "plugin/probe.h"

#include <memory>

#include "base/guard.h"
#include "base/letter_case.h"
#include "mp4box/stream.h"
#include "mp4box/top_level_reader.h"
#include "plugin/messages.h"
#include "streaming/lists/manifest_document.h"

#if defined(__SANITIZE_ADDRESS__)
#define FMP4_LEAK_CHECKED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define FMP4_LEAK_CHECKED 1
#endif
#endif
#if defined(FMP4_LEAK_CHECKED)
#include <sanitizer/lsan_interface.h>
#endif

namespace fmp4 {

namespace {

std::uint32_t probeManifest(const char* fileName) {
  tinyxml2::XMLDocument document;
  SegmentRuns runs;
  if (loadManifestDocument(fileName, document, runs) && document.FirstChildElement("MPD")) return VL_OK;
  return messages::fail(messages::kNoManifest);
}

// Intended (quirk 1): the stream, box tree and open file of an accepted file are kept, because hosts rely on
// the file staying open after the probe. This is the only place that gives up ownership.
void keepReaderOpen(std::unique_ptr<Mp4Stream> stream, std::unique_ptr<Mp4TopLevelReader> file) {
#if defined(FMP4_LEAK_CHECKED)
  __lsan_ignore_object(stream.get());
  __lsan_ignore_object(file.get());
#endif
  static_cast<void>(stream.release());
  static_cast<void>(file.release());
}

std::uint32_t probeBoxFile(const char* fileName) {
  auto stream = std::make_unique<Mp4Stream>();
  const VLHANDLE handle = stream->open(fileName, MP4_MODE_READ);
  if (handle == VL_NO_HANDLE || handle == VL_INVALID_HANDLE) return messages::fail(messages::kCannotOpenFile);
  auto file = Mp4ReadRoot(*stream, false);
  if (!file) return messages::fail(messages::kNoFileRoot);
  if (!Mp4BoxGet(stream.get(), file->root(), false, "moof")) return messages::fail(messages::kNotFragmented);
  keepReaderOpen(std::move(stream), std::move(file));
  return VL_OK;
}

std::uint32_t probeByExtension(const char* fileName) {
  char extension[VL_MAX_PATH];
  vlOSSplitPath(fileName, nullptr, nullptr, nullptr, extension);
  for (const char* accepted : {".ismv", ".isma", ".mpd", ".ism", ".ismc"}) {
    if (equalsIgnoringCase(extension, accepted)) return VL_OK;
  }
  return equalsIgnoringCase(extension, ".xml") ? probeManifest(fileName) : probeBoxFile(fileName);
}

}  // namespace

std::uint32_t probeFile(const char* fileName, std::uint32_t flags) {
  if (!fileName || !*fileName || (flags & kProbeNameOnly)) return VL_OK;
  return guarded(VL_FAILED, [fileName] { return probeByExtension(fileName); });
}

}  // namespace fmp4

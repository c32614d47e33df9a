// The three functions that the host looks up.
#include <cstdint>
#include <cstring>

#include "base/compiler.h"
#include "base/guard.h"
#include "plugin/fmp4_object.h"
#include "plugin/probe.h"
#include "plugin/status.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace fmp4 {

namespace {

constexpr std::uint32_t kVersionQuery = 0xFFFFFFFFu;
constexpr std::int64_t kInterfaceVersion = 23;
constexpr std::uint32_t kFormatCount = 1;

constexpr std::uint32_t kCreateOnly = 0;
constexpr std::uint32_t kQueryOpenFlags = 0x7FFFFFFEu;
constexpr std::uint32_t kQueryFileName = 0x7FFFFFFFu;

constexpr FormatRecord kFormat = {
    .fileType = kFileTypeCode,
    .padding = 0,
    .patterns = "*.mp4;*.m4v;*.m4a;*.ismv;*.isma;*.mpd;*.xml;*.ism;*.ismc",
    .shortDescription = "MP4 - Fragmented MP4/SS Reader Writer",
    .longDescription = "MP4 - Fragmented/Smooth Streaming MP4 Reader Writer",
    .capabilities = 0x00500063u,  // the host names none of their bits
    .furtherFlags = 0xF1000000u,
    .reserved = 0,
    .reservedNumber = 0.0,
};

// Zero-extends a status or probe result to the 64-bit result of an entry point.
std::int64_t widened(std::uint32_t status) {
  return static_cast<std::int64_t>(std::uint64_t{status});
}

std::int64_t objectResult(CMFFmp4* object) {
  return static_cast<std::int64_t>(reinterpret_cast<std::intptr_t>(object));
}

CMFFmp4* createObject(const void* argument) {
  std::uint32_t fileType = 0;
  std::memcpy(&fileType, argument, sizeof fileType);
  return guarded<CMFFmp4*>(nullptr, [fileType] { return new CMFFmp4(fileType); });
}

std::int64_t openObject(CMFFmp4* object, void* argument) {
  if (!object) return 0;
  if (object->MFXCmd(MFX_OPEN, argument) == VL_OK) return objectResult(object);
  std::uint64_t nothing = 0;
  object->MFXCmd(MFX_CLOSE, &nothing);
  delete object;
  return 0;
}

}  // namespace

// The library entry point. `reason` 1 is process attach. Returns 1.
#if defined(_WIN32)
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) DisableThreadLibraryCalls(module);
  return TRUE;
}
#else
// Thread notifications have no receiver here, so there is nothing to disable.
extern "C" VL_EXPORTED std::int32_t DllMain(void* /*module*/, std::uint32_t /*reason*/, void* /*reserved*/) {
  return 1;
}
#endif

// Version query (no name, index all ones), format query (no name, a record to fill), or probe of a file name,
// where `indexOrFlags` holds flags. Returns 23; 0 or 0xE8023026; or the probe's 0 or 0xFFFFFFFF.
extern "C" VL_EXPORTED std::int64_t xCheckVersionAndFile(const char* fileName, std::uint32_t indexOrFlags,
                                                         void* out) {
  if (!fileName && indexOrFlags == kVersionQuery) {
    if (out) std::memcpy(out, &kFormatCount, sizeof kFormatCount);
    return kInterfaceVersion;
  }
  if (fileName || !out) return widened(probeFile(fileName, indexOrFlags));
  if (indexOrFlags != 0) return widened(FMP4_E_BAD_FORMAT_INDEX);
  std::memcpy(out, &kFormat, sizeof kFormat);
  return 0;
}

// Creates an object, passes it a command, or closes and destroys it; see the commands above. Returns the
// address of a created object, otherwise a status.
extern "C" VL_EXPORTED std::int64_t xMediaFile(CMFFmp4* object, std::uint32_t command, void* argument) {
  const bool creates = !object && (command == kCreateOnly || command == MFX_OPEN);
  if (creates) {
    if (argument) object = createObject(argument);
    if (!argument || command == kCreateOnly) return objectResult(object);
  }
  switch (command) {
    case MFX_OPEN:
      return openObject(object, argument);
    case MFX_CLOSE:
      if (!object) return 0;
      object->MFXCmd(MFX_CLOSE, argument);
      delete object;
      return 0;
    case kQueryOpenFlags: {
      if (!argument || !object) return FMP4_BAD_ARGUMENT;
      const std::uint32_t flags = object->openFlags();
      std::memcpy(argument, &flags, sizeof flags);
      return 0;
    }
    case kQueryFileName:
      if (!argument || !object) return FMP4_BAD_ARGUMENT;
      std::strcpy(static_cast<char*>(argument), object->fileName());
      return 0;
    default:
      return object ? widened(object->MFXCmd(command, argument)) : 0;
  }
}

static_assert(sizeof(xCheckVersionAndFile(nullptr, 0, nullptr)) == 8);
static_assert(sizeof(xMediaFile(nullptr, 0, nullptr)) == 8);

}  // namespace fmp4

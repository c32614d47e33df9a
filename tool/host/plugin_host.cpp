#include "tool/host/plugin_host.h"

#include <filesystem>
#include <system_error>

#include "base/text.h"
#include "base/user_error.h"
#include "os/path_name.h"
#include "tool/host/host_log.h"
#include "tool/host/left_out_samples.h"
#include "tool/host/movie_file.h"
#include "tool/host/refusal_reason.h"
#include "tool/terminal/messages.h"
#include "vlhost.h"
#include "vlutil.h"

namespace fmp4 {

namespace {

constexpr std::uint32_t kVersionQuery = 0xFFFFFFFFu;
constexpr std::uint32_t kInterfaceVersion = 23;
constexpr std::uint32_t kLoadBesideHostFirst = 2;
constexpr std::uint32_t kFmp4FileType = 147;

template <class Function>
Function exportOf(void* library, const std::string& libraryName, const char* name) {
  void* const address = vlOSGetProcAddress(library, name);
  if (address == nullptr)
    throw UserError("'" + libraryName + "' is not a media-file plug-in: it does not export " + name +
                    "; give --plugin the path of vlx_fmp4");
  return reinterpret_cast<Function>(address);
}

// A library name as the host takes it. A path on the command line is relative to the working folder, where
// the host itself does not search.
std::string libraryName(const std::string& given) {
  const std::filesystem::path path = vlPath(given);
  return path.has_parent_path() ? vlName(std::filesystem::absolute(path)) : given;
}

void checkLength(const std::string& file) {
  if (file.size() >= VL_MAX_PATH)
    throw UserError("'" + file + "' is too long a name: the host takes " + std::to_string(VL_MAX_PATH - 1) +
                    " characters; change to its folder and give a shorter one");
}

// Why a file cannot be created.
std::string creationTrouble(const std::string& file) {
  namespace fs = std::filesystem;
  const fs::path folder = vlPath(file).parent_path();
  std::error_code ignored;
  if (!folder.empty() && !fs::is_directory(folder, ignored))
    return "there is no folder '" + vlName(folder) + "'; make it, or give another name";
  const std::error_code error(static_cast<int>(vlOSGetLastError()), std::system_category());
  if (!error) return "check the folder, its permissions and the space on it";
  return error.message() + "; check the folder, its permissions and the space on it";
}

}  // namespace

void MediaFileCloser::operator()(CAMediaFile* object) const {
  MFXCLOSE request = {};
  command(reinterpret_cast<CMFFmp4*>(object), MFX_CLOSE, &request);
}

Plugin::Plugin(const std::string& name) {
  // The plug-in creates its setting where it finds none. The user's settings are not this program's to
  // change.
  vlKeepConfigUnsaved();
  void* const library = vlOSLoadLibrary(libraryName(name).c_str(), kLoadBesideHostFirst);
  if (library == nullptr)
    throw UserError("the plug-in '" + name + "' cannot be loaded; give its path with --plugin");
  checkVersionAndFile_ = exportOf<CheckVersionAndFile>(library, name, "xCheckVersionAndFile");
  mediaFile_ = exportOf<MediaFileCommand>(library, name, "xMediaFile");
  interfaceVersion_ = static_cast<std::uint32_t>(checkVersionAndFile_(nullptr, kVersionQuery, &formatCount_));
  if (interfaceVersion_ != kInterfaceVersion)
    throw UserError("the plug-in '" + name + "' speaks version " + std::to_string(interfaceVersion_) +
                    " of the interface, this program version " + std::to_string(kInterfaceVersion) +
                    "; use the two of one build");
}

FormatRecord Plugin::formatRecord(std::uint32_t index) const {
  FormatRecord record = {};
  const auto status = static_cast<std::uint32_t>(checkVersionAndFile_(nullptr, index, &record));
  if (status != VL_OK)
    throw UserError("the plug-in has no format record " + std::to_string(index) + " (status " +
                    statusText(status) + ")");
  return record;
}

bool Plugin::probe(const std::string& file) const {
  nameInLog(file);
  return checkVersionAndFile_(file.c_str(), 0, nullptr) == VL_OK;
}

MediaFile Plugin::make(MFXOPEN& request) const {
  request.fileType = kFmp4FileType;
  request.share = VL_SHARE_READ_WRITE;
  // The plug-in's class has the host's base class as its only base, at its start.
  auto* const object = reinterpret_cast<CAMediaFile*>(mediaFile_(nullptr, MFX_OPEN, &request));
  return MediaFile(object, MediaFileCloser{mediaFile_});
}

MediaFile Plugin::read(const std::string& file) const {
  MFXOPEN request = {};
  request.access = VL_GENERIC_READ;
  request.fileName = file.c_str();
  request.creation = VL_OPEN_EXISTING;
  if (isAudioName(file)) request.openFlags = MF_OPEN_AUDIO_ONLY;
  return make(request);
}

MediaFile Plugin::openQuietly(const std::string& name) const {
  const std::string file = recordedAs(name);
  checkLength(file);
  const HeldLog log;
  if (const auto trouble = openTrouble(file)) throw UserError("'" + file + "' " + trouble->text);
  MediaFile object = read(file);
  if (!object) throw UserError(openRefusal(file, log.lastError()));
  return object;
}

MediaFile Plugin::open(const std::string& name) const {
  const std::string file = recordedAs(name);
  checkLength(file);
  forgetLoggedError();
  if (!probe(file)) throw UserError("'" + file + "' " + probeRefusal(file).text);
  nameInLog(file);
  MediaFile object = read(file);
  if (!object) throw UserError(openRefusal(file, lastLoggedError()));
  if (const std::string warning = leftOutSamples(file); !warning.empty()) warn(warning);
  return object;
}

MediaFile Plugin::create(const std::string& file) const {
  checkLength(file);
  forgetLoggedError();
  nameInLog(file);
  MFXOPEN request = {};
  request.access = VL_GENERIC_READ | VL_GENERIC_WRITE;
  request.fileName = file.c_str();
  request.creation = VL_CREATE_ALWAYS;
  MediaFile object = make(request);
  if (!object) throw UserError("'" + file + "' cannot be created: " + creationTrouble(file));
  return object;
}

}  // namespace fmp4

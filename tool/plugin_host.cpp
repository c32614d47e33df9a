#include "plugin_host.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>

#include "commands.h"
#include "text.h"
#include "vlpath.h"
#include "vlutil.h"

namespace {

constexpr std::uint32_t kVersionQuery = 0xFFFFFFFFu;
constexpr std::uint32_t kInterfaceVersion = 23;
constexpr std::uint32_t kLoadBesideHostFirst = 2;
constexpr std::uint32_t kFmp4FileType = 147;

template <class Function>
Function exportOf(void* library, const std::string& libraryName, const char* name) {
  void* const address = vlOSGetProcAddress(library, name);
  if (address == nullptr)
    throw ToolError("'" + libraryName + "' is not a media-file plug-in: it does not export " + name +
                    "; give --plugin the path of vlx_fmp4");
  return reinterpret_cast<Function>(address);
}

// A library as the host takes its name. A path given on a command line starts from the working folder, where
// the host itself does not look.
std::string libraryName(const std::string& given) {
  const std::filesystem::path path = vlPath(given);
  return path.has_parent_path() ? vlName(std::filesystem::absolute(path)) : given;
}

bool endsWithIgnoringCase(std::string_view text, std::string_view ending) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return text.size() >= ending.size() &&
         std::equal(ending.begin(), ending.end(), text.end() - static_cast<std::ptrdiff_t>(ending.size()),
                    [&](char wanted, char found) { return wanted == lower(found); });
}

// `text` as one word of a POSIX shell command.
std::string shellQuoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? "'\\''" : std::string(1, c);
  return quoted + "'";
}

bool exists(const std::string& file) {
  return vlOSFileExists(file.c_str()) != 0;
}

std::string missing(const std::string& file) {
  return "'" + file + "' does not exist; check the name";
}

// The reason why the plug-in refuses a file, and the way out.
std::string refusal(const std::string& file) {
  if (!exists(file)) return missing(file);
  if (endsWithIgnoringCase(file, ".xml"))
    return "'" + file + "' is not a DASH manifest: its root element is not MPD; give the media file itself";
  return "'" + file +
         "' is not a fragmented MP4: it has no movie fragments. A plain MP4 becomes one without being "
         "encoded again by\n  ffmpeg -i " +
         shellQuoted(file) + " -c copy -movflags +frag_keyframe+empty_moov+default_base_moof fragmented.mp4";
}

// The likely reason why a file that was not refused does not open, and the way out.
std::string openFailure(const std::string& file) {
  if (!exists(file)) return missing(file);
  const std::string subject = "'" + file + "' could not be opened: ";
  if (file.find(".ism") != std::string::npos)
    return subject +
           "the media of Smooth Streaming names are found through a DASH manifest (.mpd or .xml) of the same "
           "name beside it; without one, give the media file a name that ends in .mp4";
  constexpr std::array kinds = {".mp4", ".m4v", ".m4a", ".mpd", ".xml"};
  if (std::none_of(kinds.begin(), kinds.end(),
                   [&](const char* kind) { return file.find(kind) != std::string::npos; }))
    return subject +
           "the plug-in tells files by their names; give it one that ends in .mp4, .m4v, .m4a, .mpd or .xml, "
           "in lower case";
  return subject +
         "the host's log says why (run without --quiet to see it), and 'fmp4 boxes' shows what the file "
         "holds";
}

void checkLength(const std::string& file) {
  if (file.size() >= VL_MAX_PATH)
    throw ToolError("'" + file + "' is too long a name: the host takes " + std::to_string(VL_MAX_PATH - 1) +
                    " characters; change to its folder and give a shorter one");
}

}  // namespace

void MediaFileCloser::operator()(CAMediaFile* object) const {
  MFXCLOSE request = {};
  command(reinterpret_cast<CMFFmp4*>(object), MFX_CLOSE, &request);
}

Plugin::Plugin(const std::string& name) {
  void* const library = vlOSLoadLibrary(libraryName(name).c_str(), kLoadBesideHostFirst);
  if (library == nullptr)
    throw ToolError("the plug-in '" + name + "' cannot be loaded; give its path with --plugin");
  checkVersionAndFile_ = exportOf<CheckVersionAndFile>(library, name, "xCheckVersionAndFile");
  mediaFile_ = exportOf<MediaFileCommand>(library, name, "xMediaFile");
  interfaceVersion_ = static_cast<std::uint32_t>(checkVersionAndFile_(nullptr, kVersionQuery, &formatCount_));
  if (interfaceVersion_ != kInterfaceVersion)
    throw ToolError("the plug-in '" + name + "' speaks version " + std::to_string(interfaceVersion_) +
                    " of the interface, this program version " + std::to_string(kInterfaceVersion) +
                    "; use the two of one build");
}

FormatRecord Plugin::formatRecord(std::uint32_t index) const {
  FormatRecord record = {};
  const auto status = static_cast<std::uint32_t>(checkVersionAndFile_(nullptr, index, &record));
  if (status != VL_OK)
    throw ToolError("the plug-in has no format record " + std::to_string(index) + " (status " +
                    statusText(status) + ")");
  return record;
}

bool Plugin::probe(const std::string& file) const {
  return checkVersionAndFile_(file.c_str(), 0, nullptr) == VL_OK;
}

MediaFile Plugin::make(MFXOPEN& request) const {
  request.fileType = kFmp4FileType;
  request.share = VL_SHARE_READ_WRITE;
  // The plug-in's class has the host's base class as its only base, at its start.
  auto* const object = reinterpret_cast<CAMediaFile*>(mediaFile_(nullptr, MFX_OPEN, &request));
  return MediaFile(object, MediaFileCloser{mediaFile_});
}

MediaFile Plugin::open(const std::string& file) const {
  checkLength(file);
  if (!probe(file)) throw ToolError(refusal(file));
  MFXOPEN request = {};
  request.access = VL_GENERIC_READ;
  request.fileName = file.c_str();
  request.creation = VL_OPEN_EXISTING;
  if (endsWithIgnoringCase(file, ".m4a") || endsWithIgnoringCase(file, ".isma"))
    request.openFlags = MF_OPEN_AUDIO_ONLY;
  MediaFile object = make(request);
  if (!object) throw ToolError(openFailure(file));
  return object;
}

MediaFile Plugin::create(const std::string& file) const {
  checkLength(file);
  MFXOPEN request = {};
  request.access = VL_GENERIC_READ | VL_GENERIC_WRITE;
  request.fileName = file.c_str();
  request.creation = VL_CREATE_ALWAYS;
  MediaFile object = make(request);
  if (!object)
    throw ToolError("'" + file +
                    "' cannot be created; check the folder, its permissions and the space on it");
  return object;
}

#include "tool/host/refusal_reason.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "base/letter_case.h"
#include "mp4box/box_type.h"
#include "os/path_name.h"
#include "streaming/lists/file_set.h"
#include "tool/host/input_names.h"
#include "tool/host/movie_file.h"
#include "tool/host/other_tracks.h"

namespace fmp4 {

namespace {

// `text` quoted as one word of a POSIX shell command.
std::string shellQuoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? "'\\''" : std::string(1, c);
  return quoted + "'";
}

// ---- Files that are not MP4 -------------------------------------------------------------------------

// Types of the first box of a file (ISO/IEC 14496-12, table 1, and QuickTime).
bool startsLikeMp4(const Mp4Box& root) {
  constexpr std::array kTypes = {box_type::kFtyp,   Mp4FourCc("styp"), box_type::kMoov,   box_type::kMoof,
                                 box_type::kMdat,   box_type::kSidx,   Mp4FourCc("ssix"), Mp4FourCc("prft"),
                                 Mp4FourCc("emsg"), Mp4FourCc("free"), Mp4FourCc("foov"), Mp4FourCc("skip"),
                                 Mp4FourCc("wide"), Mp4FourCc("uuid"), Mp4FourCc("pdin"), Mp4FourCc("pnot"),
                                 Mp4FourCc("meta"), Mp4FourCc("mfra")};
  return root.first && std::find(kTypes.begin(), kTypes.end(), root.first->type) != kTypes.end();
}

// The format of a file that is not MP4, by its first bytes.
std::string otherKind(Mp4Stream& stream) {
  std::array<char, 189> start{};
  stream.seek(0);
  stream.peek(start.data(), start.size());
  const std::string_view text(start.data(), start.size());
  if (text.starts_with("#EXTM3U"))
    return "is an HLS playlist; give the manifest (.mpd) or the media file that belongs to it";
  if (text.starts_with("\x1A\x45\xDF\xA3")) return "is a Matroska or WebM file, not MP4";
  if (text.starts_with('\x47') && text[188] == '\x47') return "is an MPEG transport stream, not MP4";
  if (text.find("<MPD") != text.npos || text.starts_with("<?xml"))
    return "is an XML document, not MP4; the name of a manifest ends in .mpd or .xml";
  return "is not MP4";
}

// ---- MP4 files --------------------------------------------------------------------------------------

std::string withoutMovie(MovieFile& movie) {
  if (movie.hasFragments())
    return "is a media segment without its initialisation: it has movie fragments but no movie box. Put the "
           "initialisation segment before it, cat init.mp4 segment.m4s > complete.mp4";
  return startsLikeMp4(*movie.root()) ? "has no movie box; get a complete copy" : otherKind(movie.stream());
}

std::string withoutFragments(MovieFile& movie, const std::string& file) {
  const MovieSamples samples = movie.movieSamples();
  if (samples.frames == 0 && samples.audioSamples == 0 && Mp4BoxChild(movie.movie(), Mp4FourCc("mvex")))
    return "is an initialisation segment alone: it has no movie fragments. Put its media segments after it, "
           "cat init.mp4 segment.m4s > complete.mp4";
  return "is not a fragmented MP4: it has no movie fragments. A plain MP4 becomes one without being encoded "
         "again by\n  " +
         fragmentingCommand(file);
}

// Why no track of a movie can be read; nothing when one can.
std::optional<std::string> withoutReadableTrack(MovieFile& movie) {
  const std::vector<OtherTrack> others = otherTracks(movie.stream(), movie.root());
  if (Mp4BoxChild(movie.movie(), box_type::kTrak, static_cast<std::uint32_t>(others.size())))
    return std::nullopt;
  if (others.empty()) return "has no tracks";
  return "has no track that can be read: " + trackTexts(others);
}

// The problem of a media file, as the text after its name; nothing when none is found.
std::optional<std::string> mediaTrouble(const std::string& file) {
  if (auto trouble = fileTrouble(file)) return trouble;
  MovieFile movie(file);
  if (!movie.movie()) return withoutMovie(movie);
  if (auto trouble = withoutReadableTrack(movie)) return trouble;
  if (!movie.hasFragments()) return withoutFragments(movie, file);
  return std::nullopt;
}

// ---- Names ------------------------------------------------------------------------------------------

bool contains(const std::string& name, const char* part) {
  return name.find(part) != std::string::npos;
}

// Why a name leads to no media file.
std::string withoutMedia(const std::string& file) {
  if (contains(file, ".ism"))
    return "the media of Smooth Streaming names are found through a DASH manifest (.mpd or .xml) of the same "
           "name beside it; without one, give the media file a name that ends in .mp4";
  if (contains(file, ".mpd") || contains(file, ".xml"))
    return "it names no media file, and there is none of its name (.mp4, .m4v or .m4a) beside it";
  return "the plug-in recognises files by their names; give it one that ends in .mp4, .m4v, .m4a, .mpd or "
         ".xml, "
         "in lower case";
}

// Whether a manifest has a file for each segment.
bool namesSegmentFiles(const std::string& file) {
  FileSet files = findFileSet(file.c_str(), false);
  const std::optional<Manifest> manifest = loadManifest(files);
  return manifest && (manifest->video.hasSegmentFiles || manifest->audio.hasSegmentFiles);
}

}  // namespace

std::optional<std::string> fileTrouble(const std::string& file) {
  if (isFolder(file)) return "is a folder; give a file in it";
  if (vlOSFileExists(file.c_str()) == 0) return "does not exist; check the name";
  MovieFile movie(file);
  if (!movie.isOpen()) return "cannot be read: " + movie.openError().message();
  if (movie.root()->size == 0) return "is empty";
  return std::nullopt;
}

std::optional<std::string> sourceTrouble(const std::string& file) {
  if (auto trouble = fileTrouble(file)) return trouble;
  MovieFile movie(file);
  if (!movie.movie()) return withoutMovie(movie);
  return std::nullopt;
}

std::optional<std::string> boxTrouble(const std::string& file) {
  if (auto trouble = fileTrouble(file)) return trouble;
  MovieFile movie(file);
  return startsLikeMp4(*movie.root()) ? std::nullopt : std::optional(otherKind(movie.stream()));
}

std::string fragmentingCommand(const std::string& file) {
  return "ffmpeg -i " + shellQuoted(file) +
         " -c copy -movflags +frag_keyframe+empty_moov+default_base_moof fragmented.mp4";
}

std::string probeRefusal(const std::string& file) {
  const std::string subject = "'" + file + "' ";
  if (const auto trouble = fileTrouble(file)) return subject + *trouble;
  if (endsIgnoringCase(file, ".xml"))
    return subject + "is not a DASH manifest: its root element is not MPD; give the media file itself";
  MovieFile movie(file);
  return subject + (movie.movie() ? withoutFragments(movie, file) : withoutMovie(movie));
}

std::string openRefusal(const std::string& file, const std::string& logged) {
  if (const auto trouble = fileTrouble(file)) return "'" + file + "' " + *trouble;
  const std::string subject = "'" + file + "' could not be opened: ";
  const std::string media = openedFiles(file).media;
  if (media != file && namesSegmentFiles(file))
    return subject +
           "its media are in a file for each segment; manifests with one file for each track are read";
  if (media.empty()) return subject + withoutMedia(file);
  const std::string mediaSubject = media == file ? "it " : "its media file '" + media + "' ";
  if (const auto trouble = mediaTrouble(media)) return subject + mediaSubject + *trouble;
  if (logged.empty()) return subject + "'fmp4 boxes' shows what " + mediaSubject + "holds";
  return subject + "the plug-in says \"" + logged + "\"; 'fmp4 boxes' shows what " + mediaSubject + "holds";
}

}  // namespace fmp4

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

bool isPipe(const std::string& file) {
  std::error_code ignored;
  return std::filesystem::is_fifo(vlPath(file), ignored);
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

// How the streams of another container get into an MP4.
std::string convertedBy(const std::string& file) {
  return "; H.264, AAC and AC-3 get into one without being encoded again by\n  " + fragmentingCommand(file);
}

// The format of a file that is not MP4, by its first bytes.
Refusal otherKind(Mp4Stream& stream, const std::string& file) {
  std::array<char, 189> start{};
  stream.seek(0);
  stream.peek(start.data(), start.size());
  const std::string_view text(start.data(), start.size());
  if (text.starts_with("#EXTM3U"))
    return {"hls-playlist",
            "is an HLS playlist; give the manifest (.mpd) or the media file that belongs to it"};
  if (text.starts_with("\x1A\x45\xDF\xA3"))
    return {"matroska", "is a Matroska or WebM file, not MP4" + convertedBy(file)};
  if (text.starts_with('\x47') && text[188] == '\x47')
    return {"mpeg-ts", "is an MPEG transport stream, not MP4" + convertedBy(file)};
  if (text.find("<MPD") != text.npos || text.starts_with("<?xml"))
    return {"xml", "is an XML document, not MP4; the name of a manifest ends in .mpd or .xml"};
  return {"not-mp4", "is not MP4"};
}

// Why nothing can be said about a file; nothing when the host could read it so far.
std::optional<Refusal> readTrouble(MovieFile& movie) {
  if (!movie.isOpen()) return Refusal{"unreadable", "cannot be read: " + movie.openError().message()};
  if (movie.stream().readFailures() != 0)
    return Refusal{"unreadable",
                   "could not be read to its end; check the disk or the connection to it, then try again"};
  return std::nullopt;
}

// ---- MP4 files --------------------------------------------------------------------------------------

Refusal withoutMovie(MovieFile& movie, const std::string& file) {
  if (movie.hasFragments())
    return {"media-segment",
            "is a media segment without its initialisation: it has movie fragments but no movie box. Put the "
            "initialisation segment before it, cat init.mp4 segment.m4s > complete.mp4"};
  if (!startsLikeMp4(*movie.root())) return otherKind(movie.stream(), file);
  return {"no-movie", "has no movie box; get a complete copy"};
}

Refusal withoutFragments(MovieFile& movie, const std::string& file) {
  if (const auto trouble = readTrouble(movie)) return *trouble;
  const MovieSamples samples = movie.movieSamples();
  if (samples.frames == 0 && samples.audioSamples == 0 && Mp4BoxChild(movie.movie(), box_type::kMvex))
    return {"initialisation-segment",
            "is an initialisation segment alone: it has no movie fragments. Put its media segments after it, "
            "cat init.mp4 segment.m4s > complete.mp4"};
  return {"not-fragmented",
          "is not a fragmented MP4: it has no movie fragments. A plain MP4 becomes one without being encoded "
          "again by\n  " +
              fragmentingCommand(file)};
}

// Why no track of a movie can be read; nothing when one can.
std::optional<Refusal> withoutReadableTrack(MovieFile& movie) {
  const std::vector<OtherTrack> others = otherTracks(movie.stream(), movie.root());
  if (Mp4BoxChild(movie.movie(), box_type::kTrak, static_cast<std::uint32_t>(others.size())))
    return std::nullopt;
  if (others.empty()) return Refusal{"no-tracks", "has no tracks"};
  return Refusal{"no-readable-track", "has no track that can be read: " + trackTexts(others)};
}

// The problem of a media file; nothing when none is found.
std::optional<Refusal> mediaTrouble(const std::string& file) {
  if (auto trouble = fileTrouble(file)) return trouble;
  MovieFile movie(file);
  if (auto trouble = readTrouble(movie)) return trouble;
  if (!movie.movie()) return withoutMovie(movie, file);
  if (auto trouble = withoutReadableTrack(movie)) return trouble;
  if (!movie.hasFragments()) return withoutFragments(movie, file);
  return std::nullopt;
}

// ---- Names ------------------------------------------------------------------------------------------

bool contains(const std::string& name, const char* part) {
  return name.find(part) != std::string::npos;
}

// Why a name leads to no media file.
Refusal withoutMedia(const std::string& file) {
  if (contains(file, ".ism"))
    return {
        "smooth-name-alone",
        "the media of Smooth Streaming names are found through a DASH manifest (.mpd or .xml) of the same "
        "name beside it; without one, give the media file a name that ends in .mp4"};
  if (contains(file, ".mpd") || contains(file, ".xml"))
    return {"manifest-without-media",
            "it names no media file, and there is none of its name (.mp4, .m4v or .m4a) beside it"};
  return {"name-not-recognised",
          "the plug-in recognises files by their names; give it one that ends in .mp4, .m4v, .m4a, .mpd or "
          ".xml, in lower case"};
}

// Whether a manifest has a file for each segment.
bool namesSegmentFiles(const std::string& file) {
  FileSet files = findFileSet(file.c_str(), false);
  LastManifest last;
  const Manifest* const manifest = loadManifest(files, last);
  return manifest && (manifest->video.hasSegmentFiles || manifest->audio.hasSegmentFiles);
}

// What a sentence about the media of `file` begins with.
std::string mediaSubject(const std::string& file, const std::string& media) {
  return media == file ? "it " : "its media file '" + media + "' ";
}

}  // namespace

std::optional<Refusal> fileTrouble(const std::string& file) {
  if (isFolder(file)) return Refusal{"folder", "is a folder; give a file in it"};
  if (isPipe(file))
    return Refusal{
        "pipe",
        "is a pipe, and files are read from any place; 'fmp4 package -' records standard input, or "
        "save it to a file"};
  if (vlOSFileExists(file.c_str()) == 0) return Refusal{"missing", "does not exist; check the name"};
  MovieFile movie(file);
  if (auto trouble = readTrouble(movie)) return trouble;
  if (movie.root()->size == 0) return Refusal{"empty", "is empty"};
  return std::nullopt;
}

std::optional<Refusal> sourceTrouble(const std::string& file) {
  if (auto trouble = fileTrouble(file)) return trouble;
  MovieFile movie(file);
  if (auto trouble = readTrouble(movie)) return trouble;
  if (!movie.movie()) return withoutMovie(movie, file);
  return std::nullopt;
}

std::optional<Refusal> boxTrouble(const std::string& file) {
  if (auto trouble = fileTrouble(file)) return trouble;
  MovieFile movie(file);
  if (auto trouble = readTrouble(movie)) return trouble;
  return startsLikeMp4(*movie.root()) ? std::nullopt : std::optional(otherKind(movie.stream(), file));
}

std::string fragmentingCommand(const std::string& file) {
  return "ffmpeg -i " + shellQuoted(file) +
         " -c copy -movflags +frag_keyframe+empty_moov+default_base_moof fragmented.mp4";
}

std::string packagingCommand(const std::string& file) {
  const std::string base = file.substr(0, file.rfind('.'));
  return "fmp4 package " + shellQuoted(file) + " --output " + shellQuoted(base + "-recording.mp4");
}

Refusal probeRefusal(const std::string& file) {
  if (auto trouble = fileTrouble(file)) return *trouble;
  if (endsIgnoringCase(file, ".xml"))
    return {"not-manifest",
            "is not a DASH manifest: its root element is not MPD; give the media file itself"};
  MovieFile movie(file);
  if (const auto trouble = readTrouble(movie)) return *trouble;
  return movie.movie() ? withoutFragments(movie, file) : withoutMovie(movie, file);
}

std::optional<Refusal> openTrouble(const std::string& file) {
  if (auto trouble = fileTrouble(file)) return trouble;
  constexpr const char* kStart = "could not be opened: ";
  const std::string media = openedFiles(file).media;
  if (media != file && namesSegmentFiles(file))
    return Refusal{"segment-files", std::string(kStart) +
                                        "its media are in a file for each segment; manifests with one file "
                                        "for each track are read"};
  std::optional<Refusal> trouble = media.empty() ? withoutMedia(file) : mediaTrouble(media);
  if (trouble && !media.empty()) trouble->text = mediaSubject(file, media) + trouble->text;
  if (trouble) trouble->text = kStart + trouble->text;
  return trouble;
}

std::string openRefusal(const std::string& file, const std::string& logged) {
  const std::string subject = "'" + file + "' ";
  if (const auto trouble = openTrouble(file)) return subject + trouble->text;
  const std::string says = logged.empty() ? "" : "the plug-in says \"" + logged + "\"; ";
  return subject + "could not be opened: " + says + "'fmp4 boxes' shows what " +
         mediaSubject(file, openedFiles(file).media) + "holds";
}

}  // namespace fmp4

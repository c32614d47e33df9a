#include "playlist_writer.h"

#include <filesystem>

#include "number_text.h"
#include "vlpath.h"
#include "vlutil.h"

void PlaylistWriter::Start(const PlaylistSettings& settings) {
  settings_ = settings;
  lastEnd_ = 0;
  writtenBytes_ = 0;
  file_ = std::ofstream(vlPath(settings.path));
  char date[64] = "", time[64] = "";
  vlOSGetDateTimeString(date, sizeof date, time, sizeof time);
  const auto duration =
      static_cast<std::uint32_t>(static_cast<double>(settings.segmentLength) / settings.rate + 0.5);
  append(
      "#EXTM3U\n"
      "#EXT-X-VERSION:7\n"
      "#EXT-X-TARGETDURATION:" +
      std::to_string(duration) +
      "\n"
      "#EXT-X-MEDIA-SEQUENCE:0\n"
      "#EXT-X-INDEPENDENT-SEGMENTS\n"
      "#EXT-X-MAP:URI=\"" +
      settings.mediaName + "\",BYTERANGE=\"" + std::to_string(settings.initialisationLength) +
      "@0\"\n"
      "#EXT-X-PROGRAM-DATE-TIME:" +
      date + time + "\n");
}

void PlaylistWriter::AddSegment(std::uint64_t endPosition, std::uint64_t start, std::uint64_t end) {
  const double seconds = static_cast<double>(endPosition - lastEnd_) / settings_.rate;
  append("#EXTINF:" + fixedText(seconds, 3) +
         ",\n"
         "#EXT-X-BYTERANGE:" +
         std::to_string(end - start) + "@" + std::to_string(start) + "\n" + settings_.mediaName + "\n");
  lastEnd_ = endPosition;
}

void PlaylistWriter::End() {
  append("#EXT-X-ENDLIST\n");
  file_.close();
}

// Players read the file while it grows: an entry that did not get through whole is taken back.
void PlaylistWriter::append(const std::string& lines) {
  if (!file_.is_open()) return;
  if (file_ << lines << std::flush) {
    writtenBytes_ = static_cast<std::uintmax_t>(file_.tellp());
    return;
  }
  file_.close();
  std::error_code ignored;
  std::filesystem::resize_file(vlPath(settings_.path), writtenBytes_, ignored);
}

#include "playlist_writer.h"

#include <filesystem>

#include "number_text.h"
#include "vlutil.h"

void PlaylistWriter::Start(const PlaylistSettings& settings) {
  settings_ = settings;
  lastEnd_ = 0;
  writtenBytes_ = 0;
  file_.reset(std::fopen(settings.path.c_str(), "w"));
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
  file_.reset();
}

// Players read the file while it grows: an entry that did not get through whole is taken back.
void PlaylistWriter::append(const std::string& lines) {
  if (!file_) return;
  if (std::fputs(lines.c_str(), file_.get()) >= 0 && std::fflush(file_.get()) == 0) {
    std::error_code unknown;
    writtenBytes_ = std::filesystem::file_size(settings_.path, unknown);
    return;
  }
  file_.reset();
  std::error_code ignored;
  std::filesystem::resize_file(settings_.path, writtenBytes_, ignored);
}

#include "tool/host/file_facts.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

#include "base/text.h"
#include "mp4box/boxes/ftyp.h"
#include "mp4box/boxes/mvhd.h"
#include "os/file_in_use.h"
#include "recording/open_playlist.h"

namespace fmp4 {

namespace {

constexpr std::size_t kMaxBrands = 64;

std::optional<FileBrands> brandsOf(MovieFile& file) {
  const auto* type = Mp4PayloadOf<mp4::FileTypeBox>(Mp4BoxChild(file.root(), Mp4FourCc("ftyp")));
  if (!type) return std::nullopt;
  FileBrands brands{type->majorBrand, type->minorVersion, type->compatibleBrands};
  brands.compatible.resize(std::min(brands.compatible.size(), kMaxBrands));
  return brands;
}

// A lack of fragment indexes at the end ("mfra") or of segment indexes says nothing: most files have none.
Growth growthOf(const OpenedFiles& files) {
  for (const std::string& path : {files.media, files.companion})
    if (!path.empty() && os::isBeingWritten(path)) return Growth::Growing;
  return hasOpenPlaylist(files.media) ? Growth::Unknown : Growth::No;
}

}  // namespace

FileFacts fileFacts(const OpenedFiles& files) {
  FileFacts facts;
  facts.growth = growthOf(files);
  MovieFile file(files.media);
  if (!file.isOpen()) return facts;
  facts.brands = brandsOf(file);
  const auto* movie = Mp4PayloadOf<mp4::MovieHeaderBox>(Mp4BoxGet(nullptr, file.movie(), true, "mvhd"));
  if (movie) facts.creationTime = movieTimeText(movie->creationTime);
  return facts;
}

std::string movieTimeText(std::uint64_t seconds) {
  using namespace std::chrono;
  constexpr sys_days kEpoch = year(1904) / January / 1, kEnd = year(10000) / January / 1;
  constexpr auto kMost = static_cast<std::uint64_t>((kEnd - kEpoch) / std::chrono::seconds(1));
  constexpr std::uint64_t kDay = 86'400;
  if (seconds == 0 || seconds >= kMost) return {};
  const year_month_day date = kEpoch + days(seconds / kDay);
  const auto inDay = static_cast<unsigned>(seconds % kDay);
  char text[48];
  std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02u:%02u:%02uZ", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), inDay / 3600,
                inDay / 60 % 60, inDay % 60);
  return text;
}

std::string creationText(const FileFacts& facts) {
  std::string text = facts.creationTime;
  std::replace(text.begin(), text.end(), 'T', ' ');
  if (!text.empty()) text.replace(text.size() - 1, 1, " UTC");
  return text;
}

std::string brandsText(const FileBrands& brands) {
  std::string text = fourCcText(brands.major);
  const char* separator = ", compatible with ";
  for (const std::uint32_t brand : brands.compatible) {
    text.append(separator).append(fourCcText(brand));
    separator = ", ";
  }
  return text;
}

}  // namespace fmp4

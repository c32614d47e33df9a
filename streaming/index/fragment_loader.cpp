#include "streaming/index/fragment_loader.h"

#include <algorithm>

#include "base/exact_time.h"
#include "mp4box/box_type.h"
#include "mp4box/file_bytes.h"
#include "mp4box/fragment_tree.h"

namespace fmp4 {

namespace {

// Size, type, 64-bit size and extended type of the box that follows.
constexpr std::uint64_t kNextHeader = 32;
// Memory kept for the next fragment.
constexpr std::size_t kKeptBytes = 1 << 20;

// Where the content starts of the box at `offset`.
std::uint64_t contentStart(Mp4Stream& stream, std::uint64_t offset) {
  Mp4Box header;
  if (!stream.seek(offset) || !Mp4ReadBoxHeader(stream, header).ok()) return offset;
  return addSaturated(offset, Mp4BoxHeaderSize(header));
}

}  // namespace

Result FragmentLoader::load(Mp4Stream& file, std::uint64_t fileSize, const Place& place, ReadWindow& window,
                            std::shared_ptr<const LoadedFragment>& fragment) {
  fragment.reset();
  auto kept = std::find_if(kept_.begin(), kept_.end(), [&place](const Kept& candidate) {
    return candidate.fragment && candidate.offset == place.offset;
  });
  if (kept == kept_.end()) {
    auto loaded = std::make_shared<LoadedFragment>();
    if (const Result result = read(file, fileSize, place, window, *loaded); !result.ok()) return result;
    --kept;
    *kept = {place.offset, std::move(loaded)};
  }
  std::rotate(kept_.begin(), kept, std::next(kept));
  fragment = kept_.front().fragment;
  return {};
}

Result FragmentLoader::parse(Mp4Stream& stream, std::uint64_t fileSize, std::uint64_t offset,
                             LoadedFragment& loaded) {
  const std::uint64_t failures = stream.readFailures();
  const Result result = Mp4ReadFragmentTree(stream, offset, fileSize, loaded.tree);
  if (!result.ok()) return result;
  loaded.moof = loaded.tree->root()->first;
  loaded.mediaDataStart = contentStart(stream, loaded.moof->end());
  return stream.readFailures() == failures ? Result() : Defect::ReadFailed;
}

Result FragmentLoader::read(Mp4Stream& file, std::uint64_t fileSize, const Place& place, ReadWindow& window,
                            LoadedFragment& loaded) {
  if (place.offset >= fileSize) return Defect::BoxPastFile;
  // As much of it as the file contains, with the header of the next box.
  const std::uint64_t count = std::min(addSaturated(place.size, kNextHeader), fileSize - place.offset);
  const std::uint8_t* bytes = window.view(file, place.offset, count);
  if (!bytes && count <= MP4_MAX_LEAF_BYTES) {
    bytes_.resize(static_cast<std::size_t>(count));
    const auto wanted = static_cast<std::int64_t>(count);
    const std::uint64_t failures = file.readFailures();
    // The file had these bytes when it was opened.
    if (!file.seek(place.offset) || file.read(bytes_.data(), wanted) != wanted)
      return file.readFailures() == failures ? Defect::FragmentChanged : Defect::ReadFailed;
    bytes = bytes_.data();
  }
  Mp4MemoryStream memory(bytes, bytes ? count : 0, place.offset);
  const Result parsed = parse(bytes ? memory : file, fileSize, place.offset, loaded);
  if (bytes_.size() > kKeptBytes) bytes_ = {};
  if (!parsed.ok()) return parsed == Defect::EndOfData ? Defect::FragmentChanged : parsed;
  const bool same = loaded.moof->type == box_type::kMoof && loaded.moof->size == place.size;
  return same ? Result() : Defect::FragmentChanged;
}

}  // namespace fmp4

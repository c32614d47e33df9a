#include "streaming/index/fragment_loader.h"

#include <algorithm>

#include "base/exact_time.h"
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
  if (!stream.seek(offset) || !Mp4ReadBoxHeader(stream, header)) return offset;
  return addSaturated(offset, Mp4BoxHeaderSize(header));
}

}  // namespace

std::shared_ptr<const LoadedFragment> FragmentLoader::load(Mp4Stream& file, std::uint64_t fileSize,
                                                           std::uint64_t offset, std::uint64_t size,
                                                           ReadWindow& window) {
  auto place = std::find_if(kept_.begin(), kept_.end(),
                            [offset](const Kept& kept) { return kept.fragment && kept.offset == offset; });
  if (place == kept_.end()) {
    auto fragment = read(file, fileSize, offset, size, window);
    if (!fragment) return nullptr;
    --place;
    *place = {offset, std::move(fragment)};
  }
  std::rotate(kept_.begin(), place, std::next(place));
  return kept_.front().fragment;
}

std::shared_ptr<const LoadedFragment> FragmentLoader::read(Mp4Stream& file, std::uint64_t fileSize,
                                                           std::uint64_t offset, std::uint64_t size,
                                                           ReadWindow& window) {
  if (offset >= fileSize) return nullptr;
  auto loaded = std::make_shared<LoadedFragment>();
  const auto parse = [&](Mp4Stream& stream) {
    loaded->root = Mp4ReadFragmentTree(stream, offset, fileSize);
    if (!loaded->root) return;
    loaded->moof = loaded->root->first;
    loaded->mediaDataStart = contentStart(stream, loaded->moof->end());
  };
  // As much of it as the file contains, with the header of the next box.
  const std::uint64_t count = std::min(addSaturated(size, kNextHeader), fileSize - offset);
  const std::uint8_t* bytes = window.view(file, offset, count);
  if (!bytes && count <= MP4_MAX_LEAF_BYTES) {
    bytes_.resize(static_cast<std::size_t>(count));
    const bool whole = file.seek(offset) && file.read(bytes_.data(), static_cast<std::int64_t>(count)) ==
                                                static_cast<std::int64_t>(count);
    if (whole) bytes = bytes_.data();
  }
  if (bytes) {
    Mp4MemoryStream memory(bytes, count, offset);
    parse(memory);
  } else {
    parse(file);
  }
  if (bytes_.size() > kKeptBytes) bytes_ = {};
  // The file may have changed.
  const Mp4Box* const moof = loaded->moof;
  return moof && moof->type == Mp4FourCc("moof") && moof->size == size ? loaded : nullptr;
}

}  // namespace fmp4

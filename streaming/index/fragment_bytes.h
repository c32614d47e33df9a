// The bytes of one movie fragment, as the top level of a file is walked.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>

#include "mp4box/box.h"
#include "mp4box/box_header.h"
#include "mp4box/file_bytes.h"
#include "mp4box/fragment_tree.h"

namespace fmp4 {

// Read together with the header of the box that follows, which the walk looks at next.
class FragmentBytes {
 public:
  // `moof`: the header of the fragment, met in `stream`, which must outlive this. The file has `fileSize`
  // bytes.
  FragmentBytes(Mp4Stream& stream, const Mp4Box& moof, std::uint64_t fileSize)
      : stream_(stream), moof_(moof), fileSize_(fileSize) {
    const std::uint64_t left = fileSize - std::min(moof.position, fileSize);
    held_ = std::min(moof.size, left);
    if (!bytes_.fetch(stream, moof.position, std::min(held_ + kMaxBoxHeaderBytes, left)).ok()) held_ = 0;
  }

  // All bytes of the fragment; none if they cannot be read, or the file ends before it does. Valid as long as
  // this, until the stream is next used.
  std::span<const std::uint8_t> whole() const {
    if (held_ != moof_.size) return {};
    return {bytes_.data(), static_cast<std::size_t>(held_)};
  }

  // Reads its tree, of what the file has of it (Mp4ReadFragmentTree).
  [[nodiscard]] Result readTree(std::unique_ptr<Mp4Tree>& tree) {
    Mp4MemoryStream memory(bytes_.data(), held_, moof_.position);
    Mp4Stream& source = bytes_.data() ? memory : stream_;
    return Mp4ReadFragmentTree(source, moof_.position, fileSize_, tree);
  }

 private:
  Mp4Stream& stream_;
  const Mp4Box& moof_;
  std::uint64_t fileSize_;
  std::uint64_t held_ = 0;  // bytes in memory
  Mp4FileBytes bytes_;
};

}  // namespace fmp4

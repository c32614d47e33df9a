#include "mp4box/fragment_tree.h"

#include <algorithm>
#include <new>
#include <utility>

namespace fmp4 {

namespace {

// Boxes of a fragment that extend past their parents may make it this many times as long to read.
constexpr std::uint64_t kMaxRereads = 16;

}  // namespace

Result Mp4ReadFragmentTree(Mp4Stream& stream, std::uint64_t position, std::uint64_t fileSize,
                           std::unique_ptr<Mp4Tree>& tree) {
  tree.reset();
  const std::uint64_t failures = stream.readFailures();
  if (!stream.seek(position)) return Defect::ReadFailed;
  Mp4Box header;
  if (const Result result = Mp4ReadBoxHeader(stream, header); !result.ok())
    return stream.readFailures() == failures ? result : Defect::ReadFailed;
  auto read = std::make_unique<Mp4Tree>(fileSize, std::min(header.size, fileSize) * kMaxRereads);
  Mp4BoxPtr box;
  const Result result = Mp4ReadBox(stream, read->root(), box);
  if (read->memoryShort()) throw std::bad_alloc();
  if (stream.readFailures() != failures) return Defect::ReadFailed;
  if (!result.ok()) return result;
  read->root()->append(box.release());
  tree = std::move(read);
  return {};
}

}  // namespace fmp4

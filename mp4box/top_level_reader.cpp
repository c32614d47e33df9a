#include "mp4box/top_level_reader.h"

#include <algorithm>
#include <new>

#include "base/bytes.h"

namespace fmp4 {

// Reads the next top-level box with `read(source, box)`, which receives a stream at its first byte and sets
// `box`.
template <class Read>
Result Mp4TopLevelReader::next(Read read) {
  if (ended_) return Defect::EndOfData;
  ended_ = true;
  Mp4WindowStream window(stream_, window_, root()->size, ahead_.bytes());
  const bool inMemory = stream_.view(nextOffset_, 0) != nullptr;
  Mp4Stream& source = inMemory ? stream_ : window;
  if (!source.seek(nextOffset_)) return Defect::ReadFailed;
  const Mp4Box* box = nullptr;
  Result result = read(source, box);
  if (result == Defect::EndOfData && nextOffset_ < root()->size) {
    result = Defect::ReadFailed;
    note(Mp4Box{.position = nextOffset_}, result);
  }
  if (!result.ok()) return result;
  ahead_.passed(*box);
  nextOffset_ = box->end();
  ended_ = Mp4SeekNextBox(source, *box) != Mp4NextBox::Sibling;
  return {};
}

Result Mp4TopLevelReader::readNext() {
  return next([this](Mp4Stream& source, const Mp4Box*& box) {
    const Result result = appendFrom(source);
    box = root()->last;
    return result;
  });
}

Result Mp4TopLevelReader::appendFrom(Mp4Stream& source) try {
  Mp4BoxPtr box;
  if (const Result result = Mp4ReadBox(source, root(), box); !result.ok()) return result;
  boxes_.push_back(box.get());
  root()->append(box.release());
  return {};
} catch (const std::bad_alloc&) {
  note(Mp4Box{.position = nextOffset_}, Defect::OutOfMemory);
  return Defect::OutOfMemory;
}

Result Mp4TopLevelReader::admitNext(Mp4Stream& source, Mp4Box& header) {
  constexpr std::uint64_t kHeader = 8;
  const std::uint64_t left = root()->size - std::min(nextOffset_, root()->size);
  const std::uint8_t* const bytes = left >= kHeader ? source.view(nextOffset_, kHeader) : nullptr;
  const std::uint32_t size = bytes ? Mp4LoadU32(bytes) : 0;
  const std::uint32_t type = bytes ? Mp4LoadU32(bytes + 4) : 0;
  // Any other size, and the header of a "uuid" box, take more than these bytes to tell.
  const bool ordinary = size >= kHeader && size <= left && type != Mp4FourCc("uuid");
  if (!ordinary) return Mp4AdmitBox(source, root(), header);
  header.position = nextOffset_;
  header.type = type;
  header.shortsize = size;
  header.size = size;
  header.father = root();
  header.tree = this;
  return admit(source, header);
}

Result Mp4TopLevelReader::passNext(const Visitor& visit) {
  Mp4Box header;
  return next([&](Mp4Stream& source, const Mp4Box*& box) -> Result {
    box = &header;
    if (const Result result = admitNext(source, header); !result.ok()) {
      note(header, result);
      return result;
    }
    visit(source, header);
    return {};
  });
}

void Mp4TopLevelReader::readUpTo(std::uint32_t type) {
  while (readNext().ok() && (type == 0 || root()->last->type != type)) {
  }
}

Mp4Box* Mp4TopLevelReader::boxAt(std::uint64_t offset) {
  while (nextOffset_ <= offset && readNext().ok()) {
  }
  const auto after = std::upper_bound(boxes_.begin(), boxes_.end(), offset,
                                      [](std::uint64_t at, const Mp4Box* box) { return at < box->position; });
  if (after == boxes_.begin()) return nullptr;
  Mp4Box* const box = *std::prev(after);
  return box->position == offset ? box : nullptr;
}

std::unique_ptr<Mp4TopLevelReader> Mp4ReadRoot(Mp4Stream& stream, bool readAll) {
  std::unique_ptr<Mp4TopLevelReader> reader(new (std::nothrow) Mp4TopLevelReader(stream));
  if (reader) reader->readUpTo(readAll ? 0 : Mp4FourCc("moov"));
  return reader;
}

}  // namespace fmp4

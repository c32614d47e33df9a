// Reads the boxes at the top level of a file one after another.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "mp4box/read_ahead.h"
#include "mp4box/tree.h"
#include "mp4box/window_stream.h"

namespace fmp4 {

// The tree of a file, read as far as it has been asked for. Top-level boxes become part of the tree, or are
// passed to a visitor instead.
class Mp4TopLevelReader final : public Mp4Tree {
 public:
  // `stream` must outlive the reader. Nothing is read yet.
  explicit Mp4TopLevelReader(Mp4Stream& stream) : Mp4Tree(stream.size()), stream_(stream) {}

  Mp4Stream& stream() const { return stream_; }

  // Reads the top level up to and including the first box of this type, or to its end; 0: all of it.
  void readUpTo(std::uint32_t type);

  // Reads the next top-level box and appends it to the root. EndOfData: there is none. After any failure no
  // further box can be read.
  [[nodiscard]] Result readNext() override;

  // Receives a top-level box: its header, and a stream at its first byte through which its bytes can be read.
  // Neither may be kept.
  using Visitor = std::function<void(Mp4Stream& stream, const Mp4Box& header)>;

  // Passes the next top-level box to `visit` instead of reading it into the tree, which never contains it
  // then. Fails like readNext().
  [[nodiscard]] Result passNext(const Visitor& visit);

  // File offset of the first top-level byte that has not been read.
  std::uint64_t nextOffset() const { return nextOffset_; }

  // The top-level box that starts at `offset`; reads further top-level boxes up to there. Null if no box of
  // the tree starts at `offset` (it may then be inside a box).
  Mp4Box* boxAt(std::uint64_t offset);

 private:
  template <class Read>
  Result next(Read read);
  Result appendFrom(Mp4Stream& source);
  // Mp4AdmitBox for the next box, which `source` is at. A header of eight bytes is read where it lies.
  Result admitNext(Mp4Stream& source, Mp4Box& header);

  Mp4Stream& stream_;
  std::uint64_t nextOffset_ = 0;
  bool ended_ = false;          // no more top-level boxes can be read
  std::vector<Mp4Box*> boxes_;  // those in the tree, in file order
  Mp4Window window_;            // bytes read ahead of the parser
  Mp4ReadAhead ahead_;
};

// Reads the top level of the file of `stream`, which must outlive the result: all of it, or (`readAll` false)
// up to and including the first "moov"; Mp4BoxGet reads later boxes on demand. Null if memory is short.
std::unique_ptr<Mp4TopLevelReader> Mp4ReadRoot(Mp4Stream& stream, bool readAll);

}  // namespace fmp4

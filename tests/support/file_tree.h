// The tree of a file, used like its root.
#pragma once

#include <memory>

#include "mp4box/top_level_reader.h"

namespace fmp4 {

class FileTree {
 public:
  FileTree(Mp4Stream& stream, bool readAll) : reader_(Mp4ReadRoot(stream, readAll)) {}

  Mp4Box* get() const { return reader_->root(); }
  Mp4Box* operator->() const { return get(); }
  Mp4Box& operator*() const { return *get(); }
  Mp4TopLevelReader& reader() const { return *reader_; }

 private:
  std::unique_ptr<Mp4TopLevelReader> reader_;
};

}  // namespace fmp4

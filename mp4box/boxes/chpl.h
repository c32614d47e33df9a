// "chpl": a list of chapters.
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct ChapterListBox final : Mp4FullBox {
  struct Chapter {
    std::uint64_t start = 0;  // 100 ns
    std::string title;        // at most 255 bytes of UTF-8
  };
  std::vector<Chapter> chapters;  // at most 255

  void fields(Mp4Fields& f) override {
    fullBox(f);
    if (version == 1) f.reserved(4);
    auto count = static_cast<std::uint8_t>(chapters.size());
    f.u8("chapter_count", count);
    f.entries("chapter", chapters, count, 9, [&f](Chapter& chapter) {
      f.u64("start", chapter.start);
      auto length = static_cast<std::uint8_t>(chapter.title.size());
      f.u8("title_length", length);
      f.characters("title", chapter.title, length);
    });
  }
};

}  // namespace fmp4::mp4

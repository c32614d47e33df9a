// "tfra": the random access points of a track (ISO/IEC 14496-12, 8.8.10).
#pragma once

#include "mp4box/fields.h"

namespace fmp4::mp4 {

struct TrackFragmentRandomAccessBox final : Mp4FullBox {
  struct Entry {
    std::uint64_t time = 0;        // ticks of the media's timescale
    std::uint64_t moofOffset = 0;  // file offset
    std::uint32_t trafNumber = 0;  // from 1, as are the other two
    std::uint32_t trunNumber = 0;
    std::uint32_t sampleNumber = 0;
  };

  std::uint32_t trackId = 0;
  std::uint32_t reserved = 0;
  // Sizes of an entry's three numbers in bytes, minus 1.
  std::uint32_t lengthSizeOfTrafNum = 0;
  std::uint32_t lengthSizeOfTrunNum = 0;
  std::uint32_t lengthSizeOfSampleNum = 0;
  std::vector<Entry> entries;

  void fields(Mp4Fields& f) override {
    fullBox(f);
    f.u32("track_ID", trackId);
    f.packed(4, {{"reserved", reserved, 26},
                 {"length_size_of_traf_num", lengthSizeOfTrafNum, 2},
                 {"length_size_of_trun_num", lengthSizeOfTrunNum, 2},
                 {"length_size_of_sample_num", lengthSizeOfSampleNum, 2}});
    auto count = static_cast<std::uint32_t>(entries.size());
    f.u32("number_of_entry", count);
    const bool wide = version == 1;
    const unsigned entryBytes =
        (wide ? 16 : 8) + lengthSizeOfTrafNum + lengthSizeOfTrunNum + lengthSizeOfSampleNum + 3;
    f.entries("entry", entries, count, entryBytes, [&](Entry& entry) {
      f.u32or64("time", entry.time, wide);
      f.u32or64("moof_offset", entry.moofOffset, wide);
      f.unsignedNumber("traf_number", entry.trafNumber, lengthSizeOfTrafNum + 1);
      f.unsignedNumber("trun_number", entry.trunNumber, lengthSizeOfTrunNum + 1);
      f.unsignedNumber("sample_number", entry.sampleNumber, lengthSizeOfSampleNum + 1);
    });
  }
};

}  // namespace fmp4::mp4

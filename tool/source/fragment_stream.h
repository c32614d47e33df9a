// A fragmented MP4 read as it arrives, one movie fragment at a time.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "mp4box/box.h"
#include "tool/source/sample_source.h"

namespace fmp4 {

class FragmentStream : public SampleSource {
 public:
  struct Input {
    // Reads some bytes, waiting for them. Returns how many; 0 at the end.
    std::function<std::size_t(std::span<std::uint8_t>)> read;
    // Whether the end was requested, so that the input may end anywhere.
    std::function<bool()> endAsked;
  };

  // Reads up to the movie box. Throws UserError when none comes.
  FragmentStream(std::string name, Input input);

  const std::string& path() const override { return name_; }
  std::vector<SourceTrack>& tracks() override { return tracks_; }
  std::span<std::uint8_t> read(const SourceTrack& track, std::size_t index) override;
  // Drops the samples that have been used and reads the next fragment. Throws UserError when the input is
  // damaged or truncated.
  bool more() override;
  // Reads the next fragment and keeps the samples held. False at the end.
  bool readFragment();
  // Whether the maximum that a recording needs is held; readFragment() alone drops nothing.
  bool holdsMuch() const;

 private:
  struct Header {
    std::uint32_t type = 0;
    std::uint64_t payload = 0;        // bytes
    std::vector<std::uint8_t> bytes;  // as received
  };

  bool take(std::span<std::uint8_t> bytes, bool betweenBoxes);
  bool takeHeader(Header& header);
  bool takePayload(std::uint64_t size, std::vector<std::uint8_t>& bytes);
  bool skip(std::uint64_t size);
  bool takeMovie(std::vector<std::uint8_t>& bytes);
  void addSamples(const std::vector<std::uint8_t>& moof, std::uint64_t moofOffset, std::uint64_t dataOffset,
                  std::size_t dataPlace);
  void forgetUsed();

  std::string name_;
  Input input_;
  std::uint64_t offset_ = 0;  // in the stream
  Mp4BoxPtr movie_;
  std::vector<SourceTrack> tracks_;
  std::vector<std::uint8_t> data_;  // of the samples held; their offsets point into it
  std::vector<std::uint8_t> spare_;
};

}  // namespace fmp4

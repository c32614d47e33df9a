// The source of samples for packaging: a file, or a stream that is still arriving (ISO/IEC 14496-12).
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "streaming/index/nominal_duration.h"
#include "tool/source/edit_list.h"
#include "tool/source/sample_list.h"

namespace fmp4 {

struct SourceTrack {
  std::uint32_t trackId = 0;
  std::uint32_t handler = 0;    // "vide", "soun", "clcp", ...
  std::uint32_t codec = 0;      // type of the sample entry
  std::uint32_t timescale = 0;  // ticks a second
  std::uint32_t width = 0;      // video only, pixels
  std::uint32_t height = 0;
  std::uint32_t channels = 0;               // audio only
  std::vector<std::uint8_t> configuration;  // AVC decoder configuration record, or AudioSpecificConfig
  std::uint8_t objectType = 0;              // audio only: objectTypeIndication
  EditList edits;
  NominalDuration nominalDuration;
  SampleList samples;
  std::size_t tableSamples = 0;      // of them in the movie box, before those of fragments
  bool wanted = false;               // its samples will be used
  std::size_t next = 0;              // index of the first unused sample
  std::uint64_t nextDecodeTime = 0;  // after the last sample, ticks

  // When a sample plays, in seconds of the presentation.
  double present(const SourceSample& sample) const {
    return edits.present(sample.presentationTime(), timescale);
  }
};

class SampleSource {
 public:
  virtual ~SampleSource() = default;

  virtual const std::string& path() const = 0;
  // The tracks with the samples known so far. Users advance each track's `next`.
  virtual std::vector<SourceTrack>& tracks() = 0;
  // Gets more samples and drops those that have been used. False when there are none.
  virtual bool more() = 0;
  // The bytes of a sample of one of the tracks, valid until the next call for that track, and of more().
  // Throws UserError when the source does not have them.
  virtual std::span<std::uint8_t> read(const SourceTrack& track, std::size_t index) = 0;

  // From now on trackOfHandler() gives the track of this ID. Throws UserError when none of that kind has it.
  void choose(std::uint32_t handler, std::uint32_t trackId);

  // The chosen or first track of a kind, by its handler or by the type of its sample entry; null when there
  // is none.
  SourceTrack* trackOfHandler(std::uint32_t handler);
  SourceTrack* trackOfCodec(std::uint32_t codec) {
    return firstTrack([codec](const SourceTrack& track) { return track.codec == codec; });
  }

 private:
  template <class Fits>
  SourceTrack* firstTrack(Fits fits) {
    std::vector<SourceTrack>& all = tracks();
    // Prefers a track with samples: others may be placeholders.
    SourceTrack* found = nullptr;
    for (SourceTrack& track : all) {
      if (!fits(track)) continue;
      if (!track.samples.empty()) return &track;
      if (!found) found = &track;
    }
    return found;
  }

  std::map<std::uint32_t, std::uint32_t> chosen_;  // track IDs by handler
};

}  // namespace fmp4

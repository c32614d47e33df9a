// All captions of a file as cues, by channel.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "captions/cc_data.h"
#include "captions/cea608_decoder.h"
#include "captions/cea708_decoder.h"
#include "captions/cue_builder.h"

namespace fmp4::captions {

// A caption channel of CEA-608 or a caption service of CEA-708.
struct CaptionChannel {
  enum class Standard : std::uint8_t { Cea608, Cea708 };
  Standard standard = Standard::Cea608;
  unsigned number = 1;  // CC1 to CC4, services 1 to 63
  auto operator<=>(const CaptionChannel&) const =
      default;  // NOLINT(modernize-use-nullptr): the comparison with 0 is implied

  // "CC1", "service 1".
  std::string name() const;
};

// A file may have the pairs of field 1 twice: as pairs of their own and in its packets. The former are taken
// if any of them displays something.
class CaptionCues {
 public:
  explicit CaptionCues(double framesPerSecond) : services_(framesPerSecond) {}

  // Adds what a frame has: its CEA-608 pair of field 1 and its caption distribution packet, either of which
  // may be empty. Frames must ascend.
  void add(std::int64_t frame, std::span<const std::uint8_t> pair, std::span<const std::uint8_t> packet);

  // The cues of each channel that has any; the last ones end before frame `end`. Nothing may be added after.
  std::map<CaptionChannel, std::vector<Cue>> finish(std::int64_t end);

 private:
  struct Channel608 {
    explicit Channel608(Cea608Channel channel) : decoder(channel) {}
    void show(std::int64_t frame);

    Cea608Decoder decoder;
    CueBuilder cues;
  };

  std::array<Channel608, 2> pairs_ = {Channel608(Cea608Channel::CC1), Channel608(Cea608Channel::CC2)};
  bool hasPairs_ = false;
  std::array<Channel608, 4> packets_ = {Channel608(Cea608Channel::CC1), Channel608(Cea608Channel::CC2),
                                        Channel608(Cea608Channel::CC3), Channel608(Cea608Channel::CC4)};
  Cea708Decoder services_;
  std::map<unsigned, CueBuilder> serviceCues_;
};

}  // namespace fmp4::captions

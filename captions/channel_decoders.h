// Decodes all caption channels of a file at once.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "captions/cc_data.h"
#include "captions/cea608_decoder.h"
#include "captions/cea708_decoder.h"

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

// A channel as one of the places has it from which it may come.
struct CaptionSource {
  CaptionChannel channel;
  bool ofPairs = false;  // pairs of their own, not those in packets
  auto operator<=>(const CaptionSource&) const =
      default;  // NOLINT(modernize-use-nullptr): the comparison with 0 is implied
};

// A file may have the pairs of field 1 twice: as pairs of their own and in its packets. The former are taken
// if any of them displays something.
class ChannelDecoders {
 public:
  // Receive a source whose screen may have changed.
  struct Changed {
    std::function<void(const CaptionSource&, const Cea608Decoder&)> cea608;
    std::function<void(const CaptionSource&, const Cea708Service&)> cea708;
  };

  explicit ChannelDecoders(double framesPerSecond) : services_(framesPerSecond) {}

  // Decodes what a frame has: its CEA-608 pair of field 1 and its caption distribution packet, either of
  // which may be empty. Frames must ascend.
  void add(std::int64_t frame, std::span<const std::uint8_t> pair, std::span<const std::uint8_t> packet,
           const Changed& changed);

  // Whether this source is the one that is taken for its channel, by all that has been added.
  bool isTaken(const CaptionSource& source) const;

 private:
  std::array<Cea608Decoder, 2> pairs_ = {Cea608Decoder(Cea608Channel::CC1),
                                         Cea608Decoder(Cea608Channel::CC2)};
  bool hasPairs_ = false;
  std::array<Cea608Decoder, 4> packets_ = {
      Cea608Decoder(Cea608Channel::CC1), Cea608Decoder(Cea608Channel::CC2), Cea608Decoder(Cea608Channel::CC3),
      Cea608Decoder(Cea608Channel::CC4)};
  Cea708Decoder services_;
};

}  // namespace fmp4::captions

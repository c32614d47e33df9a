// Which channels a stream has, where they play and in which order they come out (ISO/IEC 14496-3, 1.6.3.5
// and 4.5.1.2).
#pragma once

#include <cstdint>

#include "base/aac/program_config.h"

namespace UMC::aac {

inline constexpr int kMaxChannels = 8;

// Elements that carry output channels, by their id_syn_ele.
enum class ElementType : std::uint8_t { kSingle = 0, kPair = 1, kLfe = 3 };

inline int ChannelsOf(ElementType type) {
  return type == ElementType::kPair ? 2 : 1;
}

// Where a channel plays: the bit's number in a WAVE channel mask, which is also the order of output.
enum class Speaker : std::uint8_t {
  kFrontLeft,
  kFrontRight,
  kFrontCentre,
  kLfe,
  kBackLeft,
  kBackRight,
  kFrontLeftOfCentre,
  kFrontRightOfCentre,
  kBackCentre,
  kSideLeft,
  kSideRight,
  kUnknown
};

struct LayoutElement {
  ElementType type;
  std::uint8_t tag;           // element_instance_tag
  std::uint8_t firstChannel;  // index of its (first) channel among the layout's

  bool operator==(const LayoutElement&) const = default;
};

// A stream's elements in a fixed order, and their channels' speakers.
struct Layout {
  std::uint8_t elementCount;
  std::uint8_t channelCount;
  std::int8_t mixdownIndex;  // matrix_mixdown_idx, -1: not sent
  bool unordered;            // some speakers are a guess: the channels come out as they are listed
  LayoutElement elements[kMaxChannels];
  Speaker speakers[kMaxChannels];

  bool operator==(const Layout&) const = default;

  // Adds an element; false when its channels are too many.
  bool Add(ElementType type, std::uint8_t tag, Speaker first, Speaker second = Speaker::kUnknown);
};

// The layout of a channelConfiguration (its elements' tags count up for each type), or one without channels
// where it has none that is served.
Layout LayoutOfConfiguration(int channelConfiguration);

// The layout of a program. One without channels when there are too many. The standard lists a place's
// elements from the centre outwards or from front to back; a program that does not is `unordered`.
Layout LayoutOfProgram(const ProgramConfig& program);

// The layout of elements of which no more is known than that they came in this order: that of the channel
// configuration with these elements, else the likeliest one. The elements' tags do not count.
Layout LayoutOfElements(const ElementType* seen, int count);

// Writes the channels' indices in the order of output to `order`: that of their speakers, those that are
// unknown behind.
void OutputOrder(const Layout& layout, std::uint8_t* order);

}  // namespace UMC::aac

// The channels of a stream, their speaker positions and their output order (ISO/IEC 14496-3, 1.6.3.5 and
// 4.5.1.2).
#pragma once

#include <cstdint>

#include "base/aac/program_config.h"

namespace UMC::aac {

inline constexpr int kMaxChannels = 8;

// Elements that carry output channels; the values are their id_syn_ele.
enum class ElementType : std::uint8_t { kSingle = 0, kPair = 1, kLfe = 3 };

inline int ChannelsOf(ElementType type) {
  return type == ElementType::kPair ? 2 : 1;
}

// Speaker position: the bit number in a WAVE channel mask, which is also the output order.
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
  std::uint8_t firstChannel;  // index of the element's first channel in the layout

  bool operator==(const LayoutElement&) const = default;
};

// The elements of a stream in a fixed order, and the speakers of their channels.
struct Layout {
  std::uint8_t elementCount;
  std::uint8_t channelCount;
  std::int8_t mixdownIndex;  // matrix_mixdown_idx; -1: not transmitted
  bool unordered;            // some speaker positions are guesses: channels are output in listed order
  LayoutElement elements[kMaxChannels];
  Speaker speakers[kMaxChannels];

  bool operator==(const Layout&) const = default;

  // Adds an element. Returns false if the layout would have too many channels.
  bool Add(ElementType type, std::uint8_t tag, Speaker first, Speaker second = Speaker::kUnknown);
};

// The layout of a channelConfiguration; element tags count up per type. Without channels if the configuration
// is unsupported.
Layout LayoutOfConfiguration(int channelConfiguration);

// The layout of a program; without channels if there are too many. The standard lists the elements of each
// position from the centre outwards or from front to back; a program that does not follow this is
// `unordered`.
Layout LayoutOfProgram(const ProgramConfig& program);

// The layout of elements known only by their order: that of the channel configuration with these elements,
// otherwise the most likely one. Element tags are not meaningful.
Layout LayoutOfElements(const ElementType* seen, int count);

// Writes the channel indices in output order to `order`: sorted by speaker, unknown speakers last.
void OutputOrder(const Layout& layout, std::uint8_t* order);

}  // namespace UMC::aac

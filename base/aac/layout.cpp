#include "base/aac/layout.h"

#include <algorithm>
#include <iterator>
#include <numeric>

namespace UMC::aac {

namespace {

using enum Speaker;

struct ConfigurationElement {
  ElementType type;
  Speaker first;
  Speaker second = kUnknown;
};

struct Configuration {
  int number;
  int elementCount;
  ConfigurationElement elements[5];
};

constexpr auto kSingle = ElementType::kSingle;
constexpr auto kPair = ElementType::kPair;
constexpr auto kLfeElement = ElementType::kLfe;

constexpr ConfigurationElement kCentre = {kSingle, kFrontCentre};
constexpr ConfigurationElement kFront = {kPair, kFrontLeft, kFrontRight};
constexpr ConfigurationElement kSide = {kPair, kSideLeft, kSideRight};
constexpr ConfigurationElement kBack = {kPair, kBackLeft, kBackRight};
constexpr ConfigurationElement kRear = {kSingle, kBackCentre};
constexpr ConfigurationElement kEffects = {kLfeElement, kLfe};

// Most encoders signal configuration 7 for the 7.1 layout that was later added as configuration 12 (ISO/IEC
// 23001-8): the first pair is the front pair, not the one next to the centre.
constexpr Configuration kConfigurations[] = {
    {1, 1, {kCentre}},
    {2, 1, {kFront}},
    {3, 2, {kCentre, kFront}},
    {4, 3, {kCentre, kFront, kRear}},
    {5, 3, {kCentre, kFront, kBack}},
    {6, 4, {kCentre, kFront, kBack, kEffects}},
    {7, 5, {kCentre, kFront, kSide, kBack, kEffects}},
    {11, 5, {kCentre, kFront, kBack, kRear, kEffects}},
    {12, 5, {kCentre, kFront, kSide, kBack, kEffects}},
};

Layout MakeLayout(const Configuration& configuration) {
  Layout layout{};
  layout.mixdownIndex = -1;
  std::uint8_t tags[4] = {};
  for (int i = 0; i < configuration.elementCount; ++i) {
    const ConfigurationElement& element = configuration.elements[i];
    layout.Add(element.type, tags[static_cast<int>(element.type)]++, element.first, element.second);
  }
  return layout;
}

bool HasElements(const Configuration& configuration, const ElementType* seen, int count) {
  return configuration.elementCount == count &&
         std::equal(
             seen, seen + count, configuration.elements,
             [](ElementType type, const ConfigurationElement& element) { return type == element.type; });
}

// Front elements are listed from the centre outwards: an optional single centre, then at most two pairs.
bool AddFront(const ProgramElements& front, Layout& layout) {
  auto pairsLeft =
      std::count_if(front.items, front.items + front.count, [](const auto& item) { return item.isPair; });
  bool centreSeen = false;
  for (int i = 0; i < front.count; ++i) {
    const auto& item = front.items[i];
    Speaker first = kUnknown, second = kUnknown;
    if (!item.isPair && !centreSeen) {
      first = kFrontCentre;
      centreSeen = true;
      layout.unordered |= i != 0;
    } else if (item.isPair && pairsLeft == 1) {
      first = kFrontLeft;
      second = kFrontRight;
    } else if (item.isPair && pairsLeft == 2) {
      first = kFrontLeftOfCentre;
      second = kFrontRightOfCentre;
    }
    if (item.isPair) --pairsLeft;
    if (!layout.Add(item.isPair ? kPair : kSingle, item.tag, first, second)) return false;
  }
  return true;
}

// The first pair plays on the given speakers, the first single element on the rear centre.
bool AddSurround(const ProgramElements& elements, Speaker left, Speaker right, Layout& layout) {
  bool pairSeen = false, singleSeen = false;
  for (int i = 0; i < elements.count; ++i) {
    const auto& item = elements.items[i];
    const bool known = item.isPair ? !pairSeen : !singleSeen;
    (item.isPair ? pairSeen : singleSeen) = true;
    const bool added = item.isPair
                           ? layout.Add(kPair, item.tag, known ? left : kUnknown, known ? right : kUnknown)
                           : layout.Add(kSingle, item.tag, known ? kBackCentre : kUnknown);
    if (!added) return false;
  }
  return true;
}

bool AddEffects(const ProgramElements& lfe, Layout& layout) {
  for (int i = 0; i < lfe.count; ++i) {
    if (!layout.Add(kLfeElement, lfe.items[i].tag, i == 0 ? kLfe : kUnknown)) return false;
  }
  return true;
}

}  // namespace

bool Layout::Add(ElementType type, std::uint8_t tag, Speaker first, Speaker second) {
  const int channels = ChannelsOf(type);
  if (channelCount + channels > kMaxChannels) return false;
  elements[elementCount++] = {type, tag, channelCount};
  speakers[channelCount++] = first;
  if (channels == 2) speakers[channelCount++] = second;
  return true;
}

Layout LayoutOfConfiguration(int channelConfiguration) {
  for (const Configuration& configuration : kConfigurations) {
    if (configuration.number == channelConfiguration) return MakeLayout(configuration);
  }
  return {};
}

Layout LayoutOfProgram(const ProgramConfig& program) {
  Layout layout{};
  layout.mixdownIndex = program.mixdownIndex;
  const bool fits =
      AddFront(program.front, layout) && AddSurround(program.side, kSideLeft, kSideRight, layout) &&
      AddSurround(program.back, kBackLeft, kBackRight, layout) && AddEffects(program.lfe, layout);
  if (!fits) return {};
  const Speaker* end = layout.speakers + layout.channelCount;
  layout.unordered |= std::find<const Speaker*>(layout.speakers, end, kUnknown) != end;
  return layout;
}

Layout LayoutOfElements(const ElementType* seen, int count) {
  Layout layout{};
  layout.mixdownIndex = -1;
  const auto* end = std::end(kConfigurations);
  const auto* known = std::find_if(std::begin(kConfigurations), end,
                                   [=](const Configuration& c) { return HasElements(c, seen, count); });
  if (known != end) {
    layout = MakeLayout(*known);
  } else {
    // A leading centre, then pairs from front to back, then a rear centre.
    constexpr Speaker kPairs[][2] = {
        {kFrontLeft, kFrontRight}, {kBackLeft, kBackRight}, {kSideLeft, kSideRight}};
    std::size_t pairs = 0;
    bool rearSeen = false, effectsSeen = false;
    for (int i = 0; i < count; ++i) {
      Speaker first = kUnknown, second = kUnknown;
      if (seen[i] == kPair && pairs < std::size(kPairs)) {
        first = kPairs[pairs][0];
        second = kPairs[pairs][1];
        ++pairs;
      } else if (seen[i] == kSingle && i == 0) {
        first = kFrontCentre;
      } else if (seen[i] == kSingle && !rearSeen) {
        first = kBackCentre;
        rearSeen = true;
      } else if (seen[i] == kLfeElement && !effectsSeen) {
        first = kLfe;
        effectsSeen = true;
      }
      if (!layout.Add(seen[i], 0, first, second)) return {};
    }
  }
  return layout;
}

void OutputOrder(const Layout& layout, std::uint8_t* order) {
  std::iota(order, order + layout.channelCount, std::uint8_t{0});
  if (layout.unordered) return;
  std::stable_sort(order, order + layout.channelCount,
                   [&](std::uint8_t a, std::uint8_t b) { return layout.speakers[a] < layout.speakers[b]; });
}

}  // namespace UMC::aac

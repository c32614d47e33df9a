#include "captions/cea708_service.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/bytes.h"
#include "captions/cea708_characters.h"

namespace fmp4::captions {

namespace {

using Bytes = std::span<const std::uint8_t>;

// Control codes (CTA-708-E, 7.1.4 and 8.10).
constexpr std::uint8_t kBackspace = 0x08, kFormFeed = 0x0C, kCarriageReturn = 0x0D,
                       kHorizontalCarriageReturn = 0x0E, kExtension = 0x10, kCharacter16 = 0x18;
constexpr std::uint8_t kSetCurrentWindow = 0x80, kClearWindows = 0x88, kDisplayWindows = 0x89,
                       kHideWindows = 0x8A, kToggleWindows = 0x8B, kDeleteWindows = 0x8C, kDelay = 0x8D,
                       kDelayCancel = 0x8E, kReset = 0x8F, kSetPenAttributes = 0x90, kSetPenColour = 0x91,
                       kSetPenLocation = 0x92, kSetWindowAttributes = 0x97, kDefineWindow = 0x98;

// What a service may hold back: its input buffer. A full one ends a delay.
constexpr std::size_t kInputBuffer = 128;

// Bytes of a code after EXT1 and its first byte.
std::size_t extendedLength(Bytes bytes) {
  if (bytes.size() < 2) return 0;
  const std::uint8_t code = bytes[1];
  if (code < 0x20) return 2 + code / 8u;
  if (code < 0x80 || code >= 0xA0) return 2;
  if (code < 0x88) return 6;
  if (code < 0x90) return 7;
  return bytes.size() < 3 ? 0 : 3 + (bytes[2] & 0x1Fu);
}

// Bytes of the code at the start, 0 while that is not known.
std::size_t codeLength(Bytes bytes) {
  // Codes 0x80 to 0x9F.
  static constexpr std::uint8_t kCommands[32] = {1, 1, 1, 1, 1, 1, 1, 1, 2, 2, 2, 2, 2, 2, 1, 1,
                                                 3, 4, 3, 1, 1, 1, 1, 5, 7, 7, 7, 7, 7, 7, 7, 7};
  if (bytes.empty()) return 0;
  const std::uint8_t code = bytes[0];
  if (code == kExtension) return extendedLength(bytes);
  if (code < 0x20) return code < 0x10 ? 1 : code / 8u;
  return code >= 0x80 && code < 0xA0 ? kCommands[code - 0x80] : 1;
}

Colour colourOf(std::uint8_t bits) {
  const auto level = [bits](int shift) { return static_cast<std::uint8_t>(bits >> shift & 3); };
  return {level(4), level(2), level(0)};
}

Opacity opacityOf(std::uint8_t bits) {
  return static_cast<Opacity>(bits >> 6);
}

Edge edgeOf(unsigned code) {
  return code <= static_cast<unsigned>(Edge::RightShadow) ? static_cast<Edge>(code) : Edge::None;
}

// CTA-708-E, 8.10.5.9. Text that is to be fully justified is aligned at the left.
Cea708Attributes attributesOf(Bytes code) {
  constexpr Alignment kAlignments[] = {Alignment::Left, Alignment::Right, Alignment::Centre, Alignment::Left};
  Cea708Attributes attributes;
  attributes.fill = colourOf(code[1]);
  attributes.fillOpacity = opacityOf(code[1]);
  attributes.border = edgeOf((code[3] >> 5 & 4u) | code[2] >> 6);
  attributes.borderColour = colourOf(code[2]);
  attributes.wordWrap = (code[3] & 0x40) != 0;
  attributes.alignment = kAlignments[code[3] & 3];
  return attributes;
}

// The attributes of SetPenAttributes (CTA-708-E, 8.10.5.10) that are no style. Codes that are not assigned
// are the usual ones.
void setPenShape(TextShape& shape, Bytes code) {
  const unsigned size = code[1] & 3u, offset = code[1] >> 2 & 3u;
  shape.size = size < 3 ? static_cast<PenSize>(size) : PenSize::Standard;
  shape.offset = offset < 3 ? static_cast<PenOffset>(offset) : PenOffset::Normal;
  shape.edge = edgeOf(code[2] >> 3 & 7u);
  shape.font = static_cast<Font>(code[2] & 7);
}

}  // namespace

void Cea708Service::push(std::int64_t frame, Bytes bytes) {
  waiting_.insert(waiting_.end(), bytes.begin(), bytes.end());
  if (resume_) endDelayEarly();
  decode(frame);
}

void Cea708Service::advance(std::int64_t frame) {
  if (!resume_ || frame < *resume_) return;
  resume_.reset();
  decode(frame);
}

void Cea708Service::reset() {
  for (auto& window : windows_) window.reset();
  current_.reset();
  waiting_.clear();
  resume_.reset();
  changed_ = true;
}

bool Cea708Service::takeChanged() {
  return std::exchange(changed_, false);
}

Caption Cea708Service::caption() const {
  Caption caption;
  for (unsigned i = 0; i < kWindows; ++i)
    if (windows_[i] && windows_[i]->visible()) windows_[i]->addTo(caption, i);
  std::stable_sort(caption.blocks.begin(), caption.blocks.end(),
                   [](const TextBlock& a, const TextBlock& b) { return a.top < b.top; });
  return caption;
}

CaptionScreen Cea708Service::screen(PictureShape shape) const {
  std::vector<unsigned> shown;
  for (unsigned i = 0; i < kWindows; ++i)
    if (windows_[i] && windows_[i]->visible()) shown.push_back(i);
  std::stable_sort(shown.begin(), shown.end(), [this](unsigned a, unsigned b) {
    return windows_[a]->priority() > windows_[b]->priority();
  });
  CaptionScreen screen;
  for (const unsigned i : shown) screen.regions.push_back(windows_[i]->region(i, shape));
  return screen;
}

// Executes what is complete, up to a delay.
void Cea708Service::decode(std::int64_t frame) {
  std::size_t done = 0;
  while (!resume_) {
    const Bytes rest = Bytes(waiting_).subspan(done);
    const std::size_t length = codeLength(rest);
    if (length == 0 || length > rest.size()) break;
    done += length;
    if (rest[0] == kReset) {
      const std::vector<std::uint8_t> after(rest.begin() + 1, rest.end());
      reset();
      waiting_ = after;
      done = 0;
    } else {
      execute(frame, rest.first(length));
    }
  }
  waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(done));
}

// A cancellation, a reset and a full buffer act on a delay when they arrive.
void Cea708Service::endDelayEarly() {
  if (waiting_.size() > kInputBuffer) resume_.reset();
  for (Bytes rest = waiting_; resume_;) {
    const std::size_t length = codeLength(rest);
    if (length == 0 || length > rest.size()) return;
    if (rest[0] == kDelayCancel || rest[0] == kReset) resume_.reset();
    rest = rest.subspan(length);
  }
}

void Cea708Service::execute(std::int64_t frame, Bytes code) {
  if (code[0] == kExtension) {
    if (code[1] >= 0xA0 || (code[1] >= 0x20 && code[1] < 0x80)) write(extendedSetCharacter(code[1]));
  } else if (code[0] == kCharacter16) {
    write(static_cast<char16_t>(Mp4LoadU16(code.data() + 1)));
  } else if (code[0] < 0x20) {
    control(code[0]);
  } else if (code[0] >= 0x80 && code[0] < 0xA0) {
    command(frame, code);
  } else {
    write(plainCharacter(code[0]));
  }
}

void Cea708Service::control(std::uint8_t code) {
  Cea708Window* const window = current();
  if (!window) return;
  changed_ = changed_ || window->visible();
  if (code == kBackspace) window->backspace();
  if (code == kFormFeed) window->formFeed();
  if (code == kCarriageReturn) window->carriageReturn();
  if (code == kHorizontalCarriageReturn) window->horizontalCarriageReturn();
}

void Cea708Service::command(std::int64_t frame, Bytes code) {
  if (code[0] < kClearWindows) {
    if (windows_[code[0] - kSetCurrentWindow]) current_ = code[0] - kSetCurrentWindow;
  } else if (code[0] >= kDefineWindow) {
    defineWindow(code[0] - kDefineWindow, code.subspan(1));
  } else if (code[0] <= kDeleteWindows) {
    changeWindows(code[0], code[1]);
  } else if (code[0] == kDelay) {
    // In tenths of a second.
    resume_ = frame + std::llround(std::ceil(code[1] * framesPerSecond_ / 10));
  } else {
    changeCurrent(code);
  }
}

void Cea708Service::defineWindow(unsigned number, Bytes parameters) {
  Cea708Definition definition;
  definition.visible = (parameters[0] & 0x20) != 0;
  definition.priority = parameters[0] & 7u;
  definition.relative = (parameters[1] & 0x80) != 0;
  definition.anchorVertical = parameters[1] & 0x7Fu;
  definition.anchorHorizontal = parameters[2];
  definition.anchorPoint = std::min<unsigned>(parameters[3] >> 4, 8);
  definition.rows = (parameters[3] & 0x0Fu) + 1;
  definition.columns = (parameters[4] & 0x3Fu) + 1;
  const unsigned windowStyle = parameters[5] >> 3 & 7u, penStyle = parameters[5] & 7u;
  if (windows_[number])
    windows_[number]->redefine(definition, windowStyle, penStyle);
  else
    windows_[number].emplace(definition, windowStyle, penStyle);
  current_ = number;
  changed_ = true;
}

void Cea708Service::changeWindows(std::uint8_t code, unsigned mask) {
  for (unsigned i = 0; i < kWindows; ++i) {
    auto& window = windows_[i];
    if (!window || (mask >> i & 1) == 0) continue;
    if (code == kClearWindows) window->clear();
    if (code == kDisplayWindows) window->setVisible(true);
    if (code == kHideWindows) window->setVisible(false);
    if (code == kToggleWindows) window->setVisible(!window->visible());
    if (code == kDeleteWindows) window.reset();
  }
  // Text has nowhere to go until another window becomes the current one.
  if (current_ && !windows_[*current_]) current_.reset();
  changed_ = true;
}

// The pen and the attributes of the current window.
void Cea708Service::changeCurrent(Bytes code) {
  Cea708Window* const window = current();
  if (!window) return;
  changed_ = changed_ || window->visible();
  TextStyle& pen = window->pen();
  if (code[0] == kSetPenAttributes) {
    pen.italics = (code[2] & 0x80) != 0;
    pen.underline = (code[2] & 0x40) != 0;
    setPenShape(window->penShape(), code);
  } else if (code[0] == kSetPenColour) {
    pen.foreground = colourOf(code[1]);
    pen.foregroundOpacity = opacityOf(code[1]);
    pen.background = colourOf(code[2]);
    pen.backgroundOpacity = opacityOf(code[2]);
    window->penShape().edgeColour = colourOf(code[3]);
  } else if (code[0] == kSetPenLocation) {
    window->movePen(code[1] & 0x0Fu, code[2] & 0x3Fu);
  } else if (code[0] == kSetWindowAttributes) {
    window->setAttributes(attributesOf(code));
  }
}

void Cea708Service::write(char16_t character) {
  Cea708Window* const window = current();
  if (!window) return;
  window->write(character);
  changed_ = changed_ || window->visible();
}

Cea708Window* Cea708Service::current() {
  return current_ && windows_[*current_] ? &*windows_[*current_] : nullptr;
}

}  // namespace fmp4::captions

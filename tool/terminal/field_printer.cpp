#include "tool/terminal/field_printer.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <ostream>
#include <utility>

#include "base/bytes.h"
#include "base/json_text.h"
#include "base/text.h"
#include "mp4box/field_reader.h"

namespace fmp4 {

namespace {

// Maximum that a style shows of a long field.
struct ShownMost {
  std::uint64_t entries;
  std::size_t bytes;
  std::size_t characters;
};

ShownMost shownMost(FieldStyle style) {
  constexpr auto kAll = std::numeric_limits<std::size_t>::max();
  if (style == FieldStyle::Text) return {4, 16, kAll};
  if (style == FieldStyle::ShortJson) return {64, 64, 1024};
  return {kAll, kAll, kAll};
}

std::string numberText(std::uint64_t value, unsigned bytes, Mp4Number kind, bool json) {
  switch (kind) {
    case Mp4Number::Signed: {
      const unsigned unused = 64 - 8 * bytes;
      return std::to_string(static_cast<std::int64_t>(value << unused) >> unused);
    }
    case Mp4Number::FourCc: {
      const std::string code = fourCcText(static_cast<std::uint32_t>(value));
      return json ? jsonText(code) : '"' + code + '"';
    }
    case Mp4Number::Fixed16:
      return jsonNumber(Mp4Fixed16ToDouble(static_cast<std::uint32_t>(value)));
    case Mp4Number::Fixed8:
      return jsonNumber(static_cast<double>(value) / 256);
    case Mp4Number::Hex: {
      const std::string digits = "0x" + hexText(value, 2 * bytes);
      return json ? jsonText(digits) : digits;
    }
    case Mp4Number::Unsigned:
      break;
  }
  return std::to_string(value);
}

class FieldPrinter final : public Mp4FieldReader {
 public:
  FieldPrinter(std::ostream& out, std::span<const std::uint8_t> payload, FieldStyle style)
      : Mp4FieldReader(payload),
        out_(out),
        json_(style == FieldStyle::Json || style == FieldStyle::ShortJson),
        most_(shownMost(style)) {}
  // Closes what is open; no field may follow.
  void end() { endFields(); }

  void bytes(const char* name, std::span<std::uint8_t> bytes) override {
    Mp4FieldReader::bytes(name, bytes);
    showBytes(name, bytes);
  }
  void blob(const char* name, std::vector<std::uint8_t>& bytes, std::uint64_t count) override {
    Mp4FieldReader::blob(name, bytes, count);
    showBytes(name, bytes);
  }
  void text(const char* name, std::string& value) override {
    Mp4FieldReader::text(name, value);
    showText(name, value);
  }
  void characters(const char* name, std::string& value, std::uint64_t count) override {
    Mp4FieldReader::characters(name, value, count);
    showText(name, value);
  }
  void packed(unsigned bytes, std::initializer_list<Mp4Bits> fields) override {
    silent_ = true;
    Mp4FieldReader::packed(bytes, fields);
    silent_ = false;
    for (const Mp4Bits& field : fields) show(field.name, field.value, 4, Mp4Number::Unsigned);
  }
  std::uint32_t sevenBits(const char* name, std::uint32_t& value) override {
    silent_ = true;
    const std::uint32_t count = Mp4FieldReader::sevenBits(name, value);
    silent_ = false;
    show(name, value, 4, Mp4Number::Unsigned);
    return count;
  }

  void words(const char* name, std::vector<std::uint32_t>& values, std::uint64_t count) override {
    Mp4FieldReader::words(name, values, count);
    if (!key(name)) return;
    out_ << '[';
    std::uint64_t shown = 0;
    for (const std::uint32_t value : values) {
      if (!inFull(++shown)) break;
      out_ << (shown > 1 ? ", " : "") << value;
    }
    closeList(values.size());
  }
  void rows(const char* name, std::vector<std::uint32_t>& values, std::uint64_t count,
            std::span<const Mp4Column> columns) override {
    Mp4FieldReader::words(name, values, count * columns.size());
    if (!key(name)) return;
    out_ << '[';
    const std::uint64_t held = values.size() / columns.size();
    for (std::uint64_t row = 0; row < held && inFull(row + 1); ++row) {
      const char* separator = row > 0 ? ", {" : "{";
      for (const Mp4Column& column : columns) {
        const std::size_t place = row * columns.size() + static_cast<std::size_t>(&column - columns.data());
        out_ << std::exchange(separator, json_ ? ", " : " ");
        out_ << named(column.name) << numberText(values[place], 4, column.kind, json_);
      }
      out_ << '}';
    }
    closeList(held);
  }

  void beginEntry(const char* name) override {
    Level& level = levels_.back();
    if (level.list == nullptr || std::strcmp(level.list, name) != 0) {
      if (key(name)) out_ << '[';
      level.list = name;
      level.entries = 0;
    }
    ++level.entries;
    if (hidden_ > 0 || !inFull(level.entries))
      ++hidden_;
    else
      out_ << (level.entries > 1 ? ", {" : "{");
    levels_.emplace_back();
  }
  void endEntry() override {
    endFields();
    levels_.pop_back();
    if (hidden_ > 0)
      --hidden_;
    else
      out_ << '}';
  }

 protected:
  void number(const char* name, std::uint64_t& value, unsigned bytes, Mp4Number kind) override {
    Mp4FieldReader::number(name, value, bytes, kind);
    show(name, value, bytes, kind);
  }

 private:
  // An open object: the payload, or a list entry.
  struct Level {
    std::vector<std::pair<const char*, unsigned>> names;  // names of its fields, with their counts
    const char* list = nullptr;                           // name of its open list of entries
    std::uint64_t entries = 0;                            // in that list so far
  };

  void show(const char* name, std::uint64_t value, unsigned bytes, Mp4Number kind) {
    if (silent_ || hidden_ > 0) return;
    if (numbersName_ == nullptr || std::strcmp(numbersName_, name) != 0) endFields();
    numbersName_ = name;
    numbers_.push_back(numberText(value, bytes, kind, json_));
  }

  bool inFull(std::uint64_t entry) const { return entry <= most_.entries; }
  // The name of a field, up to its value.
  std::string named(const std::string& name) const { return json_ ? jsonText(name) + ": " : name + '='; }

  // Starts a field: closes what is open before it and prints its name. False when nothing is to be printed.
  bool key(const char* name) {
    endFields();
    if (hidden_ > 0) return false;
    printKey(name);
    return true;
  }
  // A repeated name is numbered ("tag", "tag_2"), so that the keys of an object are unique.
  void printKey(const char* name) {
    auto& names = levels_.back().names;
    if (!names.empty()) out_ << (json_ ? ", " : " ");
    auto known = std::find_if(names.begin(), names.end(),
                              [name](const auto& known) { return std::strcmp(known.first, name) == 0; });
    if (known == names.end()) known = names.insert(known, {name, 0});
    const unsigned times = ++known->second;
    out_ << named(times == 1 ? name : name + ('_' + std::to_string(times)));
  }
  void showBytes(const char* name, std::span<const std::uint8_t> bytes) {
    if (!key(name)) return;
    const bool all = bytes.size() <= most_.bytes;
    const std::string length = all ? "" : "...(" + std::to_string(bytes.size()) + " bytes)";
    out_ << '"' << hexText(all ? bytes : bytes.first(most_.bytes)) << (json_ ? length + '"' : '"' + length);
  }
  void showText(const char* name, const std::string& value) {
    if (!key(name)) return;
    const bool all = value.size() <= most_.characters;
    out_ << jsonText(all ? value : value.substr(0, most_.characters) + "...");
  }
  void endFields() {
    printNumbers();
    Level& level = levels_.back();
    if (level.list == nullptr) return;
    if (hidden_ == 0) closeList(level.entries);
    level.list = nullptr;
  }
  void printNumbers() {
    if (numbersName_ == nullptr) return;
    printKey(numbersName_);
    if (numbers_.size() > 1) out_ << '[';
    for (std::size_t i = 0; i < numbers_.size(); ++i) out_ << (i > 0 ? ", " : "") << numbers_[i];
    if (numbers_.size() > 1) out_ << ']';
    numbersName_ = nullptr;
    numbers_.clear();
  }
  void closeList(std::uint64_t entries) {
    const char* const quote = json_ ? "\"" : "";
    if (!inFull(entries)) out_ << ", " << quote << "... " << entries << " in all" << quote;
    out_ << ']';
  }

  std::ostream& out_;
  bool json_;
  ShownMost most_;
  bool silent_ = false;  // shows no numbers: they are parts of one
  std::vector<Level> levels_ = std::vector<Level>(1);
  unsigned hidden_ = 0;  // enclosing entries that are not shown
  // Consecutive numbers of one name (a matrix), not yet printed.
  const char* numbersName_ = nullptr;
  std::vector<std::string> numbers_;
};

}  // namespace

void printFields(std::ostream& out, Mp4Payload& payload, std::span<const std::uint8_t> bytes,
                 FieldStyle style) {
  FieldPrinter printer(out, bytes, style);
  payload.fields(printer);
  printer.end();
}

}  // namespace fmp4

// Visitors that fill a payload with values and that list the values it has.
#pragma once

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "mp4box/fields.h"

namespace fmp4 {

// Fills a payload with random values, each within the width of its field, and with short tables.
class FillingVisitor : public Mp4Fields {
 public:
  explicit FillingVisitor(unsigned seed) : random_(seed) {}

  bool reading() const override { return true; }
  std::uint64_t remaining() const override { return 60; }
  void bytes(const char*, std::span<std::uint8_t> bytes) override {
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random_());
  }
  void blob(const char* name, std::vector<std::uint8_t>& value, std::uint64_t count) override {
    value.resize(static_cast<std::size_t>(std::min(count, remaining())));
    bytes(name, value);
  }
  void text(const char* name, std::string& value) override { characters(name, value, random_() % 12); }
  void characters(const char*, std::string& value, std::uint64_t count) override {
    value.resize(static_cast<std::size_t>(std::min(count, remaining())));
    for (char& c : value) c = static_cast<char>('a' + random_() % 26);
  }
  void reserved(unsigned) override {}
  void words(const char*, std::vector<std::uint32_t>& values, std::uint64_t count) override {
    values.resize(static_cast<std::size_t>(std::min(count, remaining() / 4)));
    for (std::uint32_t& value : values) value = static_cast<std::uint32_t>(random_());
  }
  void beginEntry(const char*) override {}
  void endEntry() override {}

 protected:
  void number(const char* name, std::uint64_t& value, unsigned bytes, Mp4Number) override {
    const std::string field = name;
    value = bytes == 8 ? random_() : random_() & ((std::uint64_t{1} << 8 * bytes) - 1);
    if (field == "version") value %= 2;
    // Counts and lengths of what comes later in the box.
    const bool counts =
        field.find("count") != std::string::npos || field.find("length") != std::string::npos ||
        field.find("_size") != std::string::npos || field.find("number_of") == 0 || field == "URLlength";
    if (counts) value %= 4;
  }

 private:
  std::mt19937_64 random_;
};

// Lists the values that a payload would write.
class ListingVisitor : public Mp4Fields {
 public:
  std::vector<std::string> values;

  bool reading() const override { return false; }
  std::uint64_t remaining() const override { return ~std::uint64_t{0}; }
  void bytes(const char* name, std::span<std::uint8_t> bytes) override {
    std::string list;
    for (const std::uint8_t byte : bytes) list += std::to_string(byte) + ' ';
    add(name, list);
  }
  void blob(const char* name, std::vector<std::uint8_t>& value, std::uint64_t count) override {
    bytes(name,
          std::span(value).first(static_cast<std::size_t>(std::min<std::uint64_t>(count, value.size()))));
  }
  void text(const char* name, std::string& value) override { add(name, value); }
  void characters(const char* name, std::string& value, std::uint64_t count) override {
    add(name, value.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(count, value.size()))));
  }
  void reserved(unsigned count) override { add("reserved", std::to_string(count)); }
  void words(const char* name, std::vector<std::uint32_t>& list, std::uint64_t count) override {
    for (std::size_t i = 0; i < std::min<std::uint64_t>(count, list.size()); ++i)
      add(name, std::to_string(list[i]));
  }
  void beginEntry(const char* name) override { add(name, "{"); }
  void endEntry() override { values.emplace_back("}"); }

 protected:
  void number(const char* name, std::uint64_t& value, unsigned bytes, Mp4Number) override {
    add(name, std::to_string(value) + '/' + std::to_string(bytes));
  }

 private:
  void add(const std::string& name, const std::string& value) { values.push_back(name + '=' + value); }
};

inline std::vector<std::string> valuesOf(Mp4Payload& payload) {
  ListingVisitor list;
  payload.fields(list);
  return list.values;
}

}  // namespace fmp4

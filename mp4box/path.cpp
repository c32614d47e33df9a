// Looking up boxes: by type and index, by path.
#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <limits>
#include <optional>
#include <string_view>

#include "base/bytes.h"
#include "mp4box/tree.h"

namespace fmp4 {

namespace {

struct Token {
  std::string_view name;
  std::uint64_t index = 0;
};

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

// Removes the next token and the separators after it from `path`. Returns nullopt for an index that is not a
// number or lacks its closing bracket. An index over 32 bits is returned as the 32-bit maximum plus 1.
std::optional<Token> cutToken(std::string_view& path) {
  Token token;
  std::size_t length = std::min(path.find_first_of("/["), path.size());
  if (length == 0 && path.front() == '/') length = 1;
  token.name = path.substr(0, length);
  path.remove_prefix(length);

  if (path.starts_with('[')) {
    path.remove_prefix(1);
    const std::size_t close = path.find(']');
    if (close == path.npos || !isDigit(path.front())) return std::nullopt;
    constexpr std::uint64_t kTooLarge = std::uint64_t{std::numeric_limits<std::uint32_t>::max()} + 1;
    for (std::size_t i = 0; isDigit(path[i]); ++i)
      token.index = std::min(token.index * 10 + static_cast<unsigned>(path[i] - '0'), kTooLarge);
    path.remove_prefix(close + 1);
  }
  path.remove_prefix(std::min(path.find_first_not_of('/'), path.size()));
  return token;
}

// The child of this type and index. With a `stream`, reads further top-level boxes as needed.
Mp4Box* findChild(Mp4Stream* stream, Mp4Box* father, std::uint32_t type, std::uint32_t index) {
  Mp4Box* child = father->first;
  std::uint32_t rank = 0;
  if (father->found && father->found->type == type && father->foundIndex <= index) {
    child = father->found;
    rank = father->foundIndex;
  }
  while (child) {
    if (child->type == type) {
      father->found = child;
      father->foundIndex = rank;
      if (rank == index) return child;
      ++rank;
    }
    // Whether a box could be appended shows below.
    if (!child->next && stream) static_cast<void>(Mp4ReadNextBox(father));
    child = child->next;
  }
  return nullptr;
}

Mp4Box* childAt(Mp4Box* father, std::uint64_t place) {
  Mp4Box* child = father->first;
  while (child && place-- > 0) child = child->next;
  return child;
}

Mp4Box* step(Mp4Stream* stream, Mp4Box* box, const Token& token) {
  if (token.name == "/") {
    while (box && box->type != MP4_ROOT) box = box->father;
    return box;
  }
  if (token.name == ".") return box;
  if (token.name == "..") return box->father;
  if (token.index > std::numeric_limits<std::uint32_t>::max()) return nullptr;
  if (token.name.empty()) return childAt(box, token.index);
  if (token.name.size() != 4) return nullptr;

  const std::uint32_t type = Mp4LoadU32(reinterpret_cast<const std::uint8_t*>(token.name.data()));
  const bool loads = type == Mp4FourCc("moof") || type == Mp4FourCc("mdat") || type == Mp4FourCc("sidx");
  return findChild(loads ? stream : nullptr, box, type, static_cast<std::uint32_t>(token.index));
}

}  // namespace

Mp4Box* Mp4BoxGet(Mp4Stream* stream, Mp4Box* box, bool noLoad, const char* format, ...) {
  if (!box) return nullptr;
  std::array<char, 4096> text;
  std::va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);
  if (length <= 0 || static_cast<std::size_t>(length) >= text.size()) return nullptr;

  std::string_view path(text.data(), static_cast<std::size_t>(length));
  while (box && !path.empty()) {
    const std::optional<Token> token = cutToken(path);
    if (!token) return nullptr;
    box = step(noLoad ? nullptr : stream, box, *token);
  }
  return box;
}

Mp4Box* Mp4BoxChild(Mp4Box* box, std::uint32_t type, std::uint32_t index) {
  return box ? findChild(nullptr, box, type, index) : nullptr;
}

}  // namespace fmp4

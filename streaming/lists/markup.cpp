#include "streaming/lists/markup.h"

namespace fmp4 {

namespace {

// Markup other than elements, by start and end; the first match applies.
struct Markup {
  std::string_view start, end;
};
constexpr Markup kNoElements[] = {{"<?", "?>"}, {"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<!", ">"}};

// The offset after the next `mark` at or after `offset`, or npos.
std::size_t after(std::string_view text, std::string_view mark, std::size_t offset) {
  const std::size_t at = text.find(mark, offset);
  return at == text.npos ? at : at + mark.size();
}

}  // namespace

std::size_t endOfMarkup(std::string_view text, std::size_t start, std::size_t& attributes) {
  attributes = 0;
  const std::string_view rest = text.substr(start);
  for (const Markup& markup : kNoElements) {
    if (rest.starts_with(markup.start)) return after(text, markup.end, start + markup.start.size());
  }
  std::size_t at = start;
  while ((at = text.find_first_of("\"'>", at)) != text.npos) {
    if (text[at] == '>') return at + 1;
    ++attributes;
    at = after(text, text.substr(at, 1), at + 1);
  }
  return at;
}

}  // namespace fmp4

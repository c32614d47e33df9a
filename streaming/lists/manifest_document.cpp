#include "streaming/lists/manifest_document.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "mp4box/stream.h"

namespace fmp4 {

namespace {

// Elements of manifests have fewer attributes than this. The parser compares each with all previous ones.
constexpr unsigned kMaxAttributes = 256;

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

// Whether an element has more attributes than allowed. Assumes well-formed text; the result for other text
// does not matter, because the parser rejects it.
bool hasTooManyAttributes(std::string_view text) {
  std::size_t at = 0;
  while ((at = text.find('<', at)) != text.npos) {
    const std::string_view rest = text.substr(at);
    std::size_t end = 0;
    for (const Markup& markup : kNoElements) {
      if (end == 0 && rest.starts_with(markup.start)) end = after(text, markup.end, at + markup.start.size());
    }
    unsigned attributes = 0;
    while (end == 0) {
      at = text.find_first_of("\"'>", at);
      if (at == text.npos || text[at] == '>') {
        end = at;
      } else if (++attributes > kMaxAttributes) {
        return true;
      } else {
        at = after(text, text.substr(at, 1), at + 1);
      }
    }
    at = end;
  }
  return false;
}

// An upper bound for the memory of the document's nodes. Each "<" may start an element or other markup and
// end a text, and each attribute needs an "=".
std::size_t mostDocumentBytes(std::string_view text) {
  const auto tags = static_cast<std::size_t>(std::count(text.begin(), text.end(), '<'));
  const auto values = static_cast<std::size_t>(std::count(text.begin(), text.end(), '='));
  return tags * (sizeof(tinyxml2::XMLElement) + sizeof(tinyxml2::XMLText)) +
         values * sizeof(tinyxml2::XMLAttribute);
}

}  // namespace

bool parseManifestDocument(std::string_view text, tinyxml2::XMLDocument& document) {
  return text.size() <= kMaxManifestBytes && mostDocumentBytes(text) <= kMaxDocumentBytes &&
         !hasTooManyAttributes(text) && document.Parse(text.data(), text.size()) == tinyxml2::XML_SUCCESS;
}

bool loadManifestDocument(const char* path, tinyxml2::XMLDocument& document) {
  Mp4Stream file;
  const VLHANDLE handle = file.open(path, MP4_MODE_READ);
  if (handle == VL_NO_HANDLE || handle == VL_INVALID_HANDLE) return false;
  const std::uint64_t size = file.size();
  if (size > kMaxManifestBytes) return false;
  std::vector<char> text(static_cast<std::size_t>(size));
  const auto count = static_cast<std::int64_t>(size);
  return file.read(text.data(), count) == count &&
         parseManifestDocument({text.data(), text.size()}, document);
}

}  // namespace fmp4

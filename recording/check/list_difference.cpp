#include "recording/check/list_difference.h"

#include <algorithm>

#include "base/json_text.h"
#include "streaming/lists/manifest_document.h"

namespace fmp4 {

namespace {

using tinyxml2::XMLAttribute;
using tinyxml2::XMLElement;

// Longest part of a text that a message quotes, in bytes.
constexpr std::size_t kMaxQuoted = 120;

// `text` from `start` on.
std::string quoted(std::string_view text, std::size_t start = 0) {
  const std::string_view part = text.substr(start, kMaxQuoted);
  return (start != 0 ? "..." : "") + jsonText(part) + (start + part.size() < text.size() ? "..." : "");
}

// Where texts that are too long to quote differ, a little of what they share before it.
std::size_t startOfDifference(std::string_view one, std::string_view other) {
  constexpr std::size_t kContext = 40;
  if (std::max(one.size(), other.size()) <= kMaxQuoted) return 0;
  const auto end = std::mismatch(one.begin(), one.end(), other.begin(), other.end()).first;
  std::size_t start = static_cast<std::size_t>(end - one.begin());
  start -= std::min(start, kContext);
  while (start != 0 && (one[start] & 0xC0) == 0x80) --start;  // to the start of a UTF-8 character
  return start;
}

std::string butTheMediaSay(std::string_view actual, std::string_view expected) {
  const std::size_t start = startOfDifference(actual, expected);
  return quoted(actual, start) + ", but the media say " + quoted(expected, start);
}

// Removes the next line from `text` and returns it without its line end, which may be that of Windows.
std::string_view takeLine(std::string_view& text) {
  const std::size_t end = std::min(text.find('\n'), text.size());
  std::string_view line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

const char* orEmpty(const char* text) {
  return text ? text : "";
}

// "MPD/Period/AdaptationSet[1]": the path of an element, with its index, from 0, among siblings of its name.
std::string placeOf(const XMLElement* element) {
  unsigned rank = 0;
  for (const XMLElement* before = element->PreviousSiblingElement(element->Name()); before;
       before = before->PreviousSiblingElement(element->Name()))
    ++rank;
  const tinyxml2::XMLNode* const parent = element->Parent();
  const std::string start = parent && parent->ToElement() ? placeOf(parent->ToElement()) + "/" : "";
  std::string place = start + element->Name();
  if (rank != 0) place.append("[").append(std::to_string(rank)).append("]");
  return place;
}

std::string attributeDifference(const XMLElement* expected, const XMLElement* actual) {
  for (const XMLAttribute* expectedOne = expected->FirstAttribute(); expectedOne;
       expectedOne = expectedOne->Next()) {
    const char* const actualOne = actual->Attribute(expectedOne->Name());
    if (!actualOne)
      return placeOf(expected) + " lacks " + expectedOne->Name() + "=" + quoted(expectedOne->Value());
    if (std::string_view(actualOne) != expectedOne->Value())
      return placeOf(expected) + " has " + expectedOne->Name() + "=" +
             butTheMediaSay(actualOne, expectedOne->Value());
  }
  for (const XMLAttribute* actualOne = actual->FirstAttribute(); actualOne; actualOne = actualOne->Next()) {
    if (!expected->Attribute(actualOne->Name()))
      return placeOf(expected) + " has a " + quoted(actualOne->Name()) + " that recordings do not have";
  }
  return "";
}

// Recursion is no deeper than `expected` is.
std::string elementDifference(const XMLElement* expected, const XMLElement* actual) {
  if (std::string_view(expected->Name()) != actual->Name())
    return quoted(actual->Name()) + " is where " + placeOf(expected) + " should";
  std::string difference = attributeDifference(expected, actual);
  if (difference.empty() && std::string_view(orEmpty(expected->GetText())) != orEmpty(actual->GetText()))
    difference = placeOf(expected) + " says " +
                 butTheMediaSay(orEmpty(actual->GetText()), orEmpty(expected->GetText()));
  const XMLElement* expectedChild = expected->FirstChildElement();
  const XMLElement* actualChild = actual->FirstChildElement();
  for (; difference.empty() && expectedChild && actualChild;
       expectedChild = expectedChild->NextSiblingElement(), actualChild = actualChild->NextSiblingElement())
    difference = elementDifference(expectedChild, actualChild);
  if (!difference.empty()) return difference;
  if (expectedChild) return placeOf(expectedChild) + " is missing";
  if (actualChild) return quoted(actualChild->Name()) + " should not be in " + placeOf(expected);
  return "";
}

}  // namespace

std::string playlistDifference(std::string_view expected, std::string_view actual) {
  for (std::uint64_t line = 1; !expected.empty(); ++line) {
    const std::string_view rest = actual;
    const std::string_view expectedLine = takeLine(expected), actualLine = takeLine(actual);
    const bool ended = rest.size() > actualLine.size();
    if (rest.empty()) {
      if (expected.empty()) return "its end marker " + quoted(expectedLine) + " is missing";
      return "it ends before line " + std::to_string(line) + ", " + quoted(expectedLine);
    }
    if (actualLine != expectedLine || !ended)
      return "line " + std::to_string(line) + " says " + butTheMediaSay(actualLine, expectedLine);
  }
  return actual.empty() ? "" : "it continues after its end with " + quoted(takeLine(actual));
}

std::string manifestDifference(std::string_view expected, std::string_view actual) {
  tinyxml2::XMLDocument expectedDocument, actualDocument;
  if (!parseManifestDocument(actual, actualDocument) || !actualDocument.RootElement())
    return "it is not a complete XML document";
  if (!parseManifestDocument(expected, expectedDocument) || !expectedDocument.RootElement()) return "";
  return elementDifference(expectedDocument.RootElement(), actualDocument.RootElement());
}

}  // namespace fmp4

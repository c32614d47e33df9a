#include "tool/viewer/box_tree.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <sstream>
#include <vector>

#include "base/text.h"
#include "base/user_error.h"
#include "mp4box/box_type.h"
#include "mp4box/file_bytes.h"
#include "mp4box/fragment_tree.h"
#include "tool/terminal/field_printer.h"
#include "tool/viewer/parameters.h"

namespace fmp4 {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::uint64_t kAnyOffset = std::numeric_limits<std::int64_t>::max();
constexpr std::uint64_t kMostTopLevel = 100;        // boxes in an answer
constexpr std::size_t kMostChildren = 500;          // likewise
constexpr std::size_t kMostBytes = 256;             // of a box
constexpr std::uint64_t kMostFieldBytes = 4 << 20;  // of a box whose fields are shown

Json headerJson(const Mp4Box& box, bool parent) {
  Json json = {{"type", fourCcText(box.type)}, {"offset", box.position}, {"size", box.size}};
  if (box.type == Mp4FourCc("uuid")) json["uuid"] = hexText(box.uuid);
  json["parent"] = parent;
  return json;
}

Json defectJson(const Mp4BoxDefect& found) {
  return {{"offset", found.offset},
          {"type", found.type != 0 ? Json(fourCcText(found.type)) : Json()},
          {"code", defectCode(found.defect)},
          {"text", defectText(found.defect)}};
}

bool mayBeParent(std::uint32_t type) {
  const Mp4BoxReader reader = Mp4FindBoxType(type).reader;
  return reader == Mp4ReadContainer || reader == Mp4ReadLeafWithChildren || reader == Mp4ReadCompressedMovie;
}

// The boxes that follow each other from `offset` on; what cannot be a box ends them.
std::string topLevelJson(Mp4Stream& stream, std::uint64_t offset, std::uint64_t count) {
  const std::uint64_t end = stream.size();
  Json json = {{"size", end}, {"from", offset}, {"boxes", Json::array()}, {"defects", Json::array()}};
  bool readable = true;
  while (offset < end && json["boxes"].size() < count) {
    Mp4Box box;
    const Result result = stream.seek(offset) ? Mp4ReadBoxHeader(stream, box) : Result(Defect::ReadFailed);
    readable = result.ok();
    if (!readable) {
      json["defects"].push_back(defectJson({offset, box.type, result.defect()}));
      break;
    }
    if (box.size == 0) box.size = end - offset;  // up to the end of the file
    json["boxes"].push_back(headerJson(box, mayBeParent(box.type)));
    offset += box.size;
  }
  json["next"] = readable && offset < end ? Json(offset) : Json();
  return json.dump();
}

// Where the fragment begins that has a frame.
std::uint64_t fragmentOf(const FragmentTable& table, std::uint64_t frame) {
  const std::vector<PresentedSample> shown = table.presented(frame, 1);
  if (shown.empty()) throw BadRequest("'frame' is after the last one");
  const auto after =
      std::upper_bound(table.fragments().begin(), table.fragments().end(), shown.front().sample,
                       [](std::uint64_t n, const TimedFragment& f) { return n < f.firstSample; });
  return std::prev(after)->offset;
}

Json fieldsJson(Mp4Stream& stream, const Mp4Box& box) {
  const unsigned header = Mp4BoxHeaderSize(box);
  Mp4FileBytes bytes;
  if (!box.data || box.size < header || box.size > kMostFieldBytes ||
      !bytes.fetch(stream, box.position, box.size).ok())
    return Json::object();
  std::ostringstream fields;
  printFields(fields, *box.data, {bytes.data() + header, static_cast<std::size_t>(box.size - header)},
              FieldStyle::ShortJson);
  const Json json = Json::parse('{' + fields.str() + '}', nullptr, false);
  return json.is_discarded() ? Json::object() : json;
}

std::string firstBytes(Mp4Stream& stream, const Mp4Box& box) {
  std::array<std::uint8_t, kMostBytes> bytes{};
  const auto wanted = static_cast<std::int64_t>(std::min<std::uint64_t>(box.size, bytes.size()));
  if (!stream.seek(box.position)) return {};
  const std::int64_t read = std::clamp<std::int64_t>(stream.read(bytes.data(), wanted), 0, wanted);
  return hexText(std::span(bytes).first(static_cast<std::size_t>(read)));
}

// The box inside `box` to which the indices lead.
const Mp4Box& boxAt(const Mp4Box& box, std::span<const std::uint32_t> path) {
  const Mp4Box* found = &box;
  for (const std::uint32_t index : path) {
    found = found->first;
    for (std::uint32_t i = 0; found && i < index; ++i) found = found->next;
    if (!found) throw BadRequest("'path' leads to no box");
  }
  return *found;
}

std::string detailsJson(Mp4Stream& stream, std::uint64_t offset, std::span<const std::uint32_t> path) {
  if (offset >= stream.size()) throw BadRequest("'box' is after the end of the file");
  std::unique_ptr<Mp4Tree> tree;
  const Result result = Mp4ReadFragmentTree(stream, offset, stream.size(), tree);
  if (!result.ok())
    throw UserError("the box at byte " + std::to_string(offset) +
                    " cannot be read: " + std::string(defectText(result.defect())));
  const Mp4Box& box = boxAt(*tree->root()->first, path);
  Json json = headerJson(box, box.first != nullptr);
  json["fields"] = fieldsJson(stream, box);
  json["bytes"] = firstBytes(stream, box);
  json["boxes"] = Json::array();
  std::size_t children = 0;
  for (const Mp4Box* child = box.first; child; child = child->next)
    if (++children <= kMostChildren) json["boxes"].push_back(headerJson(*child, child->first != nullptr));
  json["boxCount"] = children;
  json["defects"] = Json::array();
  for (const Mp4BoxDefect& found : tree->defects().kept()) json["defects"].push_back(defectJson(found));
  return json.dump();
}

}  // namespace

std::string boxTreeJson(const std::string& media, const DataRequest& request,
                        const std::function<std::shared_ptr<const FragmentTable>()>& table) {
  const auto from = wholeNumber(request, "from", kAnyOffset);
  const auto frame = wholeNumber(request, "frame", std::numeric_limits<std::uint32_t>::max());
  const auto box = wholeNumber(request, "box", kAnyOffset);
  const auto path = wholeNumbers(request, "path", MP4_MAX_DEPTH);
  const auto count = wholeNumber(request, "count", kMostTopLevel).value_or(kMostTopLevel);
  if ((from ? 1 : 0) + (frame ? 1 : 0) + (box ? 1 : 0) > 1)
    throw BadRequest("'from', 'frame' and 'box' exclude each other");
  if (path && !box) throw BadRequest("'path' needs the 'box' in which it begins");
  Mp4Stream stream;
  const VLHANDLE handle = stream.open(media.c_str(), MP4_MODE_READ);
  if (handle == VL_NO_HANDLE || handle == VL_INVALID_HANDLE)
    throw UserError("the file cannot be opened; check its permissions");
  if (box) return detailsJson(stream, *box, path.value_or(std::vector<std::uint32_t>()));
  return topLevelJson(stream, frame ? fragmentOf(*table(), *frame) : from.value_or(0), count);
}

}  // namespace fmp4

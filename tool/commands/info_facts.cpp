#include "tool/commands/info_facts.h"

#include "base/text.h"

namespace fmp4 {

namespace {

using Json = nlohmann::ordered_json;

Json describeGroups(const GroupLengths& groups) {
  return {{"usual", groups.usual},  {"shortest", groups.shortest},       {"longest", groups.longest},
          {"count", groups.groups}, {"examinedSeconds", groups.seconds}, {"examinedAll", groups.wholeFile}};
}

Json describeBrands(const FileBrands& brands) {
  Json compatible = Json::array();
  for (const std::uint32_t brand : brands.compatible) compatible.push_back(fourCcText(brand));
  return {{"major", fourCcText(brands.major)},
          {"minorVersion", brands.minorVersion},
          {"compatible", std::move(compatible)}};
}

Json describeAc3(const Ac3Stream& stream) {
  return {{"mode", stream.mode},
          {"lfe", stream.lfe},
          {"service", stream.service},
          {"dialnorm", stream.dialnorm ? Json(*stream.dialnorm) : Json()}};
}

const char* growthText(Growth growth) {
  switch (growth) {
    case Growth::Growing:
      return "growing: yes, a program is writing the file\n";
    case Growth::Unknown:
      return "growing: not known; the playlist has no end, as while a recording goes on elsewhere, or after "
             "an "
             "interruption\n";
    case Growth::No:
      break;
  }
  return "";
}

}  // namespace

InfoFacts::InfoFacts(const OpenedFiles& files)
    : groups_(groupLengths(files.media)), file_(fileFacts(files)), ac3_(ac3Streams(files)) {}

void InfoFacts::addTo(Json& description) const {
  description["gop"] = groups_ ? describeGroups(*groups_) : Json();
  description["brands"] = file_.brands ? describeBrands(*file_.brands) : Json();
  if (!file_.creationTime.empty()) description["creationTime"] = file_.creationTime;
  description["growing"] = file_.growth == Growth::Unknown ? Json() : Json(file_.growth == Growth::Growing);
}

void InfoFacts::addToTracks(Json& tracks) const {
  for (std::size_t i = 0; i < std::min(tracks.size(), ac3_.size()); ++i)
    if (ac3_[i]) tracks[i]["ac3"] = describeAc3(*ac3_[i]);
}

std::string InfoFacts::text() const {
  std::string text;
  if (groups_) text += "GOP: " + groupLengthsText(*groups_) + '\n';
  if (file_.brands) text += "brands: " + brandsText(*file_.brands) + '\n';
  if (!file_.creationTime.empty()) text += "created: " + creationText(file_) + '\n';
  return text + growthText(file_.growth);
}

std::string InfoFacts::trackText(std::size_t track) const {
  return track < ac3_.size() && ac3_[track] ? "; " + ac3StreamText(*ac3_[track]) : std::string();
}

}  // namespace fmp4

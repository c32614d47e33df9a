#include "tool/viewer/frame_list.h"

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>

#include "tool/viewer/parameters.h"

namespace fmp4 {

std::string frameListJson(const FragmentTable& table, const DataRequest& request) {
  constexpr std::uint32_t kMostFrames = 1000;
  using Json = nlohmann::ordered_json;
  const auto at = secondsOf(request, "at");
  const auto from = wholeNumber(request, "from", std::numeric_limits<std::uint32_t>::max());
  if (at && from) throw BadRequest("'at' and 'from' exclude each other");
  const auto count = wholeNumber(request, "count", kMostFrames).value_or(kMostFrames);
  const std::uint64_t first = at ? table.sampleNear(*at) : from.value_or(0);
  Json json = {{"frames", table.samples()},      {"from", first},
               {"timescale", table.timescale()}, {"ticks", Json::array()},
               {"seconds", Json::array()},       {"delivered", Json::array()},
               {"keys", Json::array()}};
  for (const PresentedSample& sample : table.presented(first, static_cast<std::uint32_t>(count))) {
    json["ticks"].push_back(sample.compositionTicks);
    json["seconds"].push_back(sample.presentationSeconds);
    json["delivered"].push_back(sample.sample);
    json["keys"].push_back(sample.key ? 1 : 0);
  }
  return json.dump();
}

}  // namespace fmp4

// A kept overview with hostile content after a right checksum, and what a page asks of it: a line of
// parameters, then the content.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "base/crc32.h"
#include "tool/viewer/overview_file.h"
#include "tool/viewer/overview_json.h"
#include "tool/viewer/parameters.h"

namespace fmp4 {

namespace {

// "level=1&from=2", undecoded.
DataRequest requestOf(const std::string& line) {
  DataRequest request;
  for (std::size_t start = 0; start < line.size();) {
    const std::size_t end = std::min(line.find('&', start), line.size());
    const std::string parameter = line.substr(start, end - start);
    const std::size_t equals = std::min(parameter.find('='), parameter.size());
    request.parameters.emplace(parameter.substr(0, equals),
                               parameter.substr(std::min(equals + 1, parameter.size())));
    start = end + 1;
  }
  return request;
}

// The content with the mark and the checksum that a kept overview begins with.
std::vector<std::uint8_t> markedBytes(const std::string& content) {
  constexpr std::size_t kMarkBytes = 8;
  const std::string mark = overviewBytes({}, "").substr(0, kMarkBytes);
  std::vector<std::uint8_t> bytes(mark.begin(), mark.end());
  const std::uint32_t crc = crc32({reinterpret_cast<const std::uint8_t*>(content.data()), content.size()});
  for (unsigned shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<std::uint8_t>(crc >> shift));
  bytes.insert(bytes.end(), content.begin(), content.end());
  return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::size_t line = std::min(input.find('\n'), input.size());
  const std::vector<std::uint8_t> bytes = markedBytes(input.substr(std::min(line + 1, input.size())));
  auto finest = overviewOfBytes(bytes, "");
  Overview overview;
  if (finest) {
    const std::string again = overviewBytes(*finest, "");
    if (overviewOfBytes({reinterpret_cast<const std::uint8_t*>(again.data()), again.size()}, "") != finest)
      std::abort();
    overview.restore(std::move(*finest));
  }
  static_cast<void>(overviewJson(overview));
  const DataRequest request = requestOf(input.substr(0, line));
  for (const auto answer : {overviewFramesJson, overviewAudioJson, overviewCaptionsJson}) {
    try {
      static_cast<void>(answer(overview, request));
    } catch (const BadRequest&) {
      // What hostile parameters get.
    }
  }
  return 0;
}

}  // namespace fmp4

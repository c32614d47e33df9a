#include "tool/serve/served_addresses.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "streaming/lists/uri.h"

namespace fmp4 {

namespace {

constexpr std::size_t kMostListed = 10;  // recordings, beyond which a terminal shows little else

// The URL of a file of the folder, in ASCII: names may be of any bytes.
std::string fileAddress(int port, const std::string& file) {
  std::string address = pageAddress(port) + "media/";
  for (const char c : uriOfName(file)) {
    const auto byte = static_cast<unsigned char>(c);
    char encoded[4];
    std::snprintf(encoded, sizeof encoded, "%%%02X", unsigned{byte});
    address += byte < 0x80 ? std::string(1, c) : encoded;
  }
  return address;
}

}  // namespace

std::string pageAddress(int port) {
  return "http://127.0.0.1:" + std::to_string(port) + "/";
}

std::string servedText(const std::string& folder, int port, const std::vector<FolderRecording>& recordings) {
  std::string text = "serving '" + folder + "' at " + pageAddress(port) + " until interrupted\n";
  if (!recordings.empty()) text += "for players:\n";
  const std::size_t listed = std::min(recordings.size(), kMostListed);
  for (std::size_t i = 0; i < listed; ++i) {
    for (const std::string& file : {recordings[i].manifest, recordings[i].playlist})
      if (!file.empty()) text += "  " + fileAddress(port, file) + '\n';
  }
  if (listed < recordings.size())
    text += "  and those of " + std::to_string(recordings.size() - listed) +
            " more, which the page and --json give\n";
  return text;
}

std::string servedJson(const std::string& folder, int port, const std::vector<FolderRecording>& recordings) {
  using Json = nlohmann::ordered_json;
  const auto address = [port](const std::string& file) {
    return file.empty() ? Json() : Json(fileAddress(port, file));
  };
  Json list = Json::array();
  for (const FolderRecording& recording : recordings)
    list.push_back({{"name", recording.name},
                    {"manifest", address(recording.manifest)},
                    {"playlist", address(recording.playlist)}});
  const Json served = {
      {"folder", folder}, {"address", pageAddress(port)}, {"port", port}, {"recordings", list}};
  return served.dump(-1, ' ', true, Json::error_handler_t::replace) + '\n';
}

}  // namespace fmp4

// Any bytes as what the page asks of a media file. The first byte says how many of those after it are the
// parameters
// ("from=3&count=9"); the rest are the file. What is answered is JSON.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "base/user_error.h"
#include "tests/support/temp_folder.h"
#include "tool/viewer/box_tree.h"
#include "tool/viewer/frame_list.h"
#include "tool/viewer/parameters.h"
#include "vlhost.h"

namespace fmp4 {

namespace {

std::multimap<std::string, std::string> parametersOf(std::string_view text) {
  std::multimap<std::string, std::string> parameters;
  while (!text.empty()) {
    const std::string_view one = text.substr(0, text.find('&'));
    const std::size_t equals = std::min(one.find('='), one.size());
    parameters.emplace(one.substr(0, equals), one.substr(std::min(equals + 1, one.size())));
    text.remove_prefix(std::min(one.size() + 1, text.size()));
  }
  return parameters;
}

// Answers, unless the parameters or the file are refused.
template <class Answer>
void expectJson(Answer answer) {
  try {
    if (!nlohmann::json::accept(answer())) std::abort();
  } catch (const BadRequest&) {
  } catch (const UserError&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  vlSetLogSink([](void*, std::uint32_t, const char*) {}, nullptr);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const TempFolder folder;
  if (size < 1) return 0;
  const std::size_t length = std::min<std::size_t>(data[0], size - 1);
  const std::string_view text(reinterpret_cast<const char*>(data) + 1, length);
  const std::string file = folder.file("clip.mp4");
  writeFile(file, {data + 1 + length, data + size});
  const DataRequest request = {"", file, "clip.mp4", parametersOf(text), folder.path()};
  const auto table = [&file] { return std::make_shared<const FragmentTable>(file); };
  expectJson([&] { return boxTreeJson(file, request, table); });
  expectJson([&] { return frameListJson(*table(), request); });
  return 0;
}

}  // namespace fmp4

#include "tool/viewer/parameters.h"

#include <algorithm>
#include <charconv>

namespace fmp4 {

namespace {

std::optional<std::string> textOf(const DataRequest& request, const std::string& name) {
  const auto [begin, end] = request.parameters.equal_range(name);
  if (begin == end) return std::nullopt;
  if (std::next(begin) != end) throw BadRequest("'" + name + "' is given twice");
  return begin->second;
}

}  // namespace

std::optional<std::uint64_t> wholeNumber(const DataRequest& request, const std::string& name,
                                         std::uint64_t most) {
  const std::optional<std::string> text = textOf(request, name);
  if (!text) return std::nullopt;
  std::uint64_t value = 0;
  const char* const end = text->data() + text->size();
  const auto [stop, error] = std::from_chars(text->data(), end, value);
  if (error != std::errc() || stop != end || value > most)
    throw BadRequest("'" + name + "' is not a whole number from 0 to " + std::to_string(most));
  return value;
}

std::optional<std::vector<std::uint32_t>> wholeNumbers(const DataRequest& request, const std::string& name,
                                                       std::size_t most) {
  const std::optional<std::string> text = textOf(request, name);
  if (!text) return std::nullopt;
  std::vector<std::uint32_t> numbers;
  const char* const end = text->data() + text->size();
  for (const char* at = text->data();; ++at) {
    std::uint32_t value = 0;
    const auto [stop, error] = std::from_chars(at, end, value);
    if (error != std::errc() || numbers.size() >= most || (stop != end && *stop != '.'))
      throw BadRequest("'" + name + "' is not at most " + std::to_string(most) +
                       " whole numbers with dots between them, such as 0.2.1");
    numbers.push_back(value);
    if (stop == end) return numbers;
    at = stop;
  }
}

std::optional<double> secondsOf(const DataRequest& request, const std::string& name) {
  constexpr double kMost = 1e9;  // thirty years
  const std::optional<std::string> text = textOf(request, name);
  if (!text) return std::nullopt;
  double value = -1;
  const char* const end = text->data() + text->size();
  const auto [stop, error] = std::from_chars(text->data(), end, value, std::chars_format::fixed);
  if (error != std::errc() || stop != end || !(value >= 0 && value <= kMost))
    throw BadRequest("'" + name + "' is not a number of seconds, such as 12.5");
  return value;
}

}  // namespace fmp4

// The parameters of what the page asks.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tool/serve/media_data.h"

namespace fmp4 {

// A request that makes no sense; answered with status 400 and the text.
class BadRequest : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The value of a parameter; none when it is missing. Throw BadRequest when it comes twice or is no whole
// number up to `most`, or no number of seconds from 0 on.
std::optional<std::uint64_t> wholeNumber(const DataRequest& request, const std::string& name,
                                         std::uint64_t most);
// At most `most` whole numbers of 32 bits with dots between them ("0.2.1").
std::optional<std::vector<std::uint32_t>> wholeNumbers(const DataRequest& request, const std::string& name,
                                                       std::size_t most);
std::optional<double> secondsOf(const DataRequest& request, const std::string& name);

}  // namespace fmp4

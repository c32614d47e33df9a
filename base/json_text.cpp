#include "base/json_text.h"

#include <nlohmann/json.hpp>

namespace fmp4 {

std::string jsonText(std::string_view text) {
  return nlohmann::json(text).dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
}

std::string jsonNumber(double value) {
  return nlohmann::json(value).dump();
}

}  // namespace fmp4

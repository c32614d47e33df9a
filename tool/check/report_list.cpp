#include "tool/check/report_list.h"

#include <iostream>
#include <utility>

namespace fmp4 {

using Json = nlohmann::ordered_json;

void ReportList::add(Json report) {
  list_.push_back(std::move(report));
}

void ReportList::addError(const std::string& name, const std::string& error) {
  list_.push_back({{"recording", name}, {"error", error}});
}

void ReportList::print(bool several) const {
  std::cout << (several ? list_ : list_.front()).dump(2, ' ', true, Json::error_handler_t::replace) << '\n';
}

}  // namespace fmp4

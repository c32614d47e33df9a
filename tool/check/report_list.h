// The JSON reports of commands that take several recordings.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace fmp4 {

// Keeps one object a recording until all are printed.
class ReportList {
 public:
  void add(nlohmann::ordered_json report);
  // A recording of which there is nothing to report but why.
  void addError(const std::string& name, const std::string& error);

  // To standard output: the only object, or with `several` a list, however long it is.
  void print(bool several) const;

 private:
  nlohmann::ordered_json list_ = nlohmann::ordered_json::array();
};

}  // namespace fmp4

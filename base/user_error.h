// Errors reported to the user.
#pragma once

#include <stdexcept>

namespace fmp4 {

// Why an operation failed, in words for the user; ends with what to do next.
class UserError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace fmp4

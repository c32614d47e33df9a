#include "os/run_program.h"

#include "os/posix/child_program.h"

namespace fmp4::os {

std::optional<int> runProgram(const std::string& program, const std::vector<std::string>& arguments) {
  return runChild(program, arguments, ChildStreams::Inherited);
}

}  // namespace fmp4::os

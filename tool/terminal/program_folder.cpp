#include "tool/terminal/program_folder.h"

#include <system_error>

#include "base/user_error.h"

#ifdef _WIN32
#include <windows.h>

#include <array>
#endif

namespace fmp4 {

#ifdef _WIN32
std::filesystem::path programFolder() {
  std::array<wchar_t, 32768> name{};
  const DWORD length = GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size()));
  if (length == 0 || length == name.size()) throw UserError("the program's own folder cannot be found");
  return std::filesystem::path(name.data(), name.data() + length).parent_path();
}
#else
std::filesystem::path programFolder() {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) throw UserError("the program's own folder cannot be found (" + error.message() + ")");
  return program.parent_path();
}
#endif

}  // namespace fmp4

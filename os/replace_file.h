// Replacing a file in one step.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <system_error>

namespace os {

// What the disk holds if the power fails right after a replacement.
enum class Durability {
  EitherContent,  // the former content or the new, each complete
  NewContent,     // the new; costs a wait more
};

// Makes the file `path` (UTF-8) hold the `parts` one after another and nothing else, whether it was there or
// not. Readers find the former content or the new, and never a part of one. What was a link stays one; on
// POSIX systems the permissions stay too. On Windows a reader that holds the file is waited for, up to two
// seconds. A process that ends in the midst of it leaves a file beside `path`, whose name starts with that
// one's. Returns the system's error, none on success. After one the former content is still
// there, unless it is the wait for the new name that failed.
[[nodiscard]] std::error_code replaceFile(const std::string& path, std::span<const std::string_view> parts,
                                          Durability durability) noexcept;

// The same with one part, which lasts once this returns.
[[nodiscard]] inline std::error_code replaceFile(const std::string& path, std::string_view content) noexcept {
  return replaceFile(path, std::span(&content, 1), Durability::NewContent);
}

}  // namespace os

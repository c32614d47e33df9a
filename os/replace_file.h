// Atomic replacement of a file.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <system_error>

namespace fmp4::os {

// The state on disk if the power fails right after a replacement.
enum class Durability {
  EitherContent,  // the previous content or the new one, each complete
  NewContent,     // the new content; costs an additional flush
};

// Makes the file `path` (UTF-8) contain exactly the concatenated `parts`, whether or not it existed. Readers
// see either the previous content or the new one, never a mixture. A symbolic link stays a link; on POSIX
// systems the permissions are kept too. On Windows, waits up to two seconds for a reader that holds the file.
// A process that terminates meanwhile leaves a file next to `path` (unfinished_replacements.h).
// Returns the system error, none on success. After an error the previous content is still there, unless only
// the wait for the new name failed.
[[nodiscard]] std::error_code replaceFile(const std::string& path, std::span<const std::string_view> parts,
                                          Durability durability) noexcept;

// As above with one part; the new content is durable once this returns.
[[nodiscard]] inline std::error_code replaceFile(const std::string& path, std::string_view content) noexcept {
  return replaceFile(path, std::span(&content, 1), Durability::NewContent);
}

}  // namespace fmp4::os

// Which of the libraries built for the tests the host has loaded.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "vlutil.h"

namespace fmp4 {

// The number that a library reports: -1 when it is not loaded, 0 when it is not one of this test's.
inline int numberOf(const std::string& path) {
  void* library = vlOSLoadLibrary(path.c_str(), 2);
  if (library == nullptr) return -1;
  const auto number = reinterpret_cast<int (*)()>(vlOSGetProcAddress(library, "loadedLibraryNumber"));
  const int answer = number == nullptr ? 0 : number();
  EXPECT_EQ(vlOSFreeLibrary(library), 1);
  return answer;
}

class WorkingFolder {
 public:
  explicit WorkingFolder(const std::filesystem::path& folder) : m_old(std::filesystem::current_path()) {
    std::filesystem::current_path(folder);
  }
  ~WorkingFolder() { std::filesystem::current_path(m_old); }
  WorkingFolder(const WorkingFolder&) = delete;
  WorkingFolder& operator=(const WorkingFolder&) = delete;

 private:
  std::filesystem::path m_old;
};

}  // namespace fmp4

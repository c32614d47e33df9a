// A folder of the test's own, and complete files in it.
#pragma once

#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace fmp4 {

// An empty folder in the system's place for temporary files, removed with its content at the end of the test.
// Its name is neutral: file kinds are recognised by texts anywhere in a path.
class TempFolder {
 public:
  TempFolder() {
    const std::string start = "vl" + std::to_string(getpid()) + "-";
    for (int i = 0; !std::filesystem::create_directory(path_ = base() / (start + std::to_string(i))); ++i) {
    }
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  // The path of a file in the folder.
  std::string file(const std::string& name) const { return (path_ / name).string(); }

 private:
  static std::filesystem::path base() { return std::filesystem::temp_directory_path(); }

  std::filesystem::path path_;
};

// Throws std::runtime_error when the file cannot be written.
inline void writeFile(const std::filesystem::path& path, const std::vector<std::uint8_t>& bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

// Throws std::runtime_error when the file cannot be read.
inline std::vector<std::uint8_t> readFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path.string());
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace fmp4

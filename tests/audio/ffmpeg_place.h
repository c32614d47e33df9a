// A place where the loader finds libraries and its setting, and processes in which to load them.
#pragma once

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

#include "places.h"
#include "support/environment.h"
#include "support/own_process.h"
#include "support/temp_folder.h"

// File names of the libraries.
#if defined(_WIN32)
inline constexpr char kAvcodecFile[] = "avcodec-57.dll";
inline constexpr char kAvutilFile[] = "avutil-55.dll";
#else
inline constexpr char kAvcodecFile[] = "libavcodec.so.57";
inline constexpr char kAvutilFile[] = "libavutil.so.55";
#endif

// A working folder of its own with an empty store and no libraries. For processes of their own.
class FFmpegPlace {
 public:
  FFmpegPlace() {
    std::filesystem::create_directory(folder_.path() / "Extended_formats");
    std::filesystem::current_path(folder_.path());
    setEnvironment("VLHOST_CONFIG", store().c_str());
  }

  // Puts a library of the folder `from` of the build here, without the entry point `missing` if it is named:
  // it then bears another name.
  void put(const std::string& library, const std::string& from = "ffmpeg_stand_in",
           const std::string& missing = "") const {
    std::vector<std::uint8_t> bytes = readFile(VL_BIN_DIR "/" + from + "/" + library);
    if (!missing.empty()) rename(bytes, missing);
    writeFile(folder_.path() / "Extended_formats" / library, bytes);
  }
  void putBoth(const std::string& from = "ffmpeg_stand_in") const {
    put(kAvcodecFile, from);
    put(kAvutilFile, from);
  }

  void allow(bool allowed) const { setStore(std::string(kEntry) + (allowed ? "1\n" : "0\n")); }
  void setStore(const std::string& text) const { writeFile(store(), {text.begin(), text.end()}); }
  // The store's text, empty when there is none.
  std::string storeText() const {
    if (!std::filesystem::exists(store())) return {};
    const std::vector<std::uint8_t> bytes = readFile(store());
    return {bytes.begin(), bytes.end()};
  }

  static constexpr char kEntry[] = "Framewright\\Codecs\\FFMPEG\\AllowFFMPEG=";

 private:
  std::string store() const { return folder_.file("vlhost.conf"); }

  // The dynamic linker looks for a name's hash, then compares the name itself.
  static void rename(std::vector<std::uint8_t>& bytes, const std::string& name) {
    const std::string entry = '\0' + name + '\0';
    std::size_t count = 0;
    for (auto at = bytes.begin();; ++at, ++count) {
      at = std::search(at, bytes.end(), entry.begin(), entry.end());
      if (at == bytes.end()) break;
      at[1] = 'X';
    }
    if (count == 0) throw std::runtime_error("no entry point " + name);
  }

  TempFolder folder_;
};

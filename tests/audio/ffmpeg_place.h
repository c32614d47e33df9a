// A place where the loader finds libraries and its setting, and processes in which to load them.
#pragma once

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

#include "os/path_name.h"
#include "tests/support/environment.h"
#include "tests/support/own_process.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

// File names of the libraries.
#if defined(_WIN32)
inline constexpr char kHostFile[] = "vlhost.dll";
inline constexpr char kAvcodecFile[] = "avcodec-57.dll";
inline constexpr char kAvutilFile[] = "avutil-55.dll";
#else
inline constexpr char kHostFile[] = "libvlhost.so";
inline constexpr char kAvcodecFile[] = "libavcodec.so.57";
inline constexpr char kAvutilFile[] = "libavutil.so.55";
#endif

// Folders of a place, relative to the host library's.
inline constexpr char kBesideHost[] = ".";
inline constexpr char kFormats[] = "Extended_formats";
inline constexpr char kSearchPath[] = "search_path";  // of the dynamic loader, on Linux

// One of the stand-ins for FFmpeg's libraries.
struct StandIn {
  std::string from = "ffmpeg_stand_in";  // folder of the build
  std::string missing = "";              // an entry point to omit: it is given another name
};

// The folder of the host library in a process that inFFmpegPlace started: no FFmpeg libraries yet, and its
// own, empty store.
class FFmpegPlace {
 public:
  static constexpr char kVariable[] = "VL_FFMPEG_PLACE";

  FFmpegPlace() { setEnvironment("VLHOST_CONFIG", vlName(store()).c_str()); }

  void put(const std::string& library, const char* folder = kFormats, const StandIn& standIn = {}) const {
    std::vector<std::uint8_t> bytes = readFile(vlPath(VL_BIN_DIR "/" + standIn.from + "/" + library));
    if (!standIn.missing.empty()) rename(bytes, standIn.missing);
    writeFile(folder_ / folder / library, bytes);
  }
  void putBoth(const char* folder = kFormats, const StandIn& standIn = {}) const {
    put(kAvcodecFile, folder, standIn);
    put(kAvutilFile, folder, standIn);
  }

  void allow(bool allowed) const { setStore(std::string(kEntry) + (allowed ? "1\n" : "0\n")); }
  void setStore(const std::string& text) const { writeFile(store(), {text.begin(), text.end()}); }
  // The store's text, empty if there is none.
  std::string storeText() const {
    if (!std::filesystem::exists(store())) return {};
    const std::vector<std::uint8_t> bytes = readFile(store());
    return {bytes.begin(), bytes.end()};
  }

  static constexpr char kEntry[] = "Framewright\\Codecs\\FFMPEG\\AllowFFMPEG=";

 private:
  std::filesystem::path store() const { return folder_ / "vlhost.conf"; }

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

  std::filesystem::path folder_ = vlPath(std::getenv(kVariable));
};

// Runs a part of a test in a process whose program and host library are in a folder of their own: `body`
// turns it into an FFmpegPlace. Its failures are the test's. Returns its standard error.
template <class Body>
std::string inFFmpegPlace(Body body) {
  const std::filesystem::path program = thisProgram();
  if (std::getenv(FFmpegPlace::kVariable)) return inProcessOf(program, body);  // this is that process
  const TempFolder folder;
  for (const char* name : {kFormats, kSearchPath}) std::filesystem::create_directory(folder.path() / name);
  for (const std::filesystem::path& file : {program, program.parent_path() / kHostFile}) {
    std::error_code otherDisk;
    std::filesystem::create_hard_link(file, folder.path() / file.filename(), otherDisk);
    if (otherDisk) std::filesystem::copy_file(file, folder.path() / file.filename());
  }
  const char* const others = std::getenv("LD_LIBRARY_PATH");
  const std::string path = folder.file(kSearchPath) + (others == nullptr ? "" : ":" + std::string(others));
  const Environment searchPath("LD_LIBRARY_PATH", path.c_str());
  const Environment place(FFmpegPlace::kVariable, vlName(folder.path()).c_str());
  return inProcessOf(folder.path() / program.filename(), body);
}

}  // namespace fmp4

// A place where the loader finds libraries and its setting, and processes in which to load them.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

#include "support/temp_folder.h"

// Runs a part of a test in a process of its own, with whose end what it loaded is gone. Its failures are the
// test's.
template <class Body>
void inOwnProcess(Body body) {
  std::fflush(nullptr);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    body();
    std::exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0) << "in the process of its own";
}

// A working folder of its own with an empty store and no libraries. For processes of their own.
class FFmpegPlace {
 public:
  FFmpegPlace() {
    std::filesystem::create_directory(folder_.path() / "Extended_formats");
    std::filesystem::current_path(folder_.path());
    setenv("VLHOST_CONFIG", store().c_str(), 1);
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
    put("libavcodec.so.57", from);
    put("libavutil.so.55", from);
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

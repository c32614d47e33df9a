#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "tests/plugin/documented_host.h"
#include "tests/support/places.h"
#include "tests/support/run.h"
#include "tests/support/temp_folder.h"

namespace fmp4 {

namespace {

// The dynamic symbols of a library that nm lists with this option.
std::vector<std::string> symbolsOf(const std::string& library, const std::string& which) {
  const RunResult nm =
      runOrThrow({"nm", "-D", which, "--format=posix", std::string(VL_BIN_DIR "/") + library});
  std::vector<std::string> names;
  std::istringstream lines(nm.out);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string name, kind;
    words >> name >> kind;
    name = name.substr(0, name.find('@'));
    // The linker's section symbols and sanitizer tables are not part of the interface.
    if (kind == "A" || name.starts_with("__start_") || name.starts_with("__stop_")) continue;
    names.push_back(name);
  }
  return names;
}

TEST(Exports, AreExactlyWhatTheHostLooksFor) {
  const std::vector<std::string> names = symbolsOf("vlx_fmp4.so", "--defined-only");
  // Of CCacheBuffer: copy constructor (the base object's, since the class is abstract), assignment, virtual
  // table, m_incCBuf.
  EXPECT_THAT(names, testing::UnorderedElementsAre("DllMain", "xCheckVersionAndFile", "xMediaFile",
                                                   "_ZN12CCacheBufferC2ERKS_", "_ZN12CCacheBufferaSERKS_",
                                                   "_ZTV12CCacheBuffer", "_ZN12CCacheBuffer9m_incCBufEmj"));
}

TEST(Imports, OfTheHostAreInTheDocumentedHost) {
  const std::vector<std::string> ofHost = symbolsOf("libvlhost.so", "--defined-only");
  unsigned imported = 0;
  for (const std::string& name : symbolsOf("vlx_fmp4.so", "--undefined-only")) {
    if (std::find(ofHost.begin(), ofHost.end(), name) == ofHost.end()) continue;
    ++imported;
    EXPECT_TRUE(isOfTheDocumentedHost(name)) << name;
  }
  EXPECT_GT(imported, 50u);
}

// The libraries that one is linked to, without their versions.
std::vector<std::string> neededBy(const std::string& file) {
  const std::string dynamic = runOrThrow({"readelf", "-d", VL_BIN_DIR "/" + file}).out;
  std::vector<std::string> needed;
  for (std::size_t at = 0; (at = dynamic.find("Shared library: [", at)) != dynamic.npos;) {
    at += std::strlen("Shared library: [");
    needed.push_back(dynamic.substr(at, dynamic.find('.', at) - at));
  }
  return needed;
}

// No symbol that the host's library lacks is mistaken for one of the system's. Every further library would
// cost time to load, in each host and each command.
TEST(Imports, ComeFromTheHostAndSystemLibraries) {
  for (const char* file : {"vlx_fmp4.so", "fmp4"}) {
    const std::vector<std::string> needed = neededBy(file);
    EXPECT_THAT(needed, testing::Contains("libvlhost"));
    for (const std::string& library : needed) {
      EXPECT_THAT(library, testing::AnyOf("libvlhost", "libtinyxml2", "libstdc++", "libm", "libgcc_s", "libc",
                                          "ld-linux-x86-64", "libasan", "libubsan"))
          << file;
    }
  }
}

TEST(Headers, OfTheHostDeclareTheDocumentedHost) {
  const std::regex function("\nVLHOST_API\\s+[^;{(]*?(\\w+)\\(");
  unsigned declared = 0;
  for (const auto& header : std::filesystem::directory_iterator(VL_CORRUPT_FILES "/../../host/include")) {
    const auto bytes = readFile(header.path());
    const std::string text(bytes.begin(), bytes.end());
    for (std::sregex_iterator match(text.begin(), text.end(), function), end; match != end; ++match) {
      ++declared;
      EXPECT_TRUE(isOfTheDocumentedHost((*match)[1])) << (*match)[1] << " in " << header.path();
    }
  }
  EXPECT_EQ(declared, std::size(kHostFunctions));
}

}  // namespace

}  // namespace fmp4

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "tests/plugin/documented_host.h"
#include "tests/support/places.h"
#include "tests/support/run.h"

namespace fmp4 {

namespace {

// What objdump prints of a library's tables.
std::string tablesOf(const std::string& library) {
  return runOrThrow({"x86_64-w64-mingw32-objdump", "-p", std::string(VL_BIN_DIR "/") + library}).out;
}

TEST(Exports, AreExactlyWhatTheHostLooksFor) {
  const std::string tables = tablesOf("vlx_fmp4.dll");
  std::istringstream lines(tables.substr(tables.find("[Ordinal/Name Pointer] Table")));
  std::vector<std::string> names;
  std::string line;
  std::getline(lines, line);
  while (std::getline(lines, line) && !line.empty()) names.push_back(line.substr(line.rfind(' ') + 1));
  // Of CCacheBuffer: copy constructor (the base object's, since the class is abstract), assignment, virtual
  // table, m_incCBuf.
  EXPECT_THAT(names, testing::UnorderedElementsAre("DllMain", "xCheckVersionAndFile", "xMediaFile",
                                                   "_ZN12CCacheBufferC2ERKS_", "_ZN12CCacheBufferaSERKS_",
                                                   "_ZTV12CCacheBuffer", "_ZN12CCacheBuffer9m_incCBufEyj"));
}

std::vector<std::string> importsOf(const std::string& library) {
  std::vector<std::string> names;
  std::istringstream lines(tablesOf(library));
  const std::string kMark = "DLL Name: ";
  for (std::string line; std::getline(lines, line);)
    if (const std::size_t mark = line.find(kMark); mark != line.npos)
      names.push_back(line.substr(mark + kMark.size()));
  return names;
}

TEST(Imports, AreTheHostAndWindowsOnly) {
  EXPECT_THAT(importsOf("vlx_fmp4.dll"),
              testing::UnorderedElementsAre("KERNEL32.dll", "msvcrt.dll", "vlhost.dll"));
  EXPECT_THAT(importsOf("vlhost.dll"), testing::UnorderedElementsAre("KERNEL32.dll", "msvcrt.dll"));
}

// The names that a library imports from another, as the table lists them.
std::vector<std::string> importedFrom(const std::string& library, const std::string& from) {
  const std::string tables = tablesOf(library);
  std::istringstream lines(tables.substr(tables.find("DLL Name: " + from)));
  std::vector<std::string> names;
  std::string line;
  std::getline(lines, line);
  while (std::getline(lines, line) && !line.empty())
    names.push_back(line.substr(line.find_last_of(" \t") + 1));
  return names;
}

TEST(Imports, OfTheHostAreInTheDocumentedHost) {
  std::vector<std::string> names = importedFrom("vlx_fmp4.dll", "vlhost.dll");
  ASSERT_GT(names.size(), 50u);
  names.erase(names.begin());  // the heading of the columns
  for (const std::string& name : names) EXPECT_TRUE(isOfTheDocumentedHost(name)) << name;
}

}  // namespace

}  // namespace fmp4

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "places.h"
#include "support/run.h"

TEST(Exports, AreExactlyWhatTheHostLooksFor) {
  const RunResult nm =
      runOrThrow({"nm", "-D", "--defined-only", "--format=posix", VL_BIN_DIR "/vlx_fmp4.so"});
  std::vector<std::string> names;
  std::istringstream lines(nm.out);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string name, kind;
    words >> name >> kind;
    // The names of the linker's own section marks and of sanitizer tables are nobody's code.
    if (kind == "A" || name.starts_with("__start_") || name.starts_with("__stop_")) continue;
    names.push_back(name);
  }
  // Of CCacheBuffer: copy constructor (of a base, for the class is abstract), assignment, virtual table,
  // m_incCBuf.
  EXPECT_THAT(names, testing::UnorderedElementsAre("DllMain", "xCheckVersionAndFile", "xMediaFile",
                                                   "_ZN12CCacheBufferC2ERKS_", "_ZN12CCacheBufferaSERKS_",
                                                   "_ZTV12CCacheBuffer", "_ZN12CCacheBuffer9m_incCBufEmj"));
}

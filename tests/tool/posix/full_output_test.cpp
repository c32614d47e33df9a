#include <gtest/gtest.h>

#include "tool/fmp4.h"

TEST(Usage, FullStandardOutputIsAFailure) {
  const RunResult result = run({"sh", "-c", VL_BIN_DIR "/fmp4 version >/dev/full"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.err, "fmp4: standard output could not be written; is its disk full?\n");
}

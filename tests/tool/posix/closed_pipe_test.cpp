// Output that is not read to its end.
#include <gtest/gtest.h>

#include "tests/support/ffmpeg.h"
#include "tests/support/places.h"
#include "tests/support/temp_folder.h"
#include "tests/tool/fmp4.h"

namespace fmp4 {

namespace {

// Also under a parent that ignores the signal, as many do. The listing is longer than a pipe holds.
TEST(ClosedPipe, EndsQuietly) {
  const TempFolder folder;
  makeMedia(folder.file("clip.mp4"), videoInput(40, "50", "32x32") + h264Codec(50) + fragmented());
  for (const char* first : {"", "trap '' PIPE; "}) {
    const RunResult result = run({"bash", "-c",
                                  std::string(first) + "'" VL_BIN_DIR "/fmp4' -q frames '" +
                                      folder.file("clip.mp4") + "' | head -n 1; echo ${PIPESTATUS[0]}"});
    EXPECT_EQ(result.out,
              "frame,size,key,compositionOffset,crc32,cc608,cc708,decodeTime,presentationTime\n141\n");
    EXPECT_EQ(result.err, "");
  }
}

}  // namespace

}  // namespace fmp4

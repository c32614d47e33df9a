#include "tests/host/config_store.h"

namespace fmp4 {

namespace {

using namespace config_test;

TEST_F(Config, StoreIsInTheUsersApplicationData) {
  const Environment none("VLHOST_CONFIG", nullptr);
  const Environment data("APPDATA", m_folder.file("settings").c_str());
  EXPECT_EQ(set(kKey, kName, 1), VL_OK);
  EXPECT_EQ(save(), VL_OK);
  EXPECT_EQ(textOf(m_folder.file("settings/vlhost/vlhost.conf")),
            "Framewright\\Codecs\\FFMPEG\\AllowFFMPEG=1\n");
  const Environment nowhere("APPDATA", nullptr);
  EXPECT_EQ(set("K", "A", 3), VL_FAILED);
  EXPECT_EQ(save(), VL_FAILED);
}

}  // namespace

}  // namespace fmp4

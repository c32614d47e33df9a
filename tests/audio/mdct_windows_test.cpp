#include "audio/umc/mdct_windows.h"

#include <gtest/gtest.h>

#include <vector>

namespace fmp4 {

namespace {

using UMC::MakeKaiserBesselWindow, UMC::MakeSineWindow;

TEST(Windows, HaveTheStandardsValues) {
  const auto kbd = [](int half, double alpha) {
    std::vector<float> window(static_cast<std::size_t>(half));
    MakeKaiserBesselWindow(half, alpha, window.data());
    return window;
  };
  const auto longWindow = kbd(1024, 4), shortWindow = kbd(128, 6), long960 = kbd(960, 4),
             short120 = kbd(120, 6);
  EXPECT_NEAR(0.000292561535, longWindow[0], 1e-10);
  EXPECT_NEAR(0.17882238443, longWindow[256], 1e-7);
  EXPECT_NEAR(0.706119339106, longWindow[511], 1e-7);
  EXPECT_NEAR(4.3795704e-05, shortWindow[0], 1e-11);
  EXPECT_NEAR(0.697406466302, shortWindow[63], 1e-7);
  EXPECT_NEAR(0.000302156253, long960[0], 1e-10);
  EXPECT_NEAR(0.706053460538, long960[479], 1e-7);
  EXPECT_NEAR(4.5232009e-05, short120[0], 1e-11);
  EXPECT_NEAR(0.696754976916, short120[59], 1e-7);
  std::vector<float> sine(1024);
  MakeSineWindow(1024, sine.data());
  EXPECT_NEAR(0.000766990319, sine[0], 1e-10);
  EXPECT_NEAR(0.706564229145, sine[511], 1e-7);
}

}  // namespace

}  // namespace fmp4

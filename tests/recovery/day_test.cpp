// A day of recording.
#include <sys/resource.h>

#include "recovery.h"

namespace {

// 29.97 frames a second with sound at 48 kHz, in segments of ten seconds.
constexpr std::uint32_t kDayFrames = 24 * 3600 * 30000ull / 1001;
constexpr std::uint32_t kDayInterval = 30;

TEST(Day, StaysInStepAndWholeAndOpens) {}

}  // namespace

#include <bit>
#include <limits>
#include <map>
#include <mutex>
#include <new>
#include <numeric>
#include <utility>

#include "qvrutil.h"
#include "vlhost.h"

namespace {

struct InfoRecords {
  std::mutex mutex;
  std::map<const void*, QVRINFO> byOwner;
};

InfoRecords& infoRecords() {
  static InfoRecords& records = *new InfoRecords;
  return records;
}

// Returns n if rate / scale is the NTSC form of n frames per second, n * 1000 / 1001; otherwise 0. Common
// video rates are also recognised in decimal form (29.97, 23.98), within a quarter of the 1/1000 by which the
// NTSC rate differs from n.
std::uint64_t ntscNominal(std::uint64_t rate, std::uint64_t scale) {
  const std::uint64_t n = (rate + scale / 2) / scale;
  const std::uint64_t is = rate * 1001;
  const std::uint64_t should = n * 1000 * scale;
  const std::uint64_t deviation = is > should ? is - should : should - is;
  if (deviation == 0) return n;
  const bool isCommon = n % 24 == 0 || n % 30 == 0;
  return isCommon && deviation * 4 <= n * scale ? n : 0;
}

}  // namespace

std::uint32_t qvrInfoSet(const void* owner, const QVRINFO* info) {
  if (owner == nullptr || info == nullptr) return VL_FAILED;
  InfoRecords& records = infoRecords();
  const std::lock_guard<std::mutex> lock(records.mutex);
  try {
    records.byOwner.insert_or_assign(owner, *info);
  } catch (const std::bad_alloc&) {
    return VL_FAILED;
  }
  return VL_OK;
}

std::uint32_t qvrInfoGet(const void* owner, QVRINFO* info) {
  if (info == nullptr) return VL_FAILED;
  InfoRecords& records = infoRecords();
  const std::lock_guard<std::mutex> lock(records.mutex);
  const auto found = records.byOwner.find(owner);
  if (found == records.byOwner.end()) return VL_FAILED;
  *info = found->second;
  return VL_OK;
}

std::uint32_t qvrInfoDelete(const void* owner) {
  InfoRecords& records = infoRecords();
  const std::lock_guard<std::mutex> lock(records.mutex);
  records.byOwner.erase(owner);
  return VL_OK;
}

void vidGetAspectRatio(const QVRVIDEO* video, std::uint32_t* aspectX, std::uint32_t* aspectY) {
  std::int64_t width = 0;
  std::int64_t height = 0;
  if (video != nullptr && video->bitmap.width > 0 && video->bitmap.height != 0) {
    width = video->bitmap.width;
    height = video->bitmap.height < 0 ? -std::int64_t{video->bitmap.height} : video->bitmap.height;
    const std::int64_t divisor = std::gcd(width, height);
    width /= divisor;
    height /= divisor;
  }
  if (aspectX != nullptr) *aspectX = static_cast<std::uint32_t>(width);
  if (aspectY != nullptr) *aspectY = static_cast<std::uint32_t>(height);
}

void vidNormalizeRateScale(std::uint32_t* rate, std::uint32_t* scale) {
  if (rate == nullptr || scale == nullptr || *rate == 0 || *scale == 0) return;
  const std::uint64_t nominal = ntscNominal(*rate, *scale);
  const std::uint64_t newRate =
      nominal != 0 ? nominal * 1000 : (std::uint64_t{*rate} * 1000 + *scale / 2) / *scale;
  if (newRate == 0 || newRate > std::numeric_limits<std::uint32_t>::max()) return;
  *rate = static_cast<std::uint32_t>(newRate);
  *scale = nominal != 0 ? 1001 : 1000;
}

std::uint32_t totalChannels(std::uint32_t mask) {
  return static_cast<std::uint32_t>(std::popcount(mask));
}

std::uint32_t findChannel(std::uint32_t mask) {
  return mask == 0 ? QVR_NO_CHANNEL : static_cast<std::uint32_t>(std::countr_zero(mask));
}

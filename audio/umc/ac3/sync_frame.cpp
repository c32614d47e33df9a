#include "audio/umc/ac3/sync_frame.h"

namespace UMC::ac3 {

namespace {

constexpr std::uint8_t kSyncWord[2] = {0x0B, 0x77};
constexpr std::size_t kSyncWordBytes = sizeof kSyncWord;
constexpr unsigned kFrequencyCodes = 3;
constexpr unsigned kSizeCodes = 38;
constexpr unsigned kHighestVersion = 10;
constexpr unsigned kHighestFullRateVersion = 8;

constexpr std::uint32_t kFrequencies[kFrequencyCodes] = {48000, 44100, 32000};
// By frmsizecod / 2, in kilobits per second (table 5.18).
constexpr std::uint32_t kBitRates[kSizeCodes / 2] = {32,  40,  48,  56,  64,  80,  96,  112, 128, 160,
                                                     192, 224, 256, 320, 384, 448, 512, 576, 640};

// Frame size in 16-bit words: 1536 samples at the bit rate. At 44.1 kHz it is not an integer, and odd codes
// mean one more word.
std::size_t FrameWords(unsigned frequencyCode, unsigned sizeCode) {
  const std::size_t rate = kBitRates[sizeCode / 2];
  switch (frequencyCode) {
    case 0:
      return rate * 2;
    case 1:
      return rate * 320 / 147 + sizeCode % 2;
    default:
      return rate * 3;
  }
}

// The bytes protected by crc1, including the sync word: five eighths of the frame.
std::size_t FirstPart(const SyncInfo& info) {
  const std::size_t words = info.bytes / 2;
  return 2 * (words / 2 + words / 8);
}

}  // namespace

bool IsSyncWord(const std::uint8_t* data) {
  return data[0] == kSyncWord[0] && data[1] == kSyncWord[1];
}

SyncStatus ParseSyncInfo(const std::uint8_t* data, SyncInfo& info) {
  if (!IsSyncWord(data)) return SyncStatus::kInvalid;
  const unsigned frequencyCode = data[4] >> 6;
  const unsigned sizeCode = data[4] & 0x3F;
  const unsigned version = data[5] >> 3;
  if (version > kHighestVersion) return SyncStatus::kOtherVersion;
  if (frequencyCode >= kFrequencyCodes || sizeCode >= kSizeCodes) return SyncStatus::kInvalid;
  const unsigned shift = version > kHighestFullRateVersion ? version - kHighestFullRateVersion : 0;
  info.frequencyCode = static_cast<std::uint8_t>(frequencyCode);
  info.version = static_cast<std::uint8_t>(version);
  info.rateShift = static_cast<std::uint8_t>(shift);
  info.frequency = kFrequencies[frequencyCode] >> shift;
  info.bitRate = kBitRates[sizeCode / 2] * 1000 >> shift;
  info.bytes = 2 * FrameWords(frequencyCode, sizeCode);
  return SyncStatus::kOk;
}

std::size_t FindFrame(const std::uint8_t* data, std::size_t from, std::size_t size) {
  SyncInfo info;
  for (std::size_t at = from; at < size; ++at) {
    if (data[at] != kSyncWord[0]) continue;
    if (size - at >= kSyncInfoBytes) {
      if (ParseSyncInfo(data + at, info) == SyncStatus::kOk) return at;
    } else if (size - at == 1 || data[at + 1] == kSyncWord[1]) {
      return at;
    }
  }
  return size;
}

bool ChecksumsHold(const std::uint8_t* data, const SyncInfo& info) {
  const std::size_t firstPart = FirstPart(info);
  return CrcRemainder(data + kSyncWordBytes, firstPart - kSyncWordBytes) == 0 &&
         CrcRemainder(data + firstPart, info.bytes - firstPart) == 0;
}

bool ChecksumsHold(PassingCrc& crc, std::size_t start, const SyncInfo& info) {
  const std::size_t second = start + FirstPart(info);
  return crc.Remainder(start + kSyncWordBytes, second) == 0 && crc.Remainder(second, start + info.bytes) == 0;
}

}  // namespace UMC::ac3

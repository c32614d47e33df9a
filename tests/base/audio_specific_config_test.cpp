// What AudioSpecificConfig() says of SBR and parametric stereo (ISO/IEC 14496-3, 1.6.2.1, 1.6.5).
#include "base/aac/audio_specific_config.h"

#include <gtest/gtest.h>

#include "tests/audio/bit_writer.h"

namespace fmp4 {

namespace {

using UMC::aac::AudioSpecificConfig;

constexpr std::uint64_t kIndex24000 = 6, kIndex48000 = 3, kIndex44100 = 4, kExplicitFrequency = 15;

// Stereo at 24 kHz, whose object type says that an extension follows; the extension's frequency is next.
BitWriter explicitExtension(int objectType) {
  BitWriter bits;
  bits.Write(static_cast<std::uint64_t>(objectType), 5);
  bits.Write(kIndex24000, 4);
  bits.Write(2, 4);
  return bits;
}

void writeLowComplexity(BitWriter& bits) {
  bits.Write(UMC::aac::kObjectLc, 5);
  bits.Write(0, 3);  // 1024 samples, no dependence, no extension
}

bool parse(const BitWriter& bits, AudioSpecificConfig& config) {
  return ParseAudioSpecificConfig(bits.Bytes().data(), bits.Bytes().size(), config);
}

TEST(AudioSpecificConfig, SbrAloneSignalsNoParametricStereo) {
  for (const int objectType : {UMC::aac::kObjectSbr, UMC::aac::kObjectPs}) {
    BitWriter bits = explicitExtension(objectType);
    bits.Write(kIndex48000, 4);
    writeLowComplexity(bits);
    AudioSpecificConfig config;
    ASSERT_TRUE(parse(bits, config));
    EXPECT_TRUE(config.sbrSignalled);
    EXPECT_EQ(config.psSignalled, objectType == UMC::aac::kObjectPs);
    EXPECT_EQ(config.objectType, UMC::aac::kObjectLc);
    EXPECT_EQ(config.frequency, 24000u);
    EXPECT_EQ(config.extensionFrequency, 48000u);
  }
}

TEST(AudioSpecificConfig, ExtensionWithoutAFrequencyIsRefused) {
  BitWriter bits = explicitExtension(UMC::aac::kObjectSbr);
  bits.Write(kExplicitFrequency, 4);
  bits.Write(0, 24);
  writeLowComplexity(bits);
  AudioSpecificConfig config;
  EXPECT_FALSE(parse(bits, config));
}

TEST(AudioSpecificConfig, ExplicitSignallingGoesBeforeWhatFollows) {
  BitWriter bits = explicitExtension(UMC::aac::kObjectSbr);
  bits.Write(kIndex48000, 4);
  writeLowComplexity(bits);
  bits.Write(0x2B7, 11);  // an extension, backward compatible
  bits.Write(UMC::aac::kObjectSbr, 5);
  bits.Write(1, 1);
  bits.Write(kIndex44100, 4);
  AudioSpecificConfig config;
  ASSERT_TRUE(parse(bits, config));
  EXPECT_EQ(config.extensionFrequency, 48000u);
}

}  // namespace

}  // namespace fmp4

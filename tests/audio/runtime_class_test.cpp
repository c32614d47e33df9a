#include "audio/umc/runtime_class.h"

#include <gtest/gtest.h>

#include "audio/umc/aac/aac_decoder.h"
#include "audio/umc/audio_data.h"
#include "audio/umc/codec_params.h"
#include "audio/umc/default_memory_allocator.h"

namespace fmp4 {

namespace {

using namespace UMC;

TEST(RuntimeClass, NamesEveryClass) {
  EXPECT_STREQ("MediaData", MediaData::ClassName());
  EXPECT_STREQ("AudioData", AudioData::ClassName());
  EXPECT_STREQ("BaseCodec", BaseCodec::ClassName());
  EXPECT_STREQ("AudioCodec", AudioCodec::ClassName());
  EXPECT_STREQ("MemoryAllocator", MemoryAllocator::ClassName());
  EXPECT_STREQ("DefaultMemoryAllocator", DefaultMemoryAllocator::ClassName());
  EXPECT_STREQ("BaseCodecParams", BaseCodecParams::ClassName());
  EXPECT_STREQ("AudioCodecParams", AudioCodecParams::ClassName());
  EXPECT_STREQ("AACDecoderParams", AACDecoderParams::ClassName());
  EXPECT_STREQ("AC3DecoderParams", AC3DecoderParams::ClassName());
  EXPECT_STREQ("AACDecoder", AACDecoder::ClassName());
}

TEST(RuntimeClass, KnowsItselfAndItsBasesByFunctionAndByName) {
  const AACDecoderParams params;
  EXPECT_TRUE(params.IsClass(&AACDecoderParams::ClassName));
  EXPECT_TRUE(params.IsClass(&AudioCodecParams::ClassName));
  EXPECT_TRUE(params.IsClass(&BaseCodecParams::ClassName));
  EXPECT_FALSE(params.IsClass(&AC3DecoderParams::ClassName));
  EXPECT_TRUE(params.IsClassNamed("AACDecoderParams"));
  EXPECT_TRUE(params.IsClassNamed("AudioCodecParams"));
  EXPECT_TRUE(params.IsClassNamed("BaseCodecParams"));
  EXPECT_FALSE(params.IsClassNamed("AC3DecoderParams"));
  EXPECT_FALSE(params.IsClassNamed(""));
}

// Like another module's copy of a class: the same name, another function.
class Elsewhere : public RuntimeClass<Elsewhere> {
 public:
  static const char* ClassName() { return "MediaData"; }
};

TEST(RuntimeClass, KnowsAnotherModulesCopyByName) {
  const MediaData data;
  EXPECT_FALSE(data.IsClass(&Elsewhere::ClassName));
  EXPECT_TRUE(data.IsClassNamed(Elsewhere::ClassName()));
}

TEST(RuntimeClass, CastsDownOnlyToItsOwnClasses) {
  AACDecoderParams aac;
  BaseCodecParams* base = &aac;
  EXPECT_EQ(&aac, DynamicCast<AACDecoderParams>(base));
  EXPECT_EQ(&aac, DynamicCast<AudioCodecParams>(base));
  EXPECT_EQ(nullptr, DynamicCast<AC3DecoderParams>(base));
  BaseCodecParams plain;
  base = &plain;
  EXPECT_EQ(nullptr, DynamicCast<AudioCodecParams>(base));
  base = nullptr;
  EXPECT_EQ(nullptr, DynamicCast<AudioCodecParams>(base));
}

TEST(CodecParams, HaveTheirDefaults) {
  const AACDecoderParams aac;
  EXPECT_EQ(nullptr, aac.m_configuration);
  EXPECT_EQ(nullptr, aac.m_allocator);
  for (const auto word : aac.m_reserved) EXPECT_EQ(0u, word);
  EXPECT_EQ(0u, aac.m_input.channels);
  EXPECT_EQ(0.0, aac.m_output.duration);
  EXPECT_EQ(0u, aac.m_frameCount);
  EXPECT_EQ(18, aac.m_sbrMode);
  EXPECT_EQ(1, aac.m_sbrDownSampled);
  EXPECT_EQ(777, aac.m_sbrLevel);
  EXPECT_EQ(0, aac.m_stereoExtensionLevel);
  EXPECT_EQ(-1, aac.m_layer);

  const AC3DecoderParams ac3;
  EXPECT_EQ(0, ac3.m_option1);
  EXPECT_EQ(0, ac3.m_outputMode);
  EXPECT_EQ(0, ac3.m_outputLfe);
  EXPECT_EQ(0, ac3.m_option4);
  EXPECT_EQ(3, ac3.m_option5);
  EXPECT_EQ(0, ac3.m_option6);
  EXPECT_EQ(1.0f, ac3.m_scale1);
  EXPECT_EQ(1.0f, ac3.m_scale2);
  EXPECT_EQ(1.0f, ac3.m_gain);
}

}  // namespace

}  // namespace fmp4

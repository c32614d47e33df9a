// How much memory a decoder takes for each kind of stream.
#include <gtest/gtest.h>

#include "audio/umc/aac/decoder_state.h"
#include "audio/umc/aac/sbr/sbr_decoder.h"
#include "tests/audio/aac_generator.h"
#include "tests/audio/aac_streams.h"
#include "tests/audio/test_allocators.h"

namespace fmp4 {

namespace {

using namespace UMC::aac;
using E = GeneratedElement;

// Reports how much was taken.
class CountingAllocator : public UMC::DefaultMemoryAllocator {
 public:
  UMC::Status Alloc(UMC::MemoryId* id, std::size_t size, std::uint32_t flags,
                    std::uint32_t alignment) override {
    bytes += size;
    return DefaultMemoryAllocator::Alloc(id, size, flags, alignment);
  }
  std::size_t bytes = 0;
};

Bytes Stream(int objectType, bool sbr) {
  GeneratorOptions options;
  options.objectType = objectType;
  options.elements = {{E::kCpe, 0}};
  if (sbr) options.sbr.emplace();
  AacGenerator generator(41, options);
  Bytes stream;
  for (int i = 0; i < 10; ++i)
    stream = stream + WrapAdts({generator.NextBlock()}, {.profile = objectType - 1});
  return stream;
}

// Decodes ten frames; returns the nonzero statuses, at most one.
UMC::Status DecodeWith(UMC::MemoryAllocator& allocator, Bytes stream) {
  UMC::AACDecoder decoder;
  UMC::AACDecoderParams params;
  params.m_allocator = &allocator;
  EXPECT_EQ(0, decoder.Init(&params));
  UMC::MediaData input, output(10 * 8192);
  input.SetBufferPointer(stream.data(), stream.size());
  input.SetDataSize(stream.size());
  UMC::Status status = 0;
  for (int i = 0; i < 10 && status == 0; ++i) status = decoder.GetFrame(&input, &output);
  EXPECT_EQ(0, decoder.Reset());
  return status;
}

std::size_t BytesFor(int objectType, bool sbr) {
  CountingAllocator allocator;
  EXPECT_EQ(0, DecodeWith(allocator, Stream(objectType, sbr)));
  return allocator.bytes;
}

TEST(AacMemory, OfAnLcStreamStaysBelow400Kilobytes) {
  EXPECT_EQ(sizeof(DecoderState) + sizeof(WorkArea), BytesFor(kObjectLc, false));
  EXPECT_LT(BytesFor(kObjectLc, false), 400u * 1000);
}

TEST(AacMemory, GrowsWithTheToolsOfTheStream) {
  const std::size_t lc = BytesFor(kObjectLc, false);
  EXPECT_EQ(lc, BytesFor(kObjectSsr, false));
  EXPECT_EQ(lc + sizeof(SbrArea), BytesFor(kObjectLc, true));
  EXPECT_EQ(lc + sizeof(PredictionArea), BytesFor(kObjectMain, false));
  EXPECT_EQ(lc + sizeof(PredictionArea), BytesFor(kObjectLtp, false));
}

TEST(AacMemory, ReportsMissingMemoryForAStream) {
  for (const auto& [objectType, sbr] : {std::pair{int{kObjectLc}, true}, {int{kObjectMain}, false}}) {
    ScarceAllocator two(2), three(3);
    EXPECT_EQ(-883, DecodeWith(two, Stream(objectType, sbr)));
    EXPECT_EQ(0, DecodeWith(three, Stream(objectType, sbr)));
  }
}

TEST(AacMemory, MayMoveForEveryKindOfStream) {
  for (const auto& [objectType, sbr] :
       {std::pair{int{kObjectLc}, true}, {int{kObjectMain}, true}, {int{kObjectLtp}, false}}) {
    MovingAllocator allocator;
    EXPECT_EQ(0, DecodeWith(allocator, Stream(objectType, sbr)));
    EXPECT_EQ(0, allocator.Locks());
  }
}

}  // namespace

}  // namespace fmp4

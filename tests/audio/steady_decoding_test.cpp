// Decoders and memory: steady decoding allocates nothing, and a temporary shortage disables nothing. A
// separate program: it counts every allocation, and makes some fail.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "audio/umc/ac3/ac3_decoder.h"
#include "audio/umc/default_memory_allocator.h"
#include "tests/audio/aac_generator.h"
#include "tests/audio/aac_streams.h"
#include "tests/audio/ac3_generator.h"
#include "tests/support/own_process.h"

namespace fmp4 {

namespace {
std::atomic<int> allocations{0};
// While it is set, only aligned allocations succeed.
std::atomic<bool> onlyAligned{false};

void* allocate(std::size_t size) {
  ++allocations;
  return onlyAligned ? nullptr : std::malloc(size);
}

// Fresh memory is filled with ones, so that words read before they are written do not look like zeros.
void* fill(void* memory, std::size_t size) {
  if (memory != nullptr) std::fill_n(static_cast<std::uint32_t*>(memory), size / sizeof(std::uint32_t), 1u);
  return memory;
}

void* allocateAligned(std::size_t size, std::align_val_t alignment) {
  const auto step = static_cast<std::size_t>(alignment);
#if defined(_WIN32)
  return fill(_aligned_malloc(size, step), size);
#else
  return fill(std::aligned_alloc(step, (size + step - 1) / step * step), size);
#endif
}

void freeAligned(void* memory) {
#if defined(_WIN32)
  _aligned_free(memory);
#else
  std::free(memory);
#endif
}
}  // namespace

}  // namespace fmp4

using namespace fmp4;

void* operator new(std::size_t size) {
  if (void* memory = allocate(size)) return memory;
  throw std::bad_alloc();
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  ++allocations;
  if (void* memory = allocateAligned(size, alignment)) return memory;
  throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size);
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  ++allocations;
  return allocateAligned(size, alignment);
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
  freeAligned(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
  freeAligned(memory);
}

namespace fmp4 {

namespace {

// Before all tests that decode: the first decoder creates what decoders share.
TEST(ScarceMemory, DisablesNoDecoderPermanently) {
  inOwnProcess([] {
    UMC::DefaultMemoryAllocator allocator;
    UMC::AACDecoderParams params;
    params.m_allocator = &allocator;
    UMC::AC3DecoderParams ac3Params;
    ac3Params.m_allocator = &allocator;
    UMC::AACDecoder decoder;
    UMC::AC3Decoder ac3Decoder;
    onlyAligned = true;
    const UMC::Status withoutTables = decoder.Init(&params);
    const UMC::Status ac3 = ac3Decoder.Init(&ac3Params);
    onlyAligned = false;
    EXPECT_EQ(-883, withoutTables);
    EXPECT_EQ(0, ac3) << "needs only its own block";
    EXPECT_EQ(0, decoder.Init(&params));
  });
}

TEST(DefaultMemoryAllocator, NumbersItsBlocksWhateverFreshMemoryHolds) {
  UMC::DefaultMemoryAllocator allocator;
  for (UMC::MemoryId expected = 1; expected <= 20; ++expected) {
    UMC::MemoryId id = 0;
    ASSERT_EQ(0, allocator.Alloc(&id, 16, 0, 16));
    EXPECT_EQ(expected, id);
  }
}

// Decodes all frames of a stream; nothing is allocated after the first.
template <class Decoder, class Params>
void ExpectNoAllocation(Bytes& stream, int frames, Params& params) {
  Decoder decoder;
  ASSERT_EQ(0, decoder.Init(&params));
  UMC::MediaData input, output;
  input.SetBufferPointer(stream.data(), stream.size());
  input.SetDataSize(stream.size());
  Bytes space(2 * 8192);
  int before = 0;
  for (int i = 0; i < frames; ++i) {
    output.SetBufferPointer(space.data(), space.size());
    ASSERT_EQ(0, decoder.GetFrame(&input, &output));
    if (i == 0) before = allocations;
  }
  EXPECT_EQ(before, allocations);
  EXPECT_GT(before, 0);
}

void ExpectNoAllocationOfAac(int objectType, bool sbr) {
  GeneratorOptions options;
  options.objectType = objectType;
  if (sbr) options.sbr.emplace();
  options.elements = {{GeneratedElement::kCpe, 0}};
  options.noise = options.intensity = options.midSide = options.pulse = options.tns = true;
  AacGenerator generator(1, options);
  Bytes stream;
  for (int i = 0; i < 50; ++i)
    stream = stream + WrapAdts({generator.NextBlock()}, {.profile = objectType - 1});
  UMC::AACDecoderParams params;
  params.m_sbrDownSampled = 0;
  ExpectNoAllocation<UMC::AACDecoder>(stream, 50, params);
}

TEST(SteadyDecoding, OfAacAllocatesNothingForAnyObjectType) {
  for (int objectType = UMC::aac::kObjectMain; objectType <= UMC::aac::kObjectLtp; ++objectType) {
    SCOPED_TRACE(objectType);
    ExpectNoAllocationOfAac(objectType, false);
  }
}

TEST(SteadyDecoding, OfAacWithSpectralBandReplicationAllocatesNothing) {
  ExpectNoAllocationOfAac(UMC::aac::kObjectLc, true);
}

TEST(SteadyDecoding, OfAc3AllocatesNothing) {
  Ac3GeneratorOptions options;
  options.dither = true;
  Ac3Generator generator(1, options);
  Bytes stream;
  for (int i = 0; i < 50; ++i) stream = stream + generator.NextFrame();
  UMC::AC3DecoderParams params;
  ExpectNoAllocation<UMC::AC3Decoder>(stream, 50, params);
}

}  // namespace

}  // namespace fmp4

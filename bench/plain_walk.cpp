// The least that opening a fragmented file can cost: reads each "moof" once and walks its runs.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace fmp4 {

namespace {

std::uint32_t load(const std::uint8_t* p) {
  return static_cast<std::uint32_t>(p[0]) << 24 | static_cast<std::uint32_t>(p[1]) << 16 |
         static_cast<std::uint32_t>(p[2]) << 8 | p[3];
}

constexpr std::uint32_t kMoof = 0x6D6F6F66, kTraf = 0x74726166, kTrun = 0x7472756E;
constexpr std::uint32_t kHeader = 8;

std::uint64_t samples = 0;
std::uint64_t sampleBytes = 0;

void walkRun(const std::uint8_t* run) {
  const std::uint32_t flags = load(run + 8) & 0xFFFFFF, count = load(run + 12);
  const std::uint8_t* at = run + 16 + (flags & 1 ? 4 : 0) + (flags & 4 ? 4 : 0);
  samples += count;
  if (!(flags & 0x200)) return;
  unsigned stride = 0;
  for (const std::uint32_t flag : {0x100u, 0x200u, 0x400u, 0x800u}) stride += flags & flag ? 4 : 0;
  if (flags & 0x100) at += 4;
  for (std::uint32_t i = 0; i < count; ++i) sampleBytes += load(at + std::size_t{i} * stride);
}

void walkFragment(const std::uint8_t* moof, std::uint32_t size) {
  for (std::uint32_t at = kHeader; at < size; at += load(moof + at)) {
    if (load(moof + at + 4) != kTraf) continue;
    const std::uint32_t end = at + load(moof + at);
    for (std::uint32_t inner = at + kHeader; inner < end; inner += load(moof + inner)) {
      if (load(moof + inner + 4) == kTrun) walkRun(moof + inner);
    }
  }
}

}  // namespace

}  // namespace fmp4

using namespace fmp4;

int main(int count, char** arguments) {
  const int file = count == 2 ? open(arguments[1], O_RDONLY) : -1;
  if (file < 0) return EXIT_FAILURE;
  std::vector<std::uint8_t> window(4096);
  std::size_t ahead = 32;  // a box header, or a fragment like the one before with the header after it
  std::uint64_t at = 0;
  for (;;) {
    ssize_t held = pread(file, window.data(), ahead, static_cast<off_t>(at));
    if (held < kHeader) break;
    const std::uint32_t size = load(window.data());
    if (size < kHeader) return EXIT_FAILURE;
    at += size;
    if (load(window.data() + 4) != kMoof) continue;
    if (static_cast<std::size_t>(held) < size + kHeader) {
      window.resize(std::max<std::size_t>(window.size(), size + kHeader));
      held += pread(file, window.data() + held, size + kHeader - static_cast<std::size_t>(held),
                    static_cast<off_t>(at - size) + held);
    }
    walkFragment(window.data(), size);
    ahead = std::size_t{size} + kHeader;
    if (static_cast<std::size_t>(held) >= ahead) at += load(window.data() + size);
  }
  std::printf("%llu samples, %llu bytes\n", static_cast<unsigned long long>(samples),
              static_cast<unsigned long long>(sampleBytes));
  close(file);
  return EXIT_SUCCESS;
}

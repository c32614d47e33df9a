// Decodes a file of frames to raw 16-bit PCM, as a complete process that is timed from outside.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

#include "audio/umc/base_codec.h"

namespace fmp4 {

// The main function of a program that takes IN [OUT.pcm]; without OUT.pcm, the PCM is discarded.
inline int DecodeFile(UMC::AudioCodec& decoder, UMC::BaseCodecParams& params, int count, char** arguments) {
  struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  using File = std::unique_ptr<std::FILE, CloseFile>;
  if (count < 2 || count > 3) {
    std::fprintf(stderr, "usage: %s IN [OUT.pcm]\n", arguments[0]);
    return 2;
  }
  const File input(std::fopen(arguments[1], "rb"));
  const File output(count == 3 ? std::fopen(arguments[2], "wb") : nullptr);
  if (input == nullptr || (count == 3 && output == nullptr)) {
    std::fprintf(stderr, "cannot open the files\n");
    return 1;
  }

  if (decoder.Init(&params) != UMC::UMC_OK) return 1;
  std::vector<std::uint8_t> bytes(1 << 16), samples(1 << 18);
  UMC::MediaData in, out;
  std::size_t held = 0;
  unsigned long long frames = 0;
  for (;;) {
    const std::size_t read = std::fread(bytes.data() + held, 1, bytes.size() - held, input.get());
    in.SetBufferPointer(bytes.data(), bytes.size());
    in.SetDataSize(held + read);
    for (;;) {
      out.SetBufferPointer(samples.data(), samples.size());
      if (decoder.GetFrame(&in, &out) < UMC::UMC_OK) break;
      ++frames;
      if (output != nullptr) std::fwrite(samples.data(), 1, out.GetDataSize(), output.get());
    }
    held = static_cast<std::size_t>(in.GetDataSize());
    std::copy_n(static_cast<const std::uint8_t*>(in.GetDataPointer()), held, bytes.data());
    if (read == 0) break;
  }
  std::fprintf(stderr, "%llu frames\n", frames);
  return 0;
}

}  // namespace fmp4

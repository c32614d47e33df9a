// Decoding complete streams in tests, with any decoder of the codec framework.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>

#include "audio/umc/base_codec.h"
#include "audio/umc/media_data.h"
#include "tests/audio/streams.h"

namespace fmp4 {

// A decoder with its descriptors, opened by derived classes. The input is a block of exactly its size, so
// that a sanitizer detects any read beyond.
template <class Codec>
class StreamDecoder {
 public:
  void SetInput(const Bytes& bytes) {
    m_bytes.assign(bytes.begin(), bytes.end());
    m_bytes.shrink_to_fit();
    m_input.SetBufferPointer(m_bytes.data(), m_bytes.size());
    m_input.SetDataSize(m_bytes.size());
    m_input.SetTime(-1, -1);
  }
  // One frame; `Last` holds its samples.
  UMC::Status Decode() {
    m_output.SetBufferPointer(reinterpret_cast<std::uint8_t*>(m_space.data()), m_space.size() * 2);
    const UMC::Status status = m_decoder.GetFrame(&m_input, &m_output);
    const auto count = static_cast<std::ptrdiff_t>(m_output.GetDataSize() / 2);
    m_last.assign(m_space.begin(), m_space.begin() + count);
    return status;
  }
  UMC::Status Decode(const Bytes& bytes) {
    SetInput(bytes);
    return Decode();
  }
  // All frames of a stream, damaged ones as the samples output for them.
  Samples DecodeAll(const Bytes& stream) {
    SetInput(stream);
    Samples all;
    while (Decode() >= 0) all.insert(all.end(), m_last.begin(), m_last.end());
    return all;
  }
  // The same for a stream that arrives byte by byte: the decoder waits for a frame.
  Samples DecodeByteByByte(const Bytes& stream) {
    Samples all;
    Bytes held;
    for (const std::uint8_t byte : stream) {
      held.push_back(byte);
      const UMC::Status status = Decode(held);
      held.erase(held.begin(), held.end() - static_cast<std::ptrdiff_t>(Left()));
      if (status == UMC::UMC_OK) {
        all.insert(all.end(), m_last.begin(), m_last.end());
      } else {
        EXPECT_EQ(UMC::UMC_ERR_NOT_ENOUGH_DATA, status);
      }
    }
    return all;
  }
  const Samples& Last() const { return m_last; }
  std::size_t Left() const { return m_input.GetDataSize(); }
  Codec& Decoder() { return m_decoder; }
  UMC::MediaData& Input() { return m_input; }
  UMC::MediaData& Output() { return m_output; }

 protected:
  // `space`: samples of the largest frame.
  explicit StreamDecoder(std::size_t space) : m_space(space) {}

 private:
  Codec m_decoder;
  Bytes m_bytes;
  UMC::MediaData m_input, m_output;
  Samples m_space;
  Samples m_last;
};

}  // namespace fmp4

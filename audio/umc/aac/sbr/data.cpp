#include "audio/umc/aac/sbr/data.h"

#include <algorithm>

#include "dsp/ipps_crc.h"

namespace UMC::aac {

namespace {

constexpr unsigned kCrcBits = 10;
// bs_extension_id of parametric stereo.
constexpr std::uint32_t kPsExtension = 2;
// x^10 + x^9 + x^5 + x^4 + x + 1, left-aligned.
constexpr Ipp32u kCrcPolynomial = 0x233u << (32 - kCrcBits);

class DataParser {
 public:
  DataParser(fmp4::BitWindow& stream, std::size_t end, const SbrHeader& header,
             const SbrFrequencyTables& tables, int slots, SbrData& data)
      : m_stream(stream),
        m_end(end),
        m_header(header),
        m_tables(tables),
        m_slots(slots),
        m_codebooks(*SharedSbrCodebooks()),
        m_data(data) {}

  bool Parse(int channels) {
    const bool extra = m_stream.ReadFlag();
    if (extra) m_stream.Read(channels == 2 ? 8 : 4);  // bs_reserved
    m_data.coupled = channels == 2 && m_stream.ReadFlag();
    SbrChannelData* begin = m_data.channels;
    SbrChannelData* end = begin + channels;
    if (m_data.coupled) {
      if (!ParseGrid(begin[0])) return false;
      begin[1].grid = begin[0].grid;
      begin[1].envelope.ampRes = begin[0].envelope.ampRes;
      for (auto* channel = begin; channel != end; ++channel) ParseDirections(*channel);
      ParseInverseFiltering(begin[0]);
      std::copy_n(begin[0].inverseFiltering, kMaxSbrNoiseBands, begin[1].inverseFiltering);
      for (int i = 0; i < 2; ++i) {
        ParseEnvelopes(begin[i], i == 1);
        ParseNoise(begin[i], i == 1);
      }
    } else {
      for (auto* channel = begin; channel != end; ++channel) {
        if (!ParseGrid(*channel)) return false;
      }
      for (auto* channel = begin; channel != end; ++channel) ParseDirections(*channel);
      for (auto* channel = begin; channel != end; ++channel) ParseInverseFiltering(*channel);
      for (auto* channel = begin; channel != end; ++channel) ParseEnvelopes(*channel, false);
      for (auto* channel = begin; channel != end; ++channel) ParseNoise(*channel, false);
    }
    for (auto* channel = begin; channel != end; ++channel) ParseSinusoids(*channel);
    ParseExtensions();
    return m_stream.Position() <= m_end;
  }

 private:
  bool ParseGrid(SbrChannelData& channel) {
    const bool parsed = ParseSbrGrid(m_stream, m_slots, channel.grid);
    const bool single = channel.grid.frameClass == SbrFrameClass::kFixFix && channel.grid.envelopes == 1;
    channel.envelope.ampRes = m_header.ampRes != 0 && !single;
    return parsed;
  }

  // sbr_dtdf()
  void ParseDirections(SbrChannelData& channel) {
    for (int i = 0; i < channel.grid.envelopes; ++i)
      channel.envelope.envelopeOverTime[i] = m_stream.ReadFlag();
    for (int i = 0; i < channel.grid.noiseFloors; ++i)
      channel.envelope.noiseOverTime[i] = m_stream.ReadFlag();
  }

  // sbr_invf()
  void ParseInverseFiltering(SbrChannelData& channel) {
    for (int i = 0; i < m_tables.noise.count; ++i) {
      channel.inverseFiltering[i] = static_cast<std::uint8_t>(m_stream.Read(2));
    }
  }

  void ParseEnvelopes(SbrChannelData& channel, bool balance) {
    ParseSbrEnvelopes(m_stream, m_codebooks, m_tables, channel.grid, balance, channel.envelope);
  }

  void ParseNoise(SbrChannelData& channel, bool balance) {
    ParseSbrNoise(m_stream, m_codebooks, m_tables, channel.grid, balance, channel.envelope);
  }

  // sbr_sinusoidal_coding()
  void ParseSinusoids(SbrChannelData& channel) {
    const bool any = m_stream.ReadFlag();
    for (int i = 0; i < m_tables.bands[1].count; ++i) channel.sinusoids[i] = any && m_stream.ReadFlag();
  }

  // Finds parametric stereo, which must come first: extensions have no length field of their own.
  void ParseExtensions() {
    m_data.psBits = 0;
    if (!m_stream.ReadFlag()) return;
    std::size_t bytes = m_stream.Read(4);
    if (bytes == 15) bytes += m_stream.Read(8);
    const std::size_t end = m_stream.Position() + 8 * bytes;
    if (bytes > 0 && m_stream.Read(2) == kPsExtension) {
      m_data.psPosition = m_stream.Position();
      m_data.psBits = end - m_data.psPosition;
    }
    m_stream.Seek(end);
  }

  fmp4::BitWindow& m_stream;
  std::size_t m_end;
  const SbrHeader& m_header;
  const SbrFrequencyTables& m_tables;
  int m_slots;
  const SbrCodebooks& m_codebooks;
  SbrData& m_data;
};

}  // namespace

bool CheckSbrCrc(fmp4::BitWindow& stream, const SbrPayload& payload) {
  stream.Seek(payload.position);
  if (!payload.hasCrc) return true;
  if (payload.bits < kCrcBits) return false;
  const auto sent = stream.Read(kCrcBits);
  Ipp32u crc = 0;
  ippsCRC32_8u(stream.Data(), payload.position + kCrcBits, payload.bits - kCrcBits, kCrcPolynomial, &crc);
  return crc >> (32 - kCrcBits) == sent;
}

bool ParseSbrData(fmp4::BitWindow& stream, std::size_t end, const SbrHeader& header,
                  const SbrFrequencyTables& tables, int slots, int channels, SbrData& data) {
  return DataParser(stream, end, header, tables, slots, data).Parse(channels);
}

}  // namespace UMC::aac

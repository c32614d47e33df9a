#include "audio/umc/aac/ps/data.h"

#include <algorithm>

#include "audio/umc/aac/ps/codebooks.h"
#include "dsp/vlc_lookup.h"

namespace UMC::aac {

namespace {

constexpr int kPhases = 8;
constexpr std::uint32_t kPhaseExtension = 0;  // ps_extension_id

class PsParser {
 public:
  // `data` is a copy of `before`.
  PsParser(fmp4::BitWindow& stream, int slots, const PsCodebooks& codebooks, const PsData& before,
           PsData& data)
      : m_stream(stream), m_slots(slots), m_codebooks(codebooks), m_before(before), m_data(data) {}

  bool Parse() {
    if (m_stream.ReadFlag() && !ParseHeader()) return false;
    if (!m_data.headerSeen || !ParseBorders()) return false;
    RecallLast();
    const IppsVLCDecodeSpec_32s* iidCodes = m_data.FineIid() ? m_codebooks.iidFine : m_codebooks.iidDefault;
    const int largestIid = kMaxIid[m_data.FineIid() ? 1 : 0];
    const bool parsed = ParseIndices(m_data.iidEnabled, m_data.iidMode, iidCodes, {-largestIid, largestIid},
                                     &PsEnvelope::iid, m_data.iidKnown) &&
                        ParseIndices(m_data.iccEnabled, m_data.iccMode, m_codebooks.icc, {0, kMaxIcc},
                                     &PsEnvelope::icc, m_data.iccKnown) &&
                        ParseExtensions();
    if (!parsed) return false;
    ReachEnd();
    if (!m_data.phasesEnabled) ClearPhases();
    ++m_data.payloads;
    return true;
  }

 private:
  struct Range {
    int lowest, highest;
  };

  bool ParseHeader() {
    m_data.headerSeen = true;
    m_data.iidEnabled = m_stream.ReadFlag();
    if (m_data.iidEnabled) m_data.iidMode = static_cast<std::uint8_t>(m_stream.Read(3));
    m_data.iccEnabled = m_stream.ReadFlag();
    if (m_data.iccEnabled) m_data.iccMode = static_cast<std::uint8_t>(m_stream.Read(3));
    m_data.extensionEnabled = m_stream.ReadFlag();
    return m_data.iidMode < kPsModes && m_data.iccMode < kPsModes;
  }

  bool ParseBorders() {
    constexpr int kCounts[2][4] = {{0, 1, 2, 4}, {1, 2, 3, 4}};  // by frame_class and num_env_idx
    const bool variable = m_stream.ReadFlag();
    const int sent = kCounts[variable ? 1 : 0][m_stream.Read(2)];
    int before = -1;
    for (int i = 0; i < sent; ++i) {
      const int border = variable ? static_cast<int>(m_stream.Read(5)) : m_slots * (i + 1) / sent - 1;
      if (border <= before || border >= m_slots) return false;
      m_data.envelopes[i].border = before = border;
    }
    m_data.envelopeCount = sent;
    return true;
  }

  // Sets m_last to the previous payload's last envelope, in this payload's resolution.
  void RecallLast() {
    if (m_before.envelopeCount == 0) return;
    const PsEnvelope& last = m_before.envelopes[m_before.envelopeCount - 1];
    const PsResolution iid = PsResolutionOf(m_data.iidMode), iidBefore = PsResolutionOf(m_before.iidMode);
    const PsResolution icc = PsResolutionOf(m_data.iccMode), iccBefore = PsResolutionOf(m_before.iccMode);
    MapPsIndices(last.iid, iidBefore.bands, iid.bands, m_last.iid);
    MapPsIndices(last.icc, iccBefore.bands, icc.bands, m_last.icc);
    MapPsPhases(last.ipd, iidBefore.phaseBands, iid.phaseBands, m_last.ipd);
    MapPsPhases(last.opd, iidBefore.phaseBands, iid.phaseBands, m_last.opd);
  }

  // The reference of time differences in envelope i.
  const PsEnvelope& Earlier(int i) const { return i == 0 ? m_last : m_data.envelopes[i - 1]; }

  // Reads the next difference, whose symbols start at 0, and adds it to its reference: the index of the same
  // band in `earlier` or, if that is null, of the previous band.
  int ReadSum(const IppsVLCDecodeSpec_32s& code, const std::int8_t* earlier, int band, int lower) {
    return TakeVlc(m_stream, code) + (earlier != nullptr ? earlier[band] : lower);
  }

  bool ParseIndices(bool enabled, int mode, const IppsVLCDecodeSpec_32s* codes, const Range& range,
                    std::int8_t (PsEnvelope::*indices)[kMaxPsBands], bool& known) {
    if (!enabled) {
      known = true;
      std::fill_n(m_last.*indices, kMaxPsBands, std::int8_t{0});
      for (PsEnvelope& envelope : m_data.envelopes)
        std::fill_n(envelope.*indices, kMaxPsBands, std::int8_t{0});
      return true;
    }
    const int bands = PsResolutionOf(mode).bands;
    const int smallestDifference = range.lowest - range.highest;
    for (int i = 0; i < m_data.envelopeCount; ++i) {
      const bool inTime = m_stream.ReadFlag();
      if (i == 0 && !inTime) known = true;
      const std::int8_t* earlier = inTime ? Earlier(i).*indices : nullptr;
      int index = 0;
      for (int band = 0; band < bands; ++band) {
        index = ReadSum(codes[inTime ? 1 : 0], earlier, band, index) + smallestDifference;
        if (index < range.lowest || index > range.highest) return false;
        (m_data.envelopes[i].*indices)[band] = static_cast<std::int8_t>(index);
      }
    }
    return true;
  }

  bool ParseExtensions() {
    m_data.phasesEnabled = false;
    if (!m_data.extensionEnabled) return true;
    std::size_t bytes = m_stream.Read(4);
    if (bytes == 15) bytes += m_stream.Read(8);
    const std::size_t end = m_stream.Position() + 8 * bytes;
    // Extensions of other kinds have no length field of their own.
    while (m_stream.Position() + 7 < end && m_stream.Read(2) == kPhaseExtension) ParsePhaseExtension();
    if (m_stream.Position() > end) return false;
    m_stream.Seek(end);
    return true;
  }

  void ParsePhaseExtension() {
    m_data.phasesEnabled = m_stream.ReadFlag();
    for (int i = 0; m_data.phasesEnabled && i < m_data.envelopeCount; ++i) {
      const bool ipdInTime = ParsePhases(m_codebooks.ipd, i, &PsEnvelope::ipd);
      const bool opdInTime = ParsePhases(m_codebooks.opd, i, &PsEnvelope::opd);
      if (i == 0 && !ipdInTime && !opdInTime) m_data.phasesKnown = true;
    }
    m_stream.Read(1);  // reserved_ps
  }

  // Returns whether the differences are over time.
  bool ParsePhases(const IppsVLCDecodeSpec_32s* codes, int i,
                   std::int8_t (PsEnvelope::*phases)[kMaxPsPhaseBands]) {
    const bool inTime = m_stream.ReadFlag();
    const std::int8_t* earlier = inTime ? Earlier(i).*phases : nullptr;
    int phase = 0;
    for (int band = 0; band < PsResolutionOf(m_data.iidMode).phaseBands; ++band) {
      phase = ReadSum(codes[inTime ? 1 : 0], earlier, band, phase) % kPhases;
      (m_data.envelopes[i].*phases)[band] = static_cast<std::int8_t>(phase);
    }
    return inTime;
  }

  // If no envelope extends to the frame's end, the last one is repeated there.
  void ReachEnd() {
    const int count = m_data.envelopeCount;
    if (count > 0 && m_data.envelopes[count - 1].border == m_slots - 1) return;
    m_data.envelopes[count] = Earlier(count);
    m_data.envelopes[count].border = m_slots - 1;
    ++m_data.envelopeCount;
  }

  void ClearPhases() {
    m_data.phasesKnown = true;
    for (PsEnvelope& envelope : m_data.envelopes) {
      std::fill_n(envelope.ipd, kMaxPsPhaseBands, std::int8_t{0});
      std::fill_n(envelope.opd, kMaxPsPhaseBands, std::int8_t{0});
    }
  }

  fmp4::BitWindow& m_stream;
  int m_slots;
  const PsCodebooks& m_codebooks;
  const PsData& m_before;
  PsData& m_data;
  PsEnvelope m_last{};
};

}  // namespace

bool ParsePsData(fmp4::BitWindow& stream, std::size_t bits, int slots, PsData& data) {
  const PsCodebooks* codebooks = SharedPsCodebooks();
  if (codebooks == nullptr) return false;
  const std::size_t end = stream.Position() + bits;
  PsData parsed = data;
  if (!PsParser(stream, slots, *codebooks, data, parsed).Parse() || stream.Position() > end) return false;
  data = parsed;
  return true;
}

}  // namespace UMC::aac

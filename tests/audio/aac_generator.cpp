#include "tests/audio/aac_generator.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "audio/umc/aac/core/channel_stream.h"
#include "audio/umc/aac/core/huffman_codes.h"
#include "dsp/ipps_crc.h"

namespace fmp4 {

using namespace UMC;

using namespace UMC::aac;

namespace {

struct Book {
  const IppsVLCTable_32s* words;
  int dimension, modulus, offset;
  bool isSigned;
};

const Book kBooks[12] = {{nullptr, 0, 0, 0, false},          {kSpectralCode1, 4, 3, 1, true},
                         {kSpectralCode2, 4, 3, 1, true},    {kSpectralCode3, 4, 3, 0, false},
                         {kSpectralCode4, 4, 3, 0, false},   {kSpectralCode5, 2, 9, 4, true},
                         {kSpectralCode6, 2, 9, 4, true},    {kSpectralCode7, 2, 8, 0, false},
                         {kSpectralCode8, 2, 8, 0, false},   {kSpectralCode9, 2, 13, 0, false},
                         {kSpectralCode10, 2, 13, 0, false}, {kSpectralCode11, 2, 17, 0, false}};

// A scale factor that scales a codebook's largest values to some thousand.
int ScaleFactorOf(int codebook) {
  if (codebook == kEscapeCodebook) return 100 - 8;
  const Book& book = kBooks[codebook];
  const double largest = book.isSigned ? book.offset : book.modulus - 1;
  return 100 + static_cast<int>(4 * std::log2(6400 / std::pow(largest, 4.0 / 3)));
}

}  // namespace

AacGenerator::AacGenerator(unsigned seed, GeneratorOptions options)
    : m_options(std::move(options)),
      m_random(seed),
      m_gainRandom(seed),
      m_sequences(m_options.elements.size(), 0) {
  for (const auto& element : m_options.elements) {
    if (!m_options.sbr.has_value()) break;
    m_sbr.emplace_back(
        seed + static_cast<unsigned>(m_sbr.size()), element.kind == GeneratedElement::kCpe ? 2 : 1,
        2 * kSamplingFrequencies[m_options.samplingIndex], m_options.frameLength / 64, *m_options.sbr);
  }
}

std::vector<std::string> AacGenerator::Seen() const {
  std::vector<std::string> seen = m_seen;
  for (const auto& sbr : m_sbr) seen.insert(seen.end(), sbr.Seen().begin(), sbr.Seen().end());
  return seen;
}

void AacGenerator::Note(const std::string& what) {
  if (std::find(m_seen.begin(), m_seen.end(), what) == m_seen.end()) m_seen.push_back(what);
}

int AacGenerator::Random(int low, int high) {
  return low + static_cast<int>(m_random() % static_cast<unsigned>(high - low + 1));
}

void AacGenerator::Protect(std::size_t start, std::size_t counted) {
  m_block.protectedBits.push_back({start, counted, std::min(counted, m_bits.Bits() - start)});
}

GeneratedBlock AacGenerator::NextBlock() {
  std::size_t channels = 0;
  for (const auto& element : m_options.elements) channels += element.kind == GeneratedElement::kCpe ? 2 : 1;
  const std::vector<int> sequences = m_sequences;
  const std::vector<std::string> seen = m_seen;
  const std::vector<SbrGenerator> sbr = m_sbr;
  // A block has at most 6144 bits a channel; one that is longer is drawn again with fewer bands.
  for (m_bandsInPercent = 100;; m_bandsInPercent = m_bandsInPercent * 3 / 4) {
    WriteBlock();
    if (m_block.bytes.size() <= channels * 768) return m_block;
    m_sequences = sequences;
    m_seen = seen;
    m_sbr = sbr;
  }
}

void AacGenerator::WriteBlock() {
  m_bits = {};
  m_block = {};
  if (m_options.writeProgram) WriteProgram();
  for (std::size_t i = 0; i < m_options.elements.size(); ++i) {
    const GeneratedElement& element = m_options.elements[i];
    if (m_options.otherElements) WriteOther();
    switch (element.kind) {
      case GeneratedElement::kCpe:
        WritePair(element, static_cast<int>(i));
        break;
      case GeneratedElement::kCce:
        WriteCoupling(element, static_cast<int>(i));
        break;
      default:
        WriteSingle(element, static_cast<int>(i));
    }
    if (m_options.sbr.has_value()) WriteSbr(i);
  }
  m_bits.Write(7, 3);  // ID_END
  m_bits.Align();
  m_block.bytes = m_bits.Bytes();
}

// Sequences follow each other as the syntax permits; low frequency effects are always long sine windows.
IcsInfo AacGenerator::NextIcs(int element, bool lfe) {
  IcsInfo ics{};
  int& sequence = m_sequences[static_cast<std::size_t>(element)];
  const bool afterShort = sequence == 1 || sequence == 2;
  sequence = lfe ? 0 : afterShort ? Random(2, 3) : Random(0, 1);
  ics.sequence = static_cast<WindowSequence>(sequence);
  ics.shape = static_cast<std::uint8_t>(lfe ? 0 : Random(0, 1));
  const FrameBands& bands = BandsOf(m_options.samplingIndex, m_options.frameLength);
  ics.bands = ics.IsShort() ? &bands.shortWindow : &bands.longWindow;
  const int bandCount = ics.bands->bands * m_bandsInPercent / 100;
  ics.maxSfb = static_cast<std::uint8_t>(Chance(5) ? 0 : Chance(20) ? bandCount : Random(0, bandCount));
  ics.groups = 1;
  ics.groupLength[0] = 1;
  for (int i = 1; ics.IsShort() && i < 8; ++i) {
    if (Chance(50)) {
      ++ics.groupLength[ics.groups - 1];
    } else {
      ics.groupLength[ics.groups++] = 1;
    }
  }
  Note("sequence " + std::to_string(sequence) + " shape " + std::to_string(ics.shape));
  return ics;
}

void AacGenerator::WriteIcsInfo(const IcsInfo& ics, bool commonWindow, bool right, bool lfe) {
  m_bits.Write(0, 1);
  m_bits.Write(static_cast<unsigned>(ics.sequence), 2);
  m_bits.Write(ics.shape, 1);
  if (!ics.IsShort()) {
    m_bits.Write(ics.maxSfb, 6);
    const bool main = m_options.objectType == kObjectMain, ltp = m_options.objectType == kObjectLtp;
    // Two limits are the reference decoder's. It keeps the flags of bands that a frame does not send, where
    // the standard has none: Main frames with prediction send all. And it looks for the long-term prediction
    // of both channels of a pair when the first has predictor data: so the second has it too.
    const bool possible = !lfe && (main ? ics.maxSfb >= ics.bands->predictionBands : ltp);
    const bool present = possible && (ltp && right ? m_predictorData : Chance(70));
    m_predictorData = present;
    m_bits.Write(present ? 1 : 0, 1);
    if (present && main) WritePrediction(ics);
    for (int channel = 0; present && ltp && channel < (commonWindow ? 2 : 1); ++channel) WriteLtp(ics);
    return;
  }
  m_bits.Write(ics.maxSfb, 4);
  for (int group = 0; group < ics.groups; ++group) {
    for (int i = 1; i < ics.groupLength[group]; ++i) m_bits.Write(1, 1);
    if (group + 1 < ics.groups) m_bits.Write(0, 1);
  }
}

void AacGenerator::WritePrediction(const IcsInfo& ics) {
  const bool reset = Chance(50);
  m_bits.Write(reset ? 1 : 0, 1);
  if (reset) {
    const int group = Random(1, 30);
    m_bits.Write(static_cast<unsigned>(group), 5);
    Note("predictor reset");
  }
  const int bands = std::min<int>(ics.maxSfb, ics.bands->predictionBands);
  for (int sfb = 0; sfb < bands; ++sfb) m_bits.Write(static_cast<unsigned>(Random(0, 1)), 1);
  Note("predicted");
}

void AacGenerator::WriteLtp(const IcsInfo& ics) {
  const bool present = Chance(70);
  m_bits.Write(present ? 1 : 0, 1);
  if (!present) return;
  const int lag = Chance(20) ? Random(0, 1) * 2047 : Random(0, 2047);
  const int coefficient = Random(0, 7);
  m_bits.Write(static_cast<unsigned>(lag), 11);
  m_bits.Write(static_cast<unsigned>(coefficient), 3);
  for (int sfb = 0; sfb < std::min<int>(ics.maxSfb, 40); ++sfb) {
    m_bits.Write(static_cast<unsigned>(Random(0, 1)), 1);
  }
  Note("ltp coefficient " + std::to_string(coefficient));
  Note("ltp sequence " + std::to_string(static_cast<int>(ics.sequence)));
}

void AacGenerator::WriteGainControl(const IcsInfo& ics) {
  const auto random = [this](unsigned high) { return static_cast<unsigned>(m_gainRandom() % (high + 1)); };
  const auto sequence = static_cast<std::size_t>(ics.sequence);
  constexpr int kWindows[4] = {1, 2, 8, 2};
  constexpr unsigned kFirstBits[4] = {5, 4, 2, 4}, kOtherBits[4] = {0, 2, 2, 5};
  const unsigned bands = random(3);
  m_bits.Write(bands, 2);
  for (unsigned band = 0; band < bands; ++band) {
    for (int window = 0; window < kWindows[sequence]; ++window) {
      const unsigned adjustments = random(7);
      m_bits.Write(adjustments, 3);
      for (unsigned i = 0; i < adjustments; ++i) {
        m_bits.Write(random(15), 4);
        const unsigned bits = window == 0 ? kFirstBits[sequence] : kOtherBits[sequence];
        m_bits.Write(random((1u << bits) - 1), bits);
      }
    }
  }
  Note("gain control sequence " + std::to_string(sequence));
}

std::vector<int> AacGenerator::WriteSections(const IcsInfo& ics, bool right) {
  std::vector<int> codebooks;
  const unsigned bits = ics.IsShort() ? 3 : 5;
  const int escape = (1 << bits) - 1;
  for (int group = 0; group < ics.groups; ++group) {
    for (int sfb = 0; sfb < ics.maxSfb;) {
      int codebook = Random(0, kEscapeCodebook);
      if (m_options.noise && Chance(15)) codebook = kNoiseCodebook;
      if (m_options.intensity && right && m_stereoMask != 2 && Chance(20))
        codebook = Random(kIntensityOutOfPhase, kIntensityInPhase);
      const int length = Chance(10) ? ics.maxSfb - sfb : Random(1, std::min(6, ics.maxSfb - sfb));
      m_bits.Write(static_cast<unsigned>(codebook), 4);
      for (int left = length;; left -= escape) {
        m_bits.Write(static_cast<unsigned>(std::min(left, escape)), bits);
        if (left < escape) break;
        Note("long section");
      }
      codebooks.insert(codebooks.end(), static_cast<std::size_t>(length), codebook);
      sfb += length;
      Note("codebook " + std::to_string(codebook));
    }
  }
  return codebooks;
}

void AacGenerator::WriteDifference(int difference) {
  const IppsVLCTable_32s& word = kScaleFactorCode[difference + 60];
  m_bits.Write(static_cast<unsigned>(word.code), static_cast<unsigned>(word.length));
}

void AacGenerator::WriteScaleFactors(const std::vector<int>& codebooks, int globalGain) {
  int scaleFactor = globalGain, position = 0, energy = globalGain - 90;
  bool firstNoise = true;
  for (const int codebook : codebooks) {
    if (codebook == 0) continue;
    if (codebook >= kIntensityOutOfPhase) {
      const int next = std::clamp(Random(-12, 12), position - 60, position + 60);
      WriteDifference(next - position);
      position = next;
    } else if (codebook == kNoiseCodebook) {
      const int next = Random(30, 50);
      if (firstNoise) {
        m_bits.Write(static_cast<unsigned>(next - energy + 256), 9);
      } else {
        WriteDifference(next - energy);
      }
      firstNoise = false;
      energy = next;
    } else {
      const int next =
          std::clamp(ScaleFactorOf(codebook) + Random(-8, 4), scaleFactor - 60, scaleFactor + 60);
      WriteDifference(next - scaleFactor);
      scaleFactor = next;
    }
  }
}

void AacGenerator::WriteTns(const IcsInfo& ics) {
  const bool isShort = ics.IsShort();
  for (int window = 0; window < (isShort ? 8 : 1); ++window) {
    const int filters = Random(0, isShort ? 1 : 3);
    m_bits.Write(static_cast<unsigned>(filters), isShort ? 1 : 2);
    if (filters == 0) continue;
    const int resolution = Random(0, 1);
    m_bits.Write(static_cast<unsigned>(resolution), 1);
    for (int i = 0; i < filters; ++i) {
      m_bits.Write(static_cast<unsigned>(Random(0, ics.bands->bands)) & (isShort ? 15u : 63u),
                   isShort ? 4 : 6);
      const int longest = m_options.objectType == kObjectMain ? kMaxTnsOrderMain : kMaxTnsOrderLong;
      const int order = Random(0, isShort ? kMaxTnsOrderShort : longest);
      m_bits.Write(static_cast<unsigned>(order), isShort ? 3 : 5);
      if (order == 0) continue;
      m_bits.Write(static_cast<unsigned>(Random(0, 1)), 1);
      const int compress = Random(0, 1);
      m_bits.Write(static_cast<unsigned>(compress), 1);
      const auto bits = static_cast<unsigned>(3 + resolution - compress);
      for (int j = 0; j < order; ++j) {
        // Small ones: the filter's gain stays bounded.
        const int coefficient = Random(j < 2 ? -2 : -1, 1);
        m_bits.Write(static_cast<unsigned>(coefficient) & ((1u << bits) - 1), bits);
      }
      Note(std::string(isShort ? "short" : "long") + " tns order " + std::to_string(order));
    }
  }
}

void AacGenerator::WriteTuple(int codebook) {
  const Book& book = kBooks[codebook];
  const int largest = book.isSigned ? book.offset : book.modulus - 1;
  std::array<int, 4> values{};
  int symbol = 0;
  for (int i = 0; i < book.dimension; ++i) {
    values[static_cast<std::size_t>(i)] = Random(book.isSigned ? -largest : 0, largest);
    symbol = symbol * book.modulus + values[static_cast<std::size_t>(i)] + book.offset;
  }
  const IppsVLCTable_32s& word = book.words[symbol];
  m_bits.Write(static_cast<unsigned>(word.code), static_cast<unsigned>(word.length));
  if (book.isSigned) return;
  for (const int value : values) {
    if (value != 0) m_bits.Write(static_cast<unsigned>(Random(0, 1)), 1);
  }
  if (codebook != kEscapeCodebook) return;
  for (const int value : values) {
    if (value != 16) continue;
    const int prefix = Chance(50) ? Random(0, 2) : Random(0, 8);
    m_bits.Write((1u << (prefix + 1)) - 2, static_cast<unsigned>(prefix + 1));
    m_bits.Write(m_random() & ((16u << prefix) - 1), static_cast<unsigned>(prefix + 4));
    Note("escape " + std::to_string(prefix));
  }
}

void AacGenerator::WriteSpectrum(const IcsInfo& ics, const std::vector<int>& codebooks) {
  for (int group = 0; group < ics.groups; ++group) {
    for (int sfb = 0; sfb < ics.maxSfb; ++sfb) {
      const int codebook = codebooks[static_cast<std::size_t>(ics.Band(group, sfb))];
      if (codebook == 0 || codebook > kEscapeCodebook) continue;
      const int lines = (ics.bands->offsets[sfb + 1] - ics.bands->offsets[sfb]) * ics.groupLength[group];
      for (int i = 0; i < lines; i += kBooks[codebook].dimension) WriteTuple(codebook);
    }
  }
}

void AacGenerator::WriteChannel(const IcsInfo& ics, bool commonWindow, bool right, bool lfe) {
  const int globalGain = Random(80, 120);
  m_bits.Write(static_cast<unsigned>(globalGain), 8);
  if (!commonWindow) WriteIcsInfo(ics, false, right, lfe);
  m_codebooks = WriteSections(ics, commonWindow && right);
  WriteScaleFactors(m_codebooks, globalGain);
  // Pulses are among the coded lines.
  const int lines = ics.bands->offsets[ics.maxSfb];
  const bool pulse = m_options.pulse && !ics.IsShort() && ics.maxSfb > 0 && Chance(50);
  m_bits.Write(pulse ? 1 : 0, 1);
  if (pulse) {
    const int count = Random(1, 4);
    m_bits.Write(static_cast<unsigned>(count - 1), 2);
    const int band = Random(0, ics.maxSfb - 1);
    m_bits.Write(static_cast<unsigned>(band), 6);
    int line = ics.bands->offsets[band];
    for (int i = 0; i < count; ++i) {
      const int offset = Random(0, std::min(31, lines - 1 - line));
      line += offset;
      m_bits.Write(static_cast<unsigned>(offset), 5);
      m_bits.Write(static_cast<unsigned>(Random(0, 15)), 4);
    }
    Note("pulse " + std::to_string(count));
  }
  const bool tns = m_options.tns && !lfe && Chance(50);
  m_bits.Write(tns ? 1 : 0, 1);
  if (tns) WriteTns(ics);
  const bool gainControl = m_options.objectType == kObjectSsr && m_gainRandom() % 2 != 0;
  m_bits.Write(gainControl ? 1 : 0, 1);
  if (gainControl) WriteGainControl(ics);
  WriteSpectrum(ics, m_codebooks);
}

void AacGenerator::WriteSingle(const GeneratedElement& element, int index) {
  const bool lfe = element.kind == GeneratedElement::kLfe;
  m_bits.Write(lfe ? 3 : 0, 3);
  const std::size_t start = m_bits.Bits();
  m_bits.Write(static_cast<unsigned>(element.tag), 4);
  WriteChannel(NextIcs(index, lfe), false, false, lfe);
  Protect(start, 192);
}

void AacGenerator::WritePair(const GeneratedElement& element, int index) {
  m_bits.Write(1, 3);
  const std::size_t start = m_bits.Bits();
  m_bits.Write(static_cast<unsigned>(element.tag), 4);
  const bool commonWindow = Chance(70);
  m_bits.Write(commonWindow ? 1 : 0, 1);
  const IcsInfo ics = NextIcs(index, false);
  IcsInfo rightIcs = ics;
  if (commonWindow) {
    WriteIcsInfo(ics, true, false, false);
    const int mask = m_stereoMask = m_options.midSide ? Random(0, 2) : 0;
    m_bits.Write(static_cast<unsigned>(mask), 2);
    for (int i = 0; mask == 1 && i < ics.BandCount(); ++i)
      m_bits.Write(static_cast<unsigned>(Random(0, 1)), 1);
    Note("ms mask " + std::to_string(mask));
  } else {
    // A different grouping of the same sequence: both channels switch together.
    rightIcs.maxSfb = static_cast<std::uint8_t>(Random(0, ics.bands->bands));
    Note("separate windows");
  }
  WriteChannel(ics, commonWindow, false, false);
  const std::size_t second = m_bits.Bits();
  WriteChannel(rightIcs, commonWindow, true, false);
  Protect(start, 192);
  m_block.protectedBits.push_back({second, 128, std::min<std::size_t>(128, m_bits.Bits() - second)});
}

void AacGenerator::WriteCoupling(const GeneratedElement& element, int index) {
  m_bits.Write(2, 3);
  const std::size_t start = m_bits.Bits();
  m_bits.Write(static_cast<unsigned>(element.tag), 4);
  m_bits.Write(m_options.independentCoupling ? 1 : 0, 1);
  std::vector<GeneratedElement> targets;
  for (const auto& other : m_options.elements) {
    if (other.kind == GeneratedElement::kSce || other.kind == GeneratedElement::kCpe)
      targets.push_back(other);
  }
  m_bits.Write(targets.size() - 1, 3);
  int lists = 0;
  for (const auto& target : targets) {
    const bool pair = target.kind == GeneratedElement::kCpe;
    m_bits.Write(pair ? 1 : 0, 1);
    m_bits.Write(static_cast<unsigned>(target.tag), 4);
    ++lists;
    if (!pair) continue;
    const int choice = Random(0, 3);
    m_bits.Write(static_cast<unsigned>(choice), 2);
    if (choice == 3) ++lists;
    Note("coupled to " + std::to_string(choice));
  }
  const int domain = Random(0, 1);
  m_bits.Write(static_cast<unsigned>(domain), 1);
  const int sign = Random(0, 1);
  m_bits.Write(static_cast<unsigned>(sign), 1);
  m_bits.Write(static_cast<unsigned>(Random(0, 3)), 2);
  // All windows are long: targets and coupling channel have the same bands.
  IcsInfo ics = NextIcs(index, true);
  WriteChannel(ics, false, false, true);
  const std::vector<int> codebooks = m_codebooks;
  for (int list = 1; list < lists; ++list) {
    const bool common = m_options.independentCoupling || Chance(50);
    if (!m_options.independentCoupling) m_bits.Write(common ? 1 : 0, 1);
    if (common) {
      WriteDifference(Random(-2, 8));
      Note("common gain");
      continue;
    }
    int gain = 0;
    for (const int codebook : codebooks) {
      if (codebook == 0) continue;
      const int next = Random(-2, 8);
      WriteDifference(next - gain);
      gain = next;
    }
    Note("domain " + std::to_string(domain) + " sign " + std::to_string(sign));
  }
  Protect(start, 192);
}

void AacGenerator::WriteProgram() {
  m_bits.Write(5, 3);
  const std::size_t start = m_bits.Bits();
  std::vector<GeneratedElement> front, lfe, coupling;
  for (const auto& element : m_options.elements) {
    (element.kind == GeneratedElement::kLfe   ? lfe
     : element.kind == GeneratedElement::kCce ? coupling
                                              : front)
        .push_back(element);
  }
  m_bits.Write(0, 4);
  m_bits.Write(1, 2);
  m_bits.Write(static_cast<unsigned>(m_options.samplingIndex), 4);
  m_bits.Write(front.size(), 4);
  m_bits.Write(0, 8);
  m_bits.Write(lfe.size(), 2);
  m_bits.Write(0, 3);
  m_bits.Write(coupling.size(), 4);
  m_bits.Write(0, 3);
  for (const auto& element : front) {
    m_bits.Write(element.kind == GeneratedElement::kCpe ? 1 : 0, 1);
    m_bits.Write(static_cast<unsigned>(element.tag), 4);
  }
  for (const auto& element : lfe) m_bits.Write(static_cast<unsigned>(element.tag), 4);
  for (const auto& element : coupling) {
    m_bits.Write(m_options.independentCoupling ? 1 : 0, 1);
    m_bits.Write(static_cast<unsigned>(element.tag), 4);
  }
  m_bits.Align();
  m_bits.Write(3, 8);
  m_bits.Write(0x414243, 24);
  Protect(start, m_bits.Bits() - start);
}

void AacGenerator::WriteOther() {
  if (Chance(40)) {
    m_bits.Write(4, 3);
    const std::size_t start = m_bits.Bits();
    const bool align = Chance(50);
    const int bytes = Chance(20) ? Random(255, 300) : Random(0, 20);
    m_bits.Write(0, 4);
    m_bits.Write(align ? 1 : 0, 1);
    m_bits.Write(static_cast<unsigned>(std::min(bytes, 255)), 8);
    if (bytes >= 255) m_bits.Write(static_cast<unsigned>(bytes - 255), 8);
    if (align) m_bits.Align();
    for (int i = 0; i < bytes; ++i) m_bits.Write(m_random() & 255, 8);
    Protect(start, m_bits.Bits() - start);
    Note(bytes >= 255 ? "long data" : "data");
  }
  if (Chance(40)) {
    m_bits.Write(6, 3);
    const int bytes = Random(0, 40);
    m_bits.Write(static_cast<unsigned>(std::min(bytes, 15)), 4);
    if (bytes >= 15) m_bits.Write(static_cast<unsigned>(bytes - 14), 8);
    for (int i = 0; i < bytes; ++i) m_bits.Write(0, 8);  // EXT_FILL
    Note(bytes >= 15 ? "long fill" : "fill");
  }
}

// Low frequency effects and coupling channels have no payload.
void AacGenerator::WriteSbr(std::size_t element) {
  const auto kind = m_options.elements[element].kind;
  if (kind != GeneratedElement::kSce && kind != GeneratedElement::kCpe) return;
  const std::vector<std::uint8_t> payload = m_sbr[element].NextPayload();
  const auto bytes = static_cast<unsigned>(payload.size());
  m_bits.Write(6, 3);
  m_bits.Write(std::min(bytes, 15u), 4);
  if (bytes >= 15) m_bits.Write(bytes - 14, 8);
  m_bits.WriteBytes(payload);
}

std::vector<GeneratedBlock> Blocks(unsigned seed, const GeneratorOptions& options, int count) {
  AacGenerator generator(seed, options);
  std::vector<GeneratedBlock> blocks;
  for (int i = 0; i < count; ++i) blocks.push_back(generator.NextBlock());
  return blocks;
}

std::vector<std::uint8_t> WrapAdts(const std::vector<GeneratedBlock>& blocks, const AdtsOptions& options) {
  const std::size_t count = blocks.size();
  std::size_t length = 7 + (options.protect ? 2 * count : 0);
  for (const auto& block : blocks) length += block.bytes.size();
  if (options.protect && count > 1) length += 2 * count;
  BitWriter bits;
  bits.Write(0xFFF, 12);
  bits.Write(0, 3);
  bits.Write(options.protect ? 0 : 1, 1);
  bits.Write(static_cast<unsigned>(options.profile), 2);
  bits.Write(static_cast<unsigned>(options.samplingIndex), 4);
  bits.Write(0, 1);
  bits.Write(static_cast<unsigned>(options.channelConfiguration), 3);
  bits.Write(0, 4);
  bits.Write(length, 13);
  bits.Write(0x7FF, 11);
  bits.Write(count - 1, 2);
  const auto protectBlock = [](const GeneratedBlock& block, Ipp32u& crc) {
    for (const auto& region : block.protectedBits) {
      ippsCRC32_8u(block.bytes.data(), region.start, region.sent, 0x80050000u, &crc);
      ippsCRC32_8u(nullptr, 0, region.counted - region.sent, 0x80050000u, &crc);
    }
  };
  std::size_t position = 0;
  for (std::size_t i = 0; options.protect && i + 1 < count; ++i) {
    position += blocks[i].bytes.size() + 2;
    bits.Write(position, 16);
  }
  Ipp32u crc = 0xFFFF0000u;
  ippsCRC32_8u(bits.Bytes().data(), 0, bits.Bits(), 0x80050000u, &crc);
  if (options.protect) {
    if (count == 1) protectBlock(blocks[0], crc);
    bits.Write(crc >> 16, 16);
  }
  for (const auto& block : blocks) {
    bits.WriteBytes(block.bytes);
    if (options.protect && count > 1) {
      crc = 0xFFFF0000u;
      protectBlock(block, crc);
      bits.Write(crc >> 16, 16);
    }
  }
  return bits.Bytes();
}

namespace {

void WriteConfig(BitWriter& bits, int samplingIndex, int frameLength, int channelConfiguration) {
  bits.Write(2, 5);
  bits.Write(static_cast<unsigned>(samplingIndex), 4);
  bits.Write(static_cast<unsigned>(channelConfiguration), 4);
  bits.Write(frameLength == 960 ? 1 : 0, 1);
  bits.Write(0, 2);
}

}  // namespace

std::vector<std::uint8_t> MakeConfig(int samplingIndex, int frameLength, int channelConfiguration) {
  BitWriter bits;
  WriteConfig(bits, samplingIndex, frameLength, channelConfiguration);
  return bits.Bytes();
}

std::vector<std::uint8_t> WrapLoas(const std::vector<std::uint8_t>& block, int samplingIndex, int frameLength,
                                   int channelConfiguration) {
  BitWriter element;
  element.Write(0, 1);   // useSameStreamMux
  element.Write(0, 1);   // audioMuxVersion
  element.Write(1, 1);   // allStreamsSameTimeFraming
  element.Write(0, 13);  // one subframe, program and layer
  WriteConfig(element, samplingIndex, frameLength, channelConfiguration);
  element.Write(0, 3);     // frameLengthType
  element.Write(0xFF, 8);  // latmBufferFullness
  element.Write(0, 2);     // otherDataPresent, crcCheckPresent
  std::size_t left = block.size();
  for (; left >= 255; left -= 255) element.Write(255, 8);
  element.Write(left, 8);
  element.WriteBytes(block);
  element.Align();
  BitWriter bits;
  bits.Write(0x2B7, 11);
  bits.Write(element.Bytes().size(), 13);
  bits.WriteBytes(element.Bytes());
  return bits.Bytes();
}

}  // namespace fmp4

#include "audio/umc/aac/stream_decoder.h"

#include <algorithm>

#include "audio/umc/aac/block_decoder.h"
#include "audio/umc/aac/core/adif.h"
#include "audio/umc/aac/core/adts.h"
#include "audio/umc/aac/core/als_config.h"
#include "audio/umc/aac/decoder_history.h"
#include "audio/umc/aac/decoder_state.h"
#include "audio/umc/aac/output_format.h"
#include "dsp/ipps_crc.h"

namespace UMC::aac {

namespace {

// Maximum size of a channel's frame (6144 bits: ISO/IEC 14496-3, 4.5.3.1), in bytes.
constexpr std::size_t kMaxChannelBytes = 768;
// Bytes consumed of an invalid frame: enough for the search to start after its header.
constexpr std::size_t kSkippedBytes = 3;

Status StatusOf(BlockStatus status) {
  switch (status) {
    case BlockStatus::kOk:
      return UMC_OK;
    case BlockStatus::kOverrun:
      return UMC_ERR_NOT_ENOUGH_BUFFER;
    default:
      return UMC_ERR_INVALID_STREAM;
  }
}

BlockStatus Parse(LockedMemory& memory, fmp4::BitWindow& stream, Ipp32u* crc) {
  const AudioSpecificConfig& config = memory.State().config;
  return ParseRawDataBlock(stream, *SharedCodebooks(), BandsOf(config.samplingIndex, config.frameLength),
                           config.objectType, memory.Work().block, crc);
}

// Decodes the parsed block; the output must have space for `blocks` blocks like it. `start` is the block's
// first byte in the stream.
Status DecodeParsed(LockedMemory& memory, const fmp4::BitWindow& stream, std::size_t start, int blocks,
                    FrameRequest& request) {
  BlockDecoder block(memory, {stream.Data() + start, stream.Data() + stream.Position() / 8});
  const Status prepared = block.Prepare();
  if (prepared != UMC_OK) return prepared;
  if (block.LargestOutput() * static_cast<std::size_t>(blocks) > request.outputSize - request.produced) {
    return UMC_ERR_NOT_ENOUGH_BUFFER;
  }
  request.produced += block.Decode(reinterpret_cast<std::int16_t*>(request.output + request.produced));
  return UMC_OK;
}

// A raw block: its own syntax alone determines its end.
Status DecodeRaw(LockedMemory& memory, FrameRequest& request) {
  const bool configured = memory.State().configured;
  fmp4::BitWindow stream(request.input + request.consumed, request.inputSize - request.consumed);
  const BlockStatus parsed = Parse(memory, stream, nullptr);
  if (parsed == BlockStatus::kOverrun && !configured) return UMC_ERR_NOT_ENOUGH_DATA;
  Status status = StatusOf(parsed);
  if (status == UMC_OK) status = DecodeParsed(memory, stream, 0, 1, request);
  if (configured) return status;
  if (status == UMC_OK) {
    request.consumed += stream.Position() / 8;
  } else if (parsed != BlockStatus::kOk) {
    request.consumed += std::min(kSkippedBytes, request.inputSize - request.consumed);
  }
  return status;
}

// The configuration in an ADTS or ADIF header, which has only the object types and frequencies of the first
// edition.
AudioSpecificConfig ConfigOfHeader(int profile, int samplingIndex) {
  AudioSpecificConfig config{};
  config.objectType = profile + 1;
  config.samplingIndex = samplingIndex;
  config.frequency = kSamplingFrequencies[samplingIndex];
  config.frameLength = 1024;
  return config;
}

Status StartAdif(LockedMemory& memory, FrameRequest& request) {
  fmp4::BitWindow stream(request.input, request.inputSize);
  ProgramConfig program;
  const bool parsed = ParseAdifHeader(stream, program);
  if (stream.Overrun()) return UMC_ERR_NOT_ENOUGH_DATA;
  const Layout layout = parsed ? LayoutOfProgram(program) : Layout{};
  if (layout.channelCount == 0) {
    request.consumed = std::min(kSkippedBytes, request.inputSize);
    return UMC_ERR_INVALID_STREAM;
  }
  DecoderState& state = memory.State();
  state.form = StreamForm::kRaw;
  state.config = ConfigOfHeader(program.objectType, program.samplingIndex);
  state.config.layout = layout;
  Restart(memory);
  request.consumed = stream.Position() / 8;
  return DecodeRaw(memory, request);
}

// One ADTS frame inside the input.
class AdtsFrame {
 public:
  AdtsFrame(LockedMemory& memory, FrameRequest& request, std::size_t start)
      : m_memory(memory),
        m_request(request),
        m_data(request.input + start),
        m_size(request.inputSize - start) {}

  // `header` is the parsed header at the frame's start.
  Status Decode(const AdtsHeader& header) {
    m_header = header;
    const int announced = header.channelConfiguration == 7 ? 8 : header.channelConfiguration;
    // The header may specify fewer channels than the frame has, or none: then the elements decide.
    const bool tooLong = header.frameLength > LongestFrame(announced);
    if (header.frameLength > LongestFrame(kMaxStreams)) return Refuse(UMC_ERR_INVALID_STREAM);
    if (!tooLong && header.frameLength > m_size) return UMC_ERR_NOT_ENOUGH_DATA;
    return DecodeBlocks(tooLong);
  }

  // Bytes of input to consume from the frame's start.
  [[nodiscard]] std::size_t Used() const { return m_used; }

 private:
  // Rejects the frame: the next call searches for a header after this one.
  Status Refuse(Status status) {
    m_refused = true;
    m_used = kSkippedBytes;
    return status;
  }

  [[nodiscard]] std::size_t LongestFrame(int channels) const {
    return static_cast<std::size_t>(channels * m_header.blocks) * kMaxChannelBytes + m_header.HeaderBytes();
  }

  // The latest end of the frame. The header's length is trusted if another header, or nothing, follows there;
  // otherwise the frame may extend to the input's end.
  [[nodiscard]] std::size_t Bound() const {
    const std::size_t length = m_header.frameLength;
    if (length < m_header.HeaderBytes() || length > m_size) return m_size;
    const std::size_t rest = m_size - length;
    if (rest < kAdtsPatternBytes) return length;
    const bool headerFollows =
        FindAdtsPattern(m_data + length, kAdtsPatternBytes, m_memory.State().pattern) == 0;
    return headerFollows ? length : m_size;
  }

  Status DecodeBlocks(bool checkLength) {
    const std::size_t bound = Bound();
    if (bound < m_header.HeaderBytes()) return UMC_ERR_NOT_ENOUGH_DATA;
    fmp4::BitWindow stream(m_data, bound);
    bool crcMatches = true;
    Ipp32u crc = kAdtsCrcStart;
    if (!m_header.protectionAbsent) {
      const std::size_t positions = 2 * static_cast<std::size_t>(m_header.blocks - 1);
      ippsCRC32_8u(m_data, 0, 8 * (kAdtsHeaderBytes + positions), kAdtsCrcPolynomial, &crc);
      stream.Seek(8 * (kAdtsHeaderBytes + positions));
      if (m_header.blocks > 1) crcMatches = stream.Read(16) == crc >> 16;
    }
    // A frame of one block has one checksum for header and block, before the block.
    const bool singleCrc = !m_header.protectionAbsent && m_header.blocks == 1;
    const std::uint32_t sentCrc = singleCrc ? stream.Read(16) : 0;
    stream.Seek(8 * m_header.HeaderBytes());

    for (int i = 0; i < m_header.blocks; ++i) {
      if (!singleCrc) crc = kAdtsCrcStart;
      const Status status = DecodeBlock(stream, i, checkLength, m_header.protectionAbsent ? nullptr : &crc);
      // Blocks decoded before the frame turns out to be damaged are kept.
      if (i > 0 && m_refused) return UMC_WRN_CRC_MISMATCH;
      if (status != UMC_OK) return status;
      if (singleCrc) {
        crcMatches = sentCrc == crc >> 16;
      } else if (!m_header.protectionAbsent) {
        crcMatches = stream.Read(16) == crc >> 16 && crcMatches;
      }
    }
    m_used = std::min(std::max(stream.Position() / 8, m_header.frameLength), m_size);
    return crcMatches ? UMC_OK : UMC_WRN_CRC_MISMATCH;
  }

  // Decodes block `index` of the frame, at the stream's position.
  Status DecodeBlock(fmp4::BitWindow& stream, int index, bool checkLength, Ipp32u* crc) {
    const std::size_t start = stream.Position() / 8;
    const BlockStatus parsed = Parse(m_memory, stream, crc);
    if (index == 0 && checkLength) {
      const Status length = CheckLength(parsed);
      if (length != UMC_OK) return length;
    }
    if (parsed != BlockStatus::kOk) return Refuse(StatusOf(parsed));
    const Status status = DecodeParsed(m_memory, stream, start, m_header.blocks - index, m_request);
    return status == UMC_ERR_INVALID_STREAM ? Refuse(status) : status;
  }

  // Checks a frame that is too long for its header's number of channels against the channels it actually has.
  Status CheckLength(BlockStatus parsed) {
    if (parsed == BlockStatus::kInvalid) return Refuse(UMC_ERR_INVALID_STREAM);
    const bool complete = parsed == BlockStatus::kOk;
    const RawDataBlock& block = m_memory.Work().block;
    const int known = m_memory.State().layout.channelCount;
    const int carried = (block.elementCount > 0 ? block.channelCount : known) + block.couplingCount;
    if (complete && m_header.frameLength > LongestFrame(carried)) {
      return Refuse(UMC_ERR_INVALID_STREAM);
    }
    return m_header.frameLength > m_size ? UMC_ERR_NOT_ENOUGH_DATA : UMC_OK;
  }

  LockedMemory& m_memory;
  FrameRequest& m_request;
  const std::uint8_t* m_data;
  std::size_t m_size;
  AdtsHeader m_header{};
  std::size_t m_used = 0;
  bool m_refused = false;
};

// Decodes the frame whose header is at `start`.
Status DecodeAdtsAt(LockedMemory& memory, std::size_t start, FrameRequest& request) {
  const DecoderState& state = memory.State();
  request.consumed = start;
  AdtsHeader header;
  if (request.inputSize - start < kAdtsProbeBytes) return UMC_ERR_NOT_ENOUGH_DATA;
  if (!ParseAdtsHeader(request.input + start, header)) {
    request.consumed += kSkippedBytes;
    return UMC_ERR_INVALID_STREAM;
  }
  AdtsFrame frame(memory, request, start);
  const Status status = frame.Decode(header);
  request.consumed += frame.Used();
  if (status < UMC_OK) return status;

  // Bytes after the frame that cannot begin another one are consumed with it.
  const std::uint8_t* rest = request.input + request.consumed;
  const std::size_t restSize = request.inputSize - request.consumed;
  const bool mayBeOthers =
      !state.patternProven && FindAdtsHeader(rest, restSize, AdtsRates::kKnown) != restSize;
  if (!mayBeOthers && FindAdtsPattern(rest, restSize, state.pattern) == restSize) {
    request.consumed = request.inputSize - PartialAdtsPattern(rest, restSize, state.pattern);
  }
  return status;
}

// The first frame of an ADTS stream.
Status StartAdts(LockedMemory& memory, FrameRequest& request) {
  if (request.inputSize < kAdtsProbeBytes) return UMC_ERR_NOT_ENOUGH_DATA;
  DecoderState& state = memory.State();
  // The access units of a track have a header each, so that the first one is trusted, whatever its frequency
  // where the container states that.
  const AdtsRates rates = state.signalled ? AdtsRates::kAny : AdtsRates::kKnown;
  AdtsStart found{FindAdtsHeader(request.input, request.inputSize, rates), true};
  if (!state.signalled && !state.numbered) found = FindAdtsStart(request.input, request.inputSize);
  if (found.offset == request.inputSize) {
    request.consumed = request.inputSize - (kAdtsPatternBytes - 1);
    return UMC_ERR_UNSUPPORTED;
  }
  AdtsHeader header;
  ParseAdtsHeader(request.input + found.offset, header);
  state.form = StreamForm::kAdts;
  state.pattern = AdtsPattern(request.input + found.offset);
  state.patternProven = found.proven;
  if (!state.signalled) state.config = ConfigOfHeader(header.profile, header.samplingIndex);
  Restart(memory);
  const Status status = DecodeAdtsAt(memory, found.offset, request);
  if (status < UMC_OK) state.form = StreamForm::kUnknown;
  return status;
}

Status DecodeAdts(LockedMemory& memory, FrameRequest& request) {
  DecoderState& state = memory.State();
  if (request.inputSize < kAdtsProbeBytes) return UMC_ERR_NOT_ENOUGH_DATA;
  const std::size_t start = FindAdtsPattern(request.input, request.inputSize, state.pattern);
  if (start == request.inputSize) {
    // The only header with this pattern may have been a damaged one.
    const bool mayBeOthers =
        !state.patternProven && FindAdtsHeader(request.input, start, AdtsRates::kKnown) != start;
    if (mayBeOthers) return StartAdts(memory, request);
    request.consumed = request.inputSize - (kAdtsPatternBytes - 1);
    return UMC_ERR_NOT_ENOUGH_DATA;
  }
  const Status status = DecodeAdtsAt(memory, start, request);
  if (status == UMC_OK) state.patternProven = true;
  return status;
}

// Lossless streams are unsupported, but are recognised so that their frames are not searched for other
// headers.
Status StartAls(DecoderState& state, FrameRequest& request) {
  fmp4::BitWindow stream(request.input, request.inputSize);
  AlsConfig als;
  if (ParseAlsConfig(stream, als)) {
    state.form = StreamForm::kUnsupported;
    state.formatKnown = true;
    state.config = {};
    state.config.objectType = kObjectAls;
    state.config.frequency = als.frequency;
    state.unsupportedChannels = als.channels;
  }
  request.consumed = std::min((stream.Position() + 7) / 8, request.inputSize);
  return UMC_ERR_CONFIGURATION;
}

Status Start(LockedMemory& memory, FrameRequest& request) {
  const std::uint32_t id = fmp4::BitWindow(request.input, request.inputSize).Read(32);
  if (request.inputSize >= 4 && id == kAlsId) return StartAls(memory.State(), request);
  if (request.inputSize >= 4 && id == kAdifId) return StartAdif(memory, request);
  return StartAdts(memory, request);
}

}  // namespace

Status DecodeFrame(LockedMemory& memory, FrameRequest& request) {
  request.consumed = 0;
  request.produced = 0;
  Status status = UMC_OK;
  switch (memory.State().form) {
    case StreamForm::kRaw:
      status = DecodeRaw(memory, request);
      break;
    case StreamForm::kAdts:
      status = DecodeAdts(memory, request);
      break;
    case StreamForm::kUnsupported:
      status = UMC_ERR_CONFIGURATION;
      break;
    default:
      status = Start(memory, request);
  }
  if (status < UMC_OK) request.produced = 0;
  return status;
}

bool TakeConfiguration(const AudioSpecificConfig& config, DecoderState& state) {
  state.signalled = state.formatKnown = true;
  state.config = config;
  if (!IsSupportedObjectType(config.objectType) || config.layout.channelCount == 0) {
    state.form = StreamForm::kUnsupported;
    state.unsupportedChannels = config.layout.channelCount;
    return false;
  }
  state.layout = config.layout;
  state.program = config.Program();
  if (config.sbrSignalled && config.extensionFrequency == config.frequency) state.options.sbrDownSampled = 1;
  UpdateMix(state);
  return true;
}

bool ConfigureRaw(const AudioSpecificConfig& config, DecoderState& state) {
  state.configured = true;
  state.form = StreamForm::kRaw;
  return TakeConfiguration(config, state);
}

}  // namespace UMC::aac

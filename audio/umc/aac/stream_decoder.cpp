#include "stream_decoder.h"

#include <algorithm>

#include "adif.h"
#include "adts.h"
#include "als_config.h"
#include "ipps_crc.h"
#include "render.h"

namespace UMC::aac {

namespace {

// The longest frame of a channel (6144 bits: ISO/IEC 14496-3, 4.5.3.1), in bytes.
constexpr std::size_t kMaxChannelBytes = 768;
// Consumed of a frame that cannot be right: enough to look for the next header behind this one.
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

BlockStatus Parse(const DecoderState& state, WorkArea& work, BitWindow& stream, Ipp32u* crc) {
  return ParseRawDataBlock(stream, *SharedCodebooks(), BandsOf(state.samplingIndex, state.frameLength),
                           state.objectType, work.block, crc);
}

// Renders the parsed block, `blocks` of whose kind must fit the output. `start` and `end` are its bytes in
// the stream.
Status Render(DecoderState& state, WorkArea& work, const BitWindow& stream, std::size_t start, int blocks,
              FrameRequest& request) {
  if (!AdoptLayout(state, *request.sbr, work.block)) return UMC_ERR_INVALID_STREAM;
  const std::size_t end = stream.Position() / 8;
  AdoptSbr(state, *request.sbr, work.block, stream.Data() + start, end - start);
  const std::size_t largest = LargestRenderedBytes(state, work.block);
  if (largest * static_cast<std::size_t>(blocks) > request.outputSize - request.produced) {
    return UMC_ERR_NOT_ENOUGH_BUFFER;
  }
  RenderBlock(state, work, *request.sbr, stream.Data() + start, end - start,
              reinterpret_cast<std::int16_t*>(request.output + request.produced));
  request.produced += RenderedBytes(state);
  state.formatKnown = true;
  return UMC_OK;
}

// A block that nothing but its own end delimits.
Status DecodeRaw(DecoderState& state, WorkArea& work, FrameRequest& request) {
  BitWindow stream(request.input + request.consumed, request.inputSize - request.consumed);
  const BlockStatus parsed = Parse(state, work, stream, nullptr);
  if (parsed == BlockStatus::kOverrun && !state.configured) return UMC_ERR_NOT_ENOUGH_DATA;
  Status status = StatusOf(parsed);
  if (status == UMC_OK) status = Render(state, work, stream, 0, 1, request);
  if (state.configured) return status;
  if (status == UMC_OK) {
    request.consumed += stream.Position() / 8;
  } else if (parsed != BlockStatus::kOk) {
    request.consumed += std::min(kSkippedBytes, request.inputSize - request.consumed);
  }
  return status;
}

Status StartAdif(DecoderState& state, WorkArea& work, FrameRequest& request) {
  BitWindow stream(request.input, request.inputSize);
  ProgramConfig program;
  const bool parsed = ParseAdifHeader(stream, program);
  if (stream.Overrun()) return UMC_ERR_NOT_ENOUGH_DATA;
  const Layout layout = parsed ? LayoutOfProgram(program) : Layout{};
  if (layout.channelCount == 0) {
    request.consumed = std::min(kSkippedBytes, request.inputSize);
    return UMC_ERR_INVALID_STREAM;
  }
  state.form = StreamForm::kRaw;
  state.objectType = program.objectType + 1;
  state.samplingIndex = program.samplingIndex;
  state.frequency = kSamplingFrequencies[program.samplingIndex];
  state.frameLength = 1024;
  state.program = layout;
  ForgetPredictions(state);
  request.consumed = stream.Position() / 8;
  return DecodeRaw(state, work, request);
}

// One ADTS frame inside the input.
class AdtsFrame {
 public:
  AdtsFrame(DecoderState& state, WorkArea& work, FrameRequest& request, std::size_t start)
      : m_state(state),
        m_work(work),
        m_request(request),
        m_data(request.input + start),
        m_size(request.inputSize - start) {}

  // `header` is the parsed one at the frame's start.
  Status Decode(const AdtsHeader& header) {
    m_header = header;
    const bool countKnown = m_state.formatKnown;
    const int announced = header.channelConfiguration == 7 ? 8 : header.channelConfiguration;
    const int channels = countKnown ? m_state.carriedChannels : announced;
    // A first frame's header may tell less channels than the frame has: then its elements decide.
    const bool tooLong = channels != 0 && header.frameLength > LongestFrame(channels);
    if (tooLong && (countKnown || header.frameLength > LongestFrame(kMaxStreams))) {
      return Refuse(UMC_ERR_INVALID_STREAM);
    }
    if (!tooLong && header.frameLength > m_size) return UMC_ERR_NOT_ENOUGH_DATA;
    return DecodeBlocks(tooLong);
  }

  // Bytes of the input from the frame's start to consume.
  [[nodiscard]] std::size_t Used() const { return m_used; }

 private:
  // Gives up on the frame: the next call looks for a header behind this one.
  Status Refuse(Status status) {
    m_used = kSkippedBytes;
    return status;
  }

  [[nodiscard]] std::size_t LongestFrame(int channels) const {
    return static_cast<std::size_t>(channels * m_header.blocks) * kMaxChannelBytes + m_header.HeaderBytes();
  }

  // Where the frame ends at the latest. The header's length counts when another header or nothing follows
  // there; otherwise it is not to be trusted and only the input's end counts.
  [[nodiscard]] std::size_t Bound() const {
    const std::size_t length = m_header.frameLength;
    if (length < m_header.HeaderBytes() || length > m_size) return m_size;
    const std::size_t rest = m_size - length;
    if (rest < kAdtsPatternBytes) return length;
    const bool headerFollows = FindAdtsPattern(m_data + length, kAdtsPatternBytes, m_state.pattern) == 0;
    return headerFollows ? length : m_size;
  }

  Status DecodeBlocks(bool checkLength) {
    const std::size_t bound = Bound();
    if (bound < m_header.HeaderBytes()) return UMC_ERR_NOT_ENOUGH_DATA;
    BitWindow stream(m_data, bound);
    bool crcMatches = true;
    Ipp32u crc = kAdtsCrcStart;
    if (!m_header.protectionAbsent) {
      const std::size_t positions = 2 * static_cast<std::size_t>(m_header.blocks - 1);
      ippsCRC32_8u(m_data, 0, 8 * (kAdtsHeaderBytes + positions), kAdtsCrcPolynomial, &crc);
      stream.Seek(8 * (kAdtsHeaderBytes + positions));
      if (m_header.blocks > 1) crcMatches = stream.Read(16) == crc >> 16;
    }
    // A frame of one block has one checksum for header and block, ahead of the block.
    const bool singleCrc = !m_header.protectionAbsent && m_header.blocks == 1;
    const std::uint32_t sentCrc = singleCrc ? stream.Read(16) : 0;
    stream.Seek(8 * m_header.HeaderBytes());

    for (int i = 0; i < m_header.blocks; ++i) {
      if (!singleCrc) crc = kAdtsCrcStart;
      const std::size_t start = stream.Position() / 8;
      const BlockStatus parsed = Parse(m_state, m_work, stream, m_header.protectionAbsent ? nullptr : &crc);
      if (i == 0 && checkLength) {
        const Status length = CheckLength(parsed);
        if (length != UMC_OK) return length;
      }
      if (parsed != BlockStatus::kOk) return Refuse(StatusOf(parsed));
      const Status rendered = Render(m_state, m_work, stream, start, m_header.blocks - i, m_request);
      if (rendered == UMC_ERR_INVALID_STREAM) return Refuse(rendered);
      if (rendered != UMC_OK) return rendered;
      if (singleCrc) {
        crcMatches = sentCrc == crc >> 16;
      } else if (!m_header.protectionAbsent) {
        crcMatches = stream.Read(16) == crc >> 16 && crcMatches;
      }
    }
    m_used = std::min(std::max(stream.Position() / 8, m_header.frameLength), m_size);
    return crcMatches ? UMC_OK : UMC_WRN_CRC_MISMATCH;
  }

  // Holds a frame that is too long for the channels that its header tells against those that it has.
  Status CheckLength(BlockStatus parsed) {
    if (parsed == BlockStatus::kInvalid) return Refuse(UMC_ERR_INVALID_STREAM);
    const bool complete = parsed == BlockStatus::kOk;
    const int carried = m_work.block.channelCount + m_work.block.couplingCount;
    if (complete && m_header.frameLength > LongestFrame(carried)) {
      return Refuse(UMC_ERR_INVALID_STREAM);
    }
    return m_header.frameLength > m_size ? UMC_ERR_NOT_ENOUGH_DATA : UMC_OK;
  }

  DecoderState& m_state;
  WorkArea& m_work;
  FrameRequest& m_request;
  const std::uint8_t* m_data;
  std::size_t m_size;
  AdtsHeader m_header{};
  std::size_t m_used = 0;
};

// Decodes the frame whose header lies at `start`.
Status DecodeAdtsAt(DecoderState& state, WorkArea& work, std::size_t start, FrameRequest& request) {
  request.consumed = start;
  AdtsHeader header;
  if (request.inputSize - start < kAdtsLookBytes) return UMC_ERR_NOT_ENOUGH_DATA;
  if (!ParseAdtsHeader(request.input + start, header)) {
    request.consumed += kSkippedBytes;
    return UMC_ERR_INVALID_STREAM;
  }
  AdtsFrame frame(state, work, request, start);
  const Status status = frame.Decode(header);
  request.consumed += frame.Used();
  if (status < UMC_OK) return status;

  // Bytes behind the frame that cannot begin another one go with it.
  const std::uint8_t* rest = request.input + request.consumed;
  const std::size_t restSize = request.inputSize - request.consumed;
  if (FindAdtsPattern(rest, restSize, state.pattern) == restSize) {
    request.consumed = request.inputSize - PartialAdtsPattern(rest, restSize, state.pattern);
  }
  return status;
}

Status DecodeAdts(DecoderState& state, WorkArea& work, FrameRequest& request) {
  if (request.inputSize < kAdtsLookBytes) return UMC_ERR_NOT_ENOUGH_DATA;
  const std::size_t start = FindAdtsPattern(request.input, request.inputSize, state.pattern);
  if (start == request.inputSize) {
    request.consumed = request.inputSize - (kAdtsPatternBytes - 1);
    return UMC_ERR_NOT_ENOUGH_DATA;
  }
  return DecodeAdtsAt(state, work, start, request);
}

// The first frame of an ADTS stream. Its header's pattern is that of the stream once the frame has proved to
// be one.
Status StartAdts(DecoderState& state, WorkArea& work, FrameRequest& request) {
  if (request.inputSize < kAdtsLookBytes) return UMC_ERR_NOT_ENOUGH_DATA;
  AdtsHeader header;
  std::size_t start = 0;
  while (start + kAdtsHeaderBytes <= request.inputSize && !ParseAdtsHeader(request.input + start, header)) {
    ++start;
  }
  if (start + kAdtsHeaderBytes > request.inputSize) {
    request.consumed = request.inputSize - (kAdtsPatternBytes - 1);
    return UMC_ERR_UNSUPPORTED;
  }
  state.form = StreamForm::kAdts;
  state.pattern = AdtsPattern(request.input + start);
  state.objectType = state.containerObjectType != 0 ? state.containerObjectType : header.profile + 1;
  state.samplingIndex = header.samplingIndex;
  state.frequency = kSamplingFrequencies[header.samplingIndex];
  state.frameLength = 1024;
  ForgetPredictions(state);
  const Status status = DecodeAdtsAt(state, work, start, request);
  if (!state.formatKnown) state.form = StreamForm::kUnknown;
  return status;
}

// No decoder can be set up for a lossless stream, but its frames are not searched for headers of others.
Status StartAls(DecoderState& state, FrameRequest& request) {
  BitWindow stream(request.input, request.inputSize);
  if (ParseAlsConfig(stream)) {
    state.form = StreamForm::kAls;
    state.objectType = kObjectAls;
  }
  request.consumed = std::min((stream.Position() + 7) / 8, request.inputSize);
  return UMC_ERR_CONFIGURATION;
}

Status Start(DecoderState& state, WorkArea& work, FrameRequest& request) {
  const std::uint32_t id = BitWindow(request.input, request.inputSize).Read(32);
  if (request.inputSize >= 4 && id == kAlsId) {
    return StartAls(state, request);
  }
  if (request.inputSize >= 4 && id == kAdifId) return StartAdif(state, work, request);
  return StartAdts(state, work, request);
}

}  // namespace

Status DecodeFrame(DecoderState& state, WorkArea& work, FrameRequest& request) {
  request.consumed = 0;
  request.produced = 0;
  Status status = UMC_OK;
  switch (state.form) {
    case StreamForm::kRaw:
      status = DecodeRaw(state, work, request);
      break;
    case StreamForm::kAdts:
      status = DecodeAdts(state, work, request);
      break;
    case StreamForm::kAls:
      status = UMC_ERR_CONFIGURATION;
      break;
    default:
      status = Start(state, work, request);
  }
  if (status < UMC_OK) request.produced = 0;
  return status;
}

// ER BSAC and ALS would need decoders of their own, which cannot be set up.
bool IsServed(int objectType) {
  return objectType >= kObjectMain && objectType <= kObjectLtp;
}

bool Configure(const AudioSpecificConfig& config, DecoderState& state) {
  if (!IsServed(config.objectType)) return false;
  if (config.layout.channelCount == 0) return false;
  state.form = StreamForm::kRaw;
  state.configured = true;
  state.formatKnown = true;
  state.objectType = config.objectType;
  state.samplingIndex = config.samplingIndex;
  state.frequency = config.frequency;
  state.frameLength = config.frameLength;
  state.layout = config.layout;
  if (config.channelConfiguration == 0) state.program = config.layout;
  ForgetPredictions(state);
  state.sbrSignalled = config.sbrSignalled;
  if (config.sbrSignalled && config.extensionFrequency == config.frequency) state.options.sbrDownSampled = 1;
  return true;
}

}  // namespace UMC::aac

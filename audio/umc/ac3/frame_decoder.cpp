#include "audio/umc/ac3/frame_decoder.h"

#include <algorithm>
#include <cstring>

#include "audio/umc/ac3/downmix.h"
#include "audio/umc/ac3/dynamic_range.h"
#include "dsp/ipps_vector.h"

namespace UMC::ac3 {

namespace {

// A frame found in the input, or why none was.
struct Located {
  Status status;      // 0, 4 for a damaged frame, or an error
  std::size_t start;  // offset of a good frame
  std::size_t end;    // end of the bytes to consume
  bool frameFollows;  // another frame begins at `end`, as far as can be seen
  SyncInfo sync;      // header of the frame, if readable
};

// A damaged frame at the input's start. Its own size is trusted if another frame, or nothing, follows there;
// otherwise the search for the next frame begins after the sync word.
Located Damaged(const FrameRequest& request, const SyncInfo& sync) {
  const std::uint8_t* input = request.input;
  const std::size_t size = request.inputSize;
  if (sync.bytes != 0 && (size - sync.bytes < 2 || IsSyncWord(input + sync.bytes))) {
    return {UMC_WRN_CRC_MISMATCH, 0, sync.bytes, true, sync};
  }
  return {UMC_WRN_CRC_MISMATCH, 0, FindFrame(input, 1, size), false, sync};
}

// Locates the frame at the input's start.
Located LocateHere(const DecoderState& state, const FrameRequest& request) {
  const std::uint8_t* input = request.input;
  const std::size_t size = request.inputSize;
  if (size < kSyncInfoBytes) return {UMC_ERR_NOT_ENOUGH_DATA, 0, 0, state.atFrame, {}};
  SyncInfo sync{};
  switch (ParseSyncInfo(input, sync)) {
    case SyncStatus::kOtherVersion:
      return {UMC_ERR_UNSUPPORTED, 0, FindFrame(input, 1, size), false, {}};
    case SyncStatus::kInvalid:
      return Damaged(request, sync);
    default:
      break;
  }
  if (sync.bytes > size) return {UMC_ERR_NOT_ENOUGH_DATA, 0, 0, state.atFrame, {}};
  if (!ChecksumsHold(input, sync)) return Damaged(request, sync);
  return {UMC_OK, 0, sync.bytes, true, sync};
}

// Locates the first frame after bytes that are not part of one. A candidate must be verified.
Located LocateNext(const FrameRequest& request) {
  const std::uint8_t* input = request.input;
  const std::size_t size = request.inputSize;
  PassingCrc crc(input);
  std::size_t start = FindFrame(input, 0, size);
  for (; size - start >= kSyncInfoBytes; start = FindFrame(input, start + 1, size)) {
    SyncInfo sync{};
    ParseSyncInfo(input + start, sync);
    if (sync.bytes > size - start) break;
    if (ChecksumsHold(crc, start, sync)) return {UMC_OK, start, start + sync.bytes, true, sync};
  }
  return {UMC_ERR_NOT_ENOUGH_DATA, 0, start, false, {}};
}

Located Locate(const DecoderState& state, const FrameRequest& request) {
  const bool here = state.atFrame || (request.inputSize >= 2 && IsSyncWord(request.input));
  return here ? LocateHere(state, request) : LocateNext(request);
}

// Downmixes the block's channels and writes their samples.
class Renderer {
 public:
  Renderer(DecoderState& state, const BitStreamInformation& info)
      : m_state(state),
        m_info(info),
        m_mix(MakeDownmix(info, state.options.CodingMode(), state.options.lfe != 0)) {}

  // `index` is the block's number in the frame.
  void Render(int index, std::uint8_t* output) {
    const AudioBlock& block = m_state.block;
    const float* samples[kMaxChannels];
    const int programmes = m_info.mode == kDualMono ? 2 : 1;
    for (int i = 0; i < programmes; ++i) m_dynamicRange[i] = DynamicRangeGain(block.dynamicRange[i]);
    for (int i = 0; i < m_mix.outputs; ++i) {
      const bool plain = Sum(i, false), switched = Sum(i, true);
      samples[i] = SynthesiseBlock(plain ? m_state.sums[0] : nullptr, switched ? m_state.sums[1] : nullptr,
                                   index, m_state.overlaps[i], m_state.scratch);
    }
    ippsJoin_32f16s_D2L(samples, static_cast<std::size_t>(m_mix.outputs), kBlockSamples,
                        reinterpret_cast<Ipp16s*>(output));
  }

 private:
  // Sums an output's coefficients from channels with one kind of transform. False if there are none.
  bool Sum(int output, bool switched) {
    const AudioBlock& block = m_state.block;
    float* sum = m_state.sums[switched ? 1 : 0];
    bool any = false;
    for (int i = 0; i < kMaxChannels; ++i) {
      const bool isLfe = i == kLfe;
      if (isLfe ? !m_info.lfe : i >= m_info.FullChannels()) continue;
      const bool isSwitched = !isLfe && block.blockSwitch[i];
      if (m_mix.gains[output][i] == 0 || isSwitched != switched) continue;
      if (!any) std::fill_n(sum, kBins, 0.0f);
      any = true;
      const int programme = m_info.mode == kDualMono && i == 1 ? 1 : 0;
      ippsAddProductC_32f(block.channels[i].coefficients, m_mix.gains[output][i] * m_dynamicRange[programme],
                          sum, kBins);
    }
    return any;
  }

  DecoderState& m_state;
  const BitStreamInformation& m_info;
  Downmix m_mix;
  float m_dynamicRange[2] = {1, 1};
};

constexpr std::size_t kSyncFields = 40;  // bits before bsi()
constexpr std::size_t kChecksumBytes = 2;

bool DecodeBlocks(DecoderState& state, const std::uint8_t* frame, const SyncInfo& sync,
                  std::uint8_t* output) {
  fmp4::BitWindow stream(frame, sync.bytes - kChecksumBytes);
  stream.Seek(kSyncFields);
  const BitStreamInformation info = ParseBitStreamInformation(stream);
  DitherGenerator generator(frame, sync.bytes);
  Renderer renderer(state, info);
  BeginFrame(state.block);
  for (int i = 0; i < kBlocks; ++i) {
    if (!ParseSideInformation(stream, info, state.block) || stream.Overrun() ||
        !AllocateBlock(sync, info, state.block) || !ParseCoefficients(stream, info, state.block, generator) ||
        stream.Overrun()) {
      return false;
    }
    renderer.Render(i, output);
    output += FrameBytes(state) / kBlocks;
  }
  state.formatKnown = true;
  state.sync = sync;
  state.info = info;
  return true;
}

void ResetOverlaps(DecoderState& state) {
  std::memset(state.overlaps, 0, sizeof state.overlaps);
}

}  // namespace

std::size_t FrameBytes(const DecoderState& state) {
  return static_cast<std::size_t>(state.options.Channels()) * kFrameSamples * sizeof(std::int16_t);
}

Status DecodeFrame(DecoderState& state, FrameRequest& request) {
  const Located located = Locate(state, request);
  if (located.status < UMC_OK) {
    request.consumed = located.end;
    state.atFrame = located.frameFollows;
    return located.status;
  }
  if (request.outputSize < FrameBytes(state)) {
    request.consumed = 0;
    if (located.status != UMC_OK) ResetHistory(state);
    return UMC_ERR_NOT_ENOUGH_BUFFER;
  }
  request.consumed = located.end;
  state.atFrame = located.frameFollows;
  if (located.sync.frequency != 0) state.frequency = located.sync.frequency;
  const std::uint8_t* frame = request.input + located.start;
  if (located.status == UMC_OK && DecodeBlocks(state, frame, located.sync, request.output)) return UMC_OK;
  ResetOverlaps(state);
  std::memset(request.output, 0, FrameBytes(state));
  return UMC_WRN_CRC_MISMATCH;
}

void SetOptions(const AC3DecoderParams& params, DecoderState& state) {
  const OutputOptions before = state.options;
  ApplyOptions(params, state.options);
  const bool sameChannels =
      state.options.CodingMode() == before.CodingMode() && state.options.lfe == before.lfe;
  if (!sameChannels) ResetOverlaps(state);
}

void ResetHistory(DecoderState& state) {
  ResetOverlaps(state);
  state.atFrame = false;
  state.endTime = 0;
}

}  // namespace UMC::ac3

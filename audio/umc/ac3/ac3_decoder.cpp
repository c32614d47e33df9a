#include "audio/umc/ac3/ac3_decoder.h"

#include <algorithm>
#include <iterator>
#include <new>

#include "audio/umc/ac3/ac3_state.h"
#include "audio/umc/ac3/frame_decoder.h"
#include "audio/umc/ac3/transform.h"
#include "audio/umc/audio_data.h"
#include "dsp/ipps_memory.h"

namespace UMC {

namespace {

constexpr double kNoTime = -1.0;

// Speaker mask as in WAVE files, by audio coding mode.
std::uint32_t ChannelMask(int mode, bool lfe) {
  constexpr std::uint32_t kMasks[8] = {0x3, 0x4, 0x3, 0x7, 0x103, 0x107, 0x33, 0x37};
  constexpr std::uint32_t kLfeMask = 0x8;
  return kMasks[mode] | (lfe ? kLfeMask : 0);
}

// Describes the samples of every frame. The other fields of `info` are unchanged.
void DescribeSamples(const ac3::DecoderState& state, AudioStreamInfo& info) {
  info.bitsPerSample = kPcmBitsPerSample;
  info.channels = static_cast<std::uint32_t>(state.options.Channels());
  info.sampleFrequency = state.frequency;
}

AudioStreamInfo OutputInfo(const ac3::DecoderState& state) {
  AudioStreamInfo info;
  DescribeSamples(state, info);
  info.streamType = UMC_STREAM_PCM;
  info.channelMask = ChannelMask(state.options.CodingMode(), state.options.lfe != 0);
  return info;
}

AudioStreamInfo InputInfo(const ac3::DecoderState& state) {
  AudioStreamInfo info;
  info.channels = static_cast<std::uint32_t>(state.info.FullChannels() + (state.info.lfe ? 1 : 0));
  info.sampleFrequency = state.sync.frequency;
  info.bitRate = state.sync.bitRate;
  info.bitsPerSample = kPcmBitsPerSample;
  info.streamType = UMC_STREAM_AC3;
  info.channelMask = ChannelMask(state.info.mode, state.info.lfe);
  return info;
}

void DescribeStream(const ac3::BitStreamInformation& info, AC3StreamParams& params) {
  params.m_version = info.version;
  params.m_serviceType = info.serviceType;
  params.m_codingMode = info.mode;
  params.m_lfe = info.lfe ? 1 : 0;
  params.m_surroundMode = info.surroundMode;
  std::copy(std::begin(info.dialogueLevels), std::end(info.dialogueLevels), params.m_dialogueLevels);
}

}  // namespace

// The state, locked in memory for the duration of one operation.
class AC3Decoder::Locked {
 public:
  explicit Locked(AC3Decoder& decoder) : m_decoder(decoder) {
    if (decoder.m_stateId == 0) return;
    m_state = static_cast<ac3::DecoderState*>(decoder.LockMemory(decoder.m_stateId));
  }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;
  ~Locked() {
    if (m_state != nullptr) m_decoder.UnlockMemory(m_decoder.m_stateId);
  }

  explicit operator bool() const { return m_state != nullptr; }
  [[nodiscard]] ac3::DecoderState& State() const { return *m_state; }

 private:
  AC3Decoder& m_decoder;
  ac3::DecoderState* m_state = nullptr;
};

AC3Decoder::~AC3Decoder() {
  AC3Decoder::Close();
}

Status AC3Decoder::AllocateState() {
  ac3::PrepareTransforms();
  const Status status = m_allocator->Alloc(&m_stateId, sizeof(ac3::DecoderState), 0, kIppsAlignment);
  if (status != UMC_OK) return UMC_ERR_ALLOC;
  Locked locked(*this);
  if (!locked) return UMC_ERR_ALLOC;
  new (&locked.State()) ac3::DecoderState{};
  locked.State().frequency = ac3::kDefaultFrequency;
  return UMC_OK;
}

Status AC3Decoder::Init(BaseCodecParams* params) {
  Close();
  Status status = BaseCodec::Init(params);
  if (status == UMC_OK) status = AllocateState();
  if (status == UMC_OK && params != nullptr) status = SetParams(params);
  if (status != UMC_OK) Close();
  return status;
}

Status AC3Decoder::GetFrame(MediaData* input, MediaData* output) {
  Locked locked(*this);
  if (!locked) return UMC_ERR_NOT_INITIALIZED;
  if (input == nullptr || output == nullptr || input->GetDataPointer() == nullptr ||
      output->GetDataPointer() == nullptr) {
    return UMC_ERR_NULL_PTR;
  }
  ac3::DecoderState& state = locked.State();

  auto* samples = static_cast<std::uint8_t*>(output->GetDataPointer());
  const auto lost =
      static_cast<std::size_t>(samples - static_cast<std::uint8_t*>(output->GetBufferPointer()));
  ac3::FrameRequest request{};
  request.input = static_cast<const std::uint8_t*>(input->GetDataPointer());
  request.inputSize = static_cast<std::size_t>(input->GetDataSize());
  request.output = samples;
  request.outputSize = static_cast<std::size_t>(output->GetBufferSize()) - lost;
  const Status status = ac3::DecodeFrame(state, request);
  input->MoveDataPointer(static_cast<std::ptrdiff_t>(request.consumed));
  if (status < UMC_OK) return status;

  const double start = input->GetTime() == kNoTime ? state.endTime : input->GetTime();
  const float duration = static_cast<float>(ac3::kFrameSamples) / static_cast<float>(state.frequency);
  state.endTime = start + static_cast<double>(duration);
  output->SetTime(start, state.endTime);
  output->SetDataSize(ac3::FrameBytes(state));
  auto* audio = DynamicCast<AudioData>(output);
  if (audio != nullptr && status == UMC_OK) {
    DescribeSamples(state, audio->m_info);
    audio->m_isSigned = 1;
  }
  return status;
}

Status AC3Decoder::GetInfo(BaseCodecParams* params) {
  auto* audio = DynamicCast<AudioCodecParams>(params);
  if (audio == nullptr) return UMC_ERR_NULL_PTR;
  Locked locked(*this);
  if (!locked) return UMC_ERR_NOT_INITIALIZED;
  const ac3::DecoderState& state = locked.State();
  if (!state.formatKnown) return UMC_WRN_INFO_NOT_READY;

  audio->m_output = OutputInfo(state);
  audio->m_input = InputInfo(state);
  if (auto* stream = DynamicCast<AC3StreamParams>(params)) DescribeStream(state.info, *stream);
  return UMC_OK;
}

Status AC3Decoder::Close() {
  if (m_stateId != 0) FreeMemory(m_stateId);
  m_stateId = 0;
  return UMC_OK;
}

Status AC3Decoder::Reset() {
  Locked locked(*this);
  if (!locked) return UMC_ERR_NOT_INITIALIZED;
  ac3::ResetHistory(locked.State());
  return UMC_OK;
}

Status AC3Decoder::SetParams(BaseCodecParams* params) {
  auto* options = DynamicCast<AC3DecoderParams>(params);
  if (options == nullptr) return UMC_ERR_NULL_PTR;
  Locked locked(*this);
  if (!locked) return UMC_ERR_NOT_INITIALIZED;
  ac3::SetOptions(*options, locked.State());
  return UMC_OK;
}

}  // namespace UMC

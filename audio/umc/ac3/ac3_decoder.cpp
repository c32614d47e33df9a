#include "ac3_decoder.h"

#include <new>

#include "ac3_state.h"
#include "audio_data.h"
#include "frame_decoder.h"
#include "transform.h"

namespace UMC {

namespace {

constexpr std::uint32_t kBlockAlignment = 16;
constexpr std::uint32_t kBitsPerSample = 16;
constexpr double kNoTime = -1.0;

// Speakers as WAVE files name them, by audio coding mode.
std::uint32_t ChannelMask(int mode, bool lfe) {
  constexpr std::uint32_t kMasks[8] = {0x3, 0x4, 0x3, 0x7, 0x103, 0x107, 0x33, 0x37};
  constexpr std::uint32_t kLfeMask = 0x8;
  return kMasks[mode] | (lfe ? kLfeMask : 0);
}

AudioStreamInfo OutputInfo(const ac3::DecoderState& state) {
  AudioStreamInfo info;
  info.channels = static_cast<std::uint32_t>(state.options.Channels());
  info.sampleFrequency = state.frequency;
  info.bitsPerSample = kBitsPerSample;
  info.streamType = UMC_STREAM_PCM;
  info.channelMask = ChannelMask(state.options.CodingMode(), state.options.lfe != 0);
  return info;
}

}  // namespace

// The state at its place for the time of one operation.
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
  if (ac3::SharedTransforms() == nullptr) return UMC_ERR_ALLOC;
  const Status status = m_allocator->Alloc(&m_stateId, sizeof(ac3::DecoderState), 0, kBlockAlignment);
  if (status != UMC_OK) return UMC_ERR_ALLOC;
  Locked locked(*this);
  if (!locked) return UMC_ERR_ALLOC;
  new (&locked.State()) ac3::DecoderState{};
  locked.State().frequency = ac3::kDefaultFrequency;
  return UMC_OK;
}

Status AC3Decoder::Init(BaseCodecParams* params) {
  if (params == nullptr) return UMC_ERR_NULL_PTR;
  Close();
  Status status = BaseCodec::Init(params);
  if (status == UMC_OK) status = AllocateState();
  if (status != UMC_OK) {
    Close();
    return status;
  }
  if (DynamicCast<AC3DecoderParams>(params) != nullptr) SetParams(params);
  return UMC_OK;
}

Status AC3Decoder::GetFrame(MediaData* input, MediaData* output) {
  if (input == nullptr || output == nullptr || input->GetDataPointer() == nullptr ||
      output->GetDataPointer() == nullptr) {
    return UMC_ERR_NULL_PTR;
  }
  Locked locked(*this);
  if (!locked) return UMC_ERR_NOT_INITIALIZED;
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
  if (audio != nullptr && status == UMC_OK) audio->m_info = OutputInfo(state);
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
  audio->m_input = {};
  audio->m_input.channels = static_cast<std::uint32_t>(state.info.FullChannels() + (state.info.lfe ? 1 : 0));
  audio->m_input.sampleFrequency = state.sync.frequency;
  audio->m_input.bitRate = state.sync.bitRate;
  audio->m_input.bitsPerSample = kBitsPerSample;
  audio->m_input.channelMask = ChannelMask(state.info.mode, state.info.lfe);
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
  ac3::ForgetSignal(locked.State());
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

#include "audio/umc/aac/aac_decoder.h"

#include <iterator>

#include "audio/umc/aac/core/codebooks.h"
#include "audio/umc/aac/core/filter_bank.h"
#include "audio/umc/aac/decoder_history.h"
#include "audio/umc/aac/output_format.h"
#include "audio/umc/aac/ps/codebooks.h"
#include "audio/umc/aac/sbr/codebooks.h"
#include "audio/umc/aac/sbr/sbr_decoder.h"
#include "audio/umc/aac/stream_decoder.h"
#include "audio/umc/audio_data.h"

namespace UMC {

namespace {

// The first flag is added to the profile flags once SBR data were decoded; the second indicates that the
// stream has SBR, even if only according to its configuration.
constexpr std::uint32_t kProfileSbr = 16;
constexpr std::uint32_t kSbrPresent = 0x100;

// The profile flags of an audio object type.
std::uint32_t ProfileFlags(int objectType) {
  switch (objectType) {
    case aac::kObjectMain:
      return 4;
    case aac::kObjectLc:
      return 1;
    case aac::kObjectSsr:
      return 8;
    case aac::kObjectLtp:
      return 2;
    case aac::kObjectBsac:
      return 64;
    case aac::kObjectAls:
      return 32;
    default:
      return 0;
  }
}

std::uint32_t ChannelMask(std::uint32_t channels) {
  constexpr std::uint32_t kMasks[] = {0, 4, 3, 7, 15, 55, 63};
  return channels < std::size(kMasks) ? kMasks[channels] : 0;
}

// Adopts the requested output channels if the downmix supports their number, otherwise the stream's own.
void ReadOutputOptions(const AudioCodecParams& params, aac::DecoderState& state) {
  const std::uint32_t channels = params.m_output.channels;
  state.outputChannels = channels <= aac::kMaxChannels ? static_cast<int>(channels) : 0;
  state.outputFrequency = params.m_output.sampleFrequency;
}

AudioStreamInfo OutputInfo(const aac::DecoderState& state) {
  const bool supported = state.form != aac::StreamForm::kUnsupported;
  AudioStreamInfo info;
  info.channels = supported ? static_cast<std::uint32_t>(state.mix.outputs) : state.unsupportedChannels;
  info.sampleFrequency = supported ? aac::OutputFrequency(state) : state.config.frequency;
  info.bitsPerSample = kPcmBitsPerSample;
  info.streamType = UMC_STREAM_PCM;
  info.channelMask = ChannelMask(info.channels);
  return info;
}

}  // namespace

AACDecoder::~AACDecoder() {
  AACDecoder::Close();
}

Status AACDecoder::Init(BaseCodecParams* params) {
  if (params == nullptr) return UMC_ERR_NULL_PTR;
  Close();
  auto* audio = DynamicCast<AudioCodecParams>(params);
  const bool configured = audio != nullptr && audio->m_input.streamType == UMC_STREAM_AAC_CONFIGURED;
  aac::AudioSpecificConfig config;
  if (configured) {
    MediaData* data = params->m_configuration;
    if (data == nullptr || data->GetDataPointer() == nullptr) return UMC_ERR_INVALID_PARAMS;
    const auto size = static_cast<std::size_t>(data->GetDataSize());
    if (!aac::ParseAudioSpecificConfig(static_cast<std::uint8_t*>(data->GetDataPointer()), size, config)) {
      return UMC_ERR_CONFIGURATION;
    }
  }

  Status status = BaseCodec::Init(params);
  if (status == UMC_OK) status = m_memory.Allocate(*m_allocator);
  if (status != UMC_OK) return status;
  if (aac::SharedCodebooks() == nullptr || aac::SharedFilterBank(1024) == nullptr ||
      aac::SharedFilterBank(960) == nullptr || aac::SharedSbrCodebooks() == nullptr ||
      aac::SharedSbrFilterBanks() == nullptr || aac::SharedPsCodebooks() == nullptr) {
    Close();
    return UMC_ERR_ALLOC;
  }

  {
    const aac::LockedMemory locked(m_memory);
    status = locked ? UMC_OK : UMC_ERR_ALLOC;
    if (status == UMC_OK) {
      aac::DecoderState& state = locked.State();
      if (auto* options = DynamicCast<AACDecoderParams>(params)) aac::ApplyOptions(*options, state.options);
      if (audio != nullptr) ReadOutputOptions(*audio, state);
      if (configured && !aac::ConfigureRaw(config, state)) status = UMC_ERR_CONFIGURATION;
    }
  }
  if (status != UMC_OK) Close();
  return status;
}

Status AACDecoder::GetFrame(MediaData* input, MediaData* output) {
  if (input == nullptr || output == nullptr || input->GetDataPointer() == nullptr ||
      output->GetDataPointer() == nullptr) {
    return UMC_ERR_NULL_PTR;
  }
  aac::LockedMemory locked(m_memory);
  if (!locked) return UMC_ERR_NOT_INITIALIZED;

  const auto filled = static_cast<std::size_t>(output->GetDataSize());
  auto* samples = static_cast<std::uint8_t*>(output->GetDataPointer());
  const auto lost =
      static_cast<std::size_t>(samples - static_cast<std::uint8_t*>(output->GetBufferPointer()));
  aac::FrameRequest request{};
  request.input = static_cast<const std::uint8_t*>(input->GetDataPointer());
  request.inputSize = static_cast<std::size_t>(input->GetDataSize());
  request.output = samples + filled;
  request.outputSize = static_cast<std::size_t>(output->GetBufferSize()) - lost - filled;
  const Status status = aac::DecodeFrame(locked, request);
  input->MoveDataPointer(static_cast<std::ptrdiff_t>(request.consumed));
  if (status < UMC_OK) return status;

  output->SetDataSize(filled + request.produced);
  if (auto* audio = DynamicCast<AudioData>(output)) audio->m_info = OutputInfo(locked.State());
  return status;
}

Status AACDecoder::GetInfo(BaseCodecParams* params) {
  auto* audio = DynamicCast<AudioCodecParams>(params);
  if (audio == nullptr) return UMC_ERR_NULL_PTR;
  const aac::LockedMemory locked(m_memory);
  if (!locked) return UMC_ERR_NOT_INITIALIZED;
  const aac::DecoderState& state = locked.State();
  if (!state.formatKnown) return UMC_WRN_INFO_NOT_READY;

  audio->m_output = OutputInfo(state);
  audio->m_input = audio->m_output;
  if (state.form != aac::StreamForm::kUnsupported) audio->m_input.channels = state.layout.channelCount;
  audio->m_input.channelMask = ChannelMask(audio->m_input.channels);
  audio->m_input.streamType = UMC_STREAM_AAC;
  audio->m_input.streamSubtype = ProfileFlags(state.config.objectType) + (state.sbrSeen ? kProfileSbr : 0) +
                                 (aac::HasSbr(state) ? kSbrPresent : 0);
  return UMC_OK;
}

Status AACDecoder::Close() {
  m_memory.Free();
  return UMC_OK;
}

Status AACDecoder::Reset() {
  aac::LockedMemory locked(m_memory);
  if (!locked) return UMC_ERR_NOT_INITIALIZED;
  aac::Restart(locked);
  if (locked.Sbr() != nullptr) aac::InvalidateSbrHeaders(*locked.Sbr());
  locked.State().blank = false;
  return UMC_OK;
}

Status AACDecoder::PassLostBlock() {
  aac::LockedMemory locked(m_memory);
  if (!locked) return UMC_ERR_NOT_INITIALIZED;
  aac::PassLostBlock(locked);
  return UMC_OK;
}

Status AACDecoder::SetBlock(std::uint64_t number) {
  aac::LockedMemory locked(m_memory);
  if (!locked) return UMC_ERR_NOT_INITIALIZED;
  if (number == 0 && locked.Sbr() != nullptr) aac::ForgetSbrHeaders(*locked.Sbr());
  locked.State().numbered = true;
  locked.State().block = number;
  return UMC_OK;
}

bool AACDecoder::Converged() {
  const aac::LockedMemory locked(m_memory);
  return locked && aac::IsConverged(locked);
}

Status AACDecoder::SetConfiguration(const aac::AudioSpecificConfig& config) {
  const aac::LockedMemory locked(m_memory);
  if (!locked) return UMC_ERR_NOT_INITIALIZED;
  return aac::TakeConfiguration(config, locked.State()) ? UMC_OK : UMC_ERR_CONFIGURATION;
}

Status AACDecoder::SetParams(BaseCodecParams* params) {
  auto* options = DynamicCast<AACDecoderParams>(params);
  if (options == nullptr) return UMC_ERR_NULL_PTR;
  const aac::LockedMemory locked(m_memory);
  if (!locked) return UMC_ERR_NOT_INITIALIZED;
  aac::DecoderState& state = locked.State();
  aac::ApplyOptions(*options, state.options);
  ReadOutputOptions(*options, state);
  aac::UpdateMix(state);
  return UMC_OK;
}

}  // namespace UMC

#include "recording/write/fragment_setup.h"

#include <limits>

#include "recording/track_number.h"
#include "recording/write/default_boxes.h"

namespace fmp4 {

mp4::Track setUpAudioTrack(const AudioSettings& audio) {
  mp4::Track track = Mp4SetUpAudioTrack(trackNumber(mp4::TrackKind::Audio), audio.sampleRate);
  mp4::DecoderConfigDescriptor& config = std::get<mp4::AudioMedia>(track.media).esds.decoderConfig.emplace();
  config.objectTypeIndication = kAudioObjectType;
  config.streamType = 0x15;  // audio stream
  config.bufferSizeDB = 6144;
  config.maxBitrate = 352000;
  config.decoderSpecificInfo = audio.configuration;
  return track;
}

void setDecodeTime(mp4::TrackFragment& track, std::uint64_t ticks) {
  track.tfdt.version = ticks > std::numeric_limits<std::uint32_t>::max() ? 1 : 0;
  track.tfdt.baseMediaDecodeTime = ticks;
}

}  // namespace fmp4

// One audio track being read: its decoder, where it stands, and what it needs to decode a unit.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "audio_decode.h"
#include "audio_timeline.h"
#include "frame_rate.h"
#include "qvr.h"
#include "track_cursor.h"

// The AudioSpecificConfig in an `esds` of a sample entry, or of QuickTime's "wave" in it; empty when there is
// none.
std::vector<std::uint8_t> FindAudioSpecificConfig(Mp4Box* sampleEntry);

// The header that goes ahead of each AAC sample of a track, made of its configuration's first two bytes.
//
// Intended, odd as it is: the profile is the object type's low bits as they stand, any channel configuration
// comes out as 2, and of the frame's length only some bits are carried. Hosts' decoders know it so.
class AdtsHeader {
 public:
  static constexpr std::uint32_t kBytes = 7;

  // `configuration` holds at least two bytes.
  explicit AdtsHeader(const std::vector<std::uint8_t>& configuration);
  // Writes the header of a sample of `sampleBytes` bytes.
  void write(std::uint32_t sampleBytes, std::uint8_t* out) const;

 private:
  std::uint8_t profileAndRate_;
  std::uint8_t channels_;
};

// A track's place among the channels, its description, and its reading state.
class AudioTrack {
 public:
  // `holder` and `decoder` are the media-file object's and outlive the track.
  AudioTrack(const IndexedTrack& track, QVRSTREAM& holder, VL_Audio_Decode& decoder,
             std::vector<std::uint8_t> configuration);

  // Opens the decoder that the track's codec needs, unless it is open.
  void openDecoder();
  // Closes it and gives its memory back.
  void closeDecoder();

  // Bytes that hold a video frame's sound as it is delivered, at `fps` frames a second.
  std::uint32_t deliveredBufferSize(const FrameRate& fps) const;

  const QVRAUDIO& description() const { return holder_.audio; }
  VL_Audio_Decode& decoder() { return decoder_; }
  const IndexedTrack& track() const { return track_; }

  // How reading a range ended.
  enum class Outcome {
    Delivered,   // as far as the track goes
    NoRun,       // a run of the fragment being read does not load
    NoFragment,  // behind the last unit, with nothing delivered
    Refused      // a unit claims a duration that no unit has
  };

  // Stands the track at a position, so that reading on gives what reading from the start gives there: the
  // unit before is decoded first, for a unit overlaps into the next, and as many before that as the decoder
  // needs. Returns 0 or -1.
  int seek(FragmentIndex& index, std::uint64_t position);
  // Whether the track stands where reading can go on.
  bool inPlace() const { return cursor_.loaded(); }
  // Writes sample frames [position, position + count) to `out`, as far as the track goes; silence where it
  // has gaps. `bytes` receives the bytes written.
  Outcome read(FragmentIndex& index, std::uint64_t position, std::uint64_t count, std::uint8_t* out,
               std::uint32_t& bytes);

  std::uint32_t nextExpected = QVR_NOT_SET;  // the position that the host reads next when it reads on

 private:
  // Stands the track at a unit, with nothing of the signal known. Returns 0 or -1.
  int standAt(FragmentIndex& index, const AudioUnit& unit);
  // Stands the track at `unit`, the units from number `first` on decoded. Returns 1, 0 when they cannot be
  // decoded and nothing of the signal is known, or -1.
  int leadIn(FragmentIndex& index, std::uint64_t first, const AudioUnit& unit);
  // Decodes the unit at the cursor into the decoder's buffer and passes it.
  Outcome decodeUnit(FragmentIndex& index);
  Outcome advance(FragmentIndex& index);

  IndexedTrack track_;
  QVRSTREAM& holder_;
  VL_Audio_Decode& decoder_;
  std::vector<std::uint8_t> configuration_;
  TrackCursor cursor_;
  AudioClock clock_;                         // at the cursor's unit
  std::unique_ptr<AudioTimeline> timeline_;  // made when first needed
  std::vector<std::uint8_t> unit_;           // a sample behind its header
};

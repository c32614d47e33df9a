// One audio track being read: its decoder, where it stands, and what it needs to decode a unit.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "audio/audio_decode.h"
#include "base/exact_time.h"
#include "qvr.h"
#include "streaming/index/audio_timeline.h"
#include "streaming/index/track_cursor.h"

// The AudioSpecificConfig in an `esds` of a sample entry, or of QuickTime's "wave" in it; empty when there is
// none.
std::vector<std::uint8_t> FindAudioSpecificConfig(Mp4Box* sampleEntry);

// The objectTypeIndication in an `esds` of a sample entry, 0 when there is none.
std::uint8_t FindAudioObjectType(Mp4Box* sampleEntry);

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

  // Sample frames that the track's samples state to last, all together; 0 where there are none.
  std::uint64_t statedLength(FragmentIndex& index);
  // Describes the track as so many sample frames long.
  void setLength(std::uint32_t frames) { holder_.audio.stream.length = frames; }

  // How reading a range ended.
  enum class Outcome {
    Delivered,   // as far as the track goes
    NoRun,       // a run of the fragment being read does not load
    NoFragment,  // the next fragment does not load
    End,         // after the last unit, with nothing delivered
    Refused,     // a unit claims a duration that no unit has, or memory is short
    Undecodable  // no unit of the track decodes
  };

  // What a read has written.
  struct Delivery {
    std::uint32_t bytes = 0;
    std::uint32_t lostUnits = 0;  // units that it came to and that could not be read or decoded
  };

  // Stands the track at a position, so that reading on gives what reading from the start gives there: the
  // unit before is decoded first, for a unit overlaps into the next, and as many before that as the decoder
  // needs. Returns 0 or -1.
  int seek(FragmentIndex& index, std::uint64_t position);
  // Whether reading on from the position needs no seek. After a read that failed the track stands nowhere.
  bool standsAt(std::uint64_t position) const { return position_ == position && cursor_.loaded(); }
  // Writes sample frames [position, position + count), at which the track stands, to `out`, as far as the
  // track goes; silence where it has gaps, and for the time of units that are lost.
  Outcome read(FragmentIndex& index, std::uint64_t position, std::uint64_t count, std::uint8_t* out,
               Delivery& delivery);

  // Notes that the track's codec is none that is decoded here.
  void setUndecodable() { undecodable_ = true; }
  // Whether it is known that nothing of the track can be decoded: reading it fails.
  bool undecodable() const { return undecodable_; }

  std::uint32_t nextExpected = QVR_NOT_SET;  // the position that the host reads next when it reads on

 private:
  static constexpr std::uint64_t kNowhere = ~std::uint64_t{0};

  enum class Unit { Decoded, Lost, NoMemory };
  // What decoding ahead of a unit has made of the decoder.
  enum class Lead { Failed, Unsettled, Settled };

  AudioTimeline& timeline(FragmentIndex& index);
  int standAtPosition(FragmentIndex& index, std::uint64_t position);
  // Stands the track at a unit, with nothing of the signal known. Returns 0 or -1.
  int standAt(FragmentIndex& index, const AudioUnit& unit);
  // Stands the track at `unit`, the units from number `first` on decoded.
  Lead leadIn(FragmentIndex& index, std::uint64_t first, const AudioUnit& unit);
  // Whether the unit at the cursor states a duration that no unit has.
  bool lastsTooLong() const;
  // Decodes the unit at the cursor into the decoder's buffer and passes it.
  Unit decodeUnit(FragmentIndex& index);
  // Hands the unit at the cursor to the decoder. Returns whether it decoded.
  bool feedDecoder(FragmentIndex& index, std::uint64_t frames);
  // Whether any unit decodes. Leaves the track standing nowhere. Throws std::bad_alloc when memory is short.
  bool anyUnitDecodes(FragmentIndex& index);
  // Brings the time of the next unit, or of silence, to a position at which there is none yet.
  Outcome fill(FragmentIndex& index, std::uint64_t position, Delivery& delivery);
  Outcome decodeNext(FragmentIndex& index, std::uint64_t position, Delivery& delivery);
  void deliver(std::uint64_t position, std::uint64_t count, std::uint8_t* out, Delivery& delivery);
  Outcome advance(FragmentIndex& index);

  IndexedTrack track_;
  QVRSTREAM& holder_;
  VL_Audio_Decode& decoder_;
  std::vector<std::uint8_t> configuration_;
  TrackCursor cursor_;
  AudioClock clock_;                         // at the cursor's unit
  std::unique_ptr<AudioTimeline> timeline_;  // made when first needed
  std::vector<std::uint8_t> unit_;           // a sample behind its header

  std::uint64_t number_ = 0;           // of the cursor's unit, from the track's first
  std::uint64_t position_ = kNowhere;  // what reading on gives next
  std::uint64_t filledTo_ = 0;         // PCM of the last unit, or silence, is at hand up to here
  std::uint64_t lostTo_ = 0;           // where the last unit ends by its stated duration, if it is lost
  bool losing_ = false;                // the last unit delivered was lost
  bool everDecoded_ = false;           // some unit of the track has decoded
  bool undecodable_ = false;
};

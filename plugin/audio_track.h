// Reads one audio track: its decoder, its position, and the data needed to decode an access unit.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "audio/audio_decode.h"
#include "base/exact_time.h"
#include "plugin/pre_roll.h"
#include "qvr.h"
#include "streaming/index/audio_timeline.h"
#include "streaming/index/track_cursor.h"

namespace fmp4 {

// The AudioSpecificConfig from an `esds` in a sample entry or in its QuickTime "wave" box; empty if there is
// none.
std::vector<std::uint8_t> findAudioSpecificConfig(Mp4Box* sampleEntry);

// The objectTypeIndication from an `esds` of a sample entry, 0 if there is none.
std::uint8_t findAudioObjectType(Mp4Box* sampleEntry);

// The ADTS header before each AAC sample of a track, made from the first two bytes of its configuration.
//
// Intended (quirk 24), although unusual: the profile is the low bits of the object type, unchanged; any
// channel configuration is written as 2; and only some bits of the frame length are stored. Hosts' decoders
// rely on this.
class AdtsHeader {
 public:
  static constexpr std::uint32_t kBytes = 7;

  // `configuration` must hold at least two bytes.
  explicit AdtsHeader(const std::vector<std::uint8_t>& configuration);
  // Whether it states a sampling frequency: the other indexes are reserved, or stand for one in the
  // configuration.
  bool hasFrequency() const { return (profileAndRate_ >> 2 & 15) <= 12; }
  // Writes the header for a sample of `sampleBytes` bytes.
  void write(std::uint32_t sampleBytes, std::uint8_t* out) const;

 private:
  std::uint8_t profileAndRate_;
  std::uint8_t channels_;
};

// A track's channels, its description, and its read state.
class AudioTrack {
 public:
  // `holder` and `decoder` belong to the media-file object and outlive the track.
  AudioTrack(const IndexedTrack& track, QVRSTREAM& holder, VL_Audio_Decode& decoder,
             std::vector<std::uint8_t> configuration);

  // Has the index count the track's access units. Called once, before the index is built.
  void countIn(FragmentIndex& index);

  // Opens the decoder for the track's codec unless it is open. Throws std::bad_alloc if memory is short.
  void openDecoder();
  // Closes the decoder and releases its memory.
  void closeDecoder();

  // Buffer size for the decoded audio of one video frame at `fps` frames per second, bytes.
  std::uint32_t deliveredBufferSize(const FrameRate& fps) const;

  const QVRAUDIO& description() const { return holder_.audio; }
  VL_Audio_Decode& decoder() { return decoder_; }

  // Total duration stated by the track's samples, PCM frames; 0 if there are none.
  std::uint64_t statedLength(FragmentIndex& index);
  // Describes the track as this many PCM frames long.
  void setLength(std::uint32_t frames) { holder_.audio.stream.length = frames; }

  // Result of reading a range.
  enum class Outcome {
    Delivered,   // everything up to the end of the track
    NoRun,       // a run of the current fragment failed to load
    NoFragment,  // the next fragment failed to load
    End,         // past the last access unit, nothing delivered
    Unread,      // the host failed to read the file
    Refused,     // an access unit states an impossible duration, or memory is short
    Undecodable  // no access unit of the track can be decoded
  };

  // The output of a read.
  struct Delivery {
    std::uint32_t bytes = 0;
    std::uint32_t lostUnits = 0;  // access units that could not be read or decoded
  };

  // Seeks the track to a position, such that reading from there returns the same samples as reading from the
  // start: decodes the previous access unit first, because access units overlap, and as much pre-roll before
  // that as the decoder needs.
  [[nodiscard]] Result seek(FragmentIndex& index, std::uint64_t position);
  // Whether reading at the position needs no seek. After a failed read the position is undefined.
  bool isAt(std::uint64_t position) const { return position_ == position && cursor_.loaded(); }
  // Writes PCM frames [position, position + count) to `out`, up to the end of the track; silence in gaps and
  // in place of lost access units. The track must be at `position`.
  Outcome read(FragmentIndex& index, std::uint64_t position, std::uint64_t count, std::uint8_t* out,
               Delivery& delivery);

  // Marks the track's codec as unsupported.
  void setUndecodable() { undecodable_ = true; }
  // Whether the track is known to be undecodable: reading it fails.
  bool undecodable() const { return undecodable_; }

  std::uint32_t nextExpected = QVR_NOT_SET;  // position of the host's next sequential read

 private:
  static constexpr std::uint64_t kNowhere = ~std::uint64_t{0};

  enum class Unit { Decoded, Lost, Unread, NoMemory };

  AudioClock startClock() const;
  AudioTimeline& timeline(FragmentIndex& index);
  Result seekToPosition(FragmentIndex& index, std::uint64_t position);
  // Positions the track at an access unit, with the decoder history reset.
  Result seekToUnit(FragmentIndex& index, const AudioUnit& unit);
  // Decodes the track's first access unit, by which the decoder knows SBR and the program that nothing
  // signals: a seek may begin at an access unit without them. The position is undefined afterwards.
  [[nodiscard]] Result tryFirstUnit(FragmentIndex& index);
  // Positions the track at `unit` after decoding the access units from number `first` on as pre-roll.
  PreRollResult decodePreRoll(FragmentIndex& index, std::uint64_t first, const AudioUnit& unit);
  // Whether the access unit at the cursor states an impossible duration.
  bool lastsTooLong() const;
  // Decodes the access unit at the cursor into the decoder's buffer and advances past it.
  Unit decodeUnit(FragmentIndex& index);
  // Passes the access unit at the cursor to the decoder.
  Unit feedDecoder(FragmentIndex& index, std::uint64_t frames);
  // Decoded if any access unit can be decoded, Lost if none can, Unread if the file could not be read to find
  // out. The position is undefined afterwards. Throws std::bad_alloc if memory is short.
  Unit anyUnitDecodes(FragmentIndex& index);
  // Makes the next access unit or silence available at a position that has no PCM yet.
  Outcome fill(FragmentIndex& index, std::uint64_t position, Delivery& delivery);
  Outcome decodeNext(FragmentIndex& index, std::uint64_t position, Delivery& delivery);
  void deliver(std::uint64_t position, std::uint64_t count, std::uint8_t* out, Delivery& delivery);
  Outcome advance(FragmentIndex& index);

  IndexedTrack track_;
  QVRSTREAM& holder_;
  VL_Audio_Decode& decoder_;
  std::vector<std::uint8_t> configuration_;
  TrackCursor cursor_;
  std::size_t counted_ = 0;                  // the track's number in the index
  AudioClock clock_;                         // clock at the cursor's access unit
  std::unique_ptr<AudioTimeline> timeline_;  // created on first use
  std::vector<std::uint8_t> unit_;           // a header and the sample after it
  PreRoll preRoll_;

  std::uint64_t number_ = 0;           // index of the cursor's access unit in the track, from 0
  std::uint64_t position_ = kNowhere;  // position of the next sequential read
  std::uint64_t filledTo_ = 0;         // PCM or silence is available up to here
  std::uint64_t lostTo_ = 0;           // end of the last access unit by its stated duration, if it was lost
  bool losing_ = false;                // the last access unit delivered was lost
  bool firstUnitTried_ = false;        // tryFirstUnit has been called
  bool everDecoded_ = false;           // some access unit of the track has been decoded
  bool undecodable_ = false;
};

}  // namespace fmp4

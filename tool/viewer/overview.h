// The overview of a file: what the time line and the report show of it, at any scale, as far as it is known.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "base/exact_time.h"
#include "tool/viewer/cell_levels.h"
#include "tool/viewer/overview_cells.h"

namespace fmp4 {

// What is known of a file's streams once it is open.
struct OverviewStreams {
  FrameRate rate;
  std::uint32_t frames = 0;  // 0: no video
  std::uint32_t sampleRate = 0;
  std::uint32_t channels = 0;  // 0: no audio
  std::uint64_t samples = 0;   // PCM frames
  // By how much the first PCM frame plays before the first video frame; negative when it plays after.
  std::int64_t audioLeadNanoseconds = 0;

  bool operator==(const OverviewStreams&) const = default;
  std::uint64_t audioCells() const {
    return channels == 0 ? 0 : (samples * kAudioCellsASecond + sampleRate - 1) / sampleRate;
  }
};

// A part of the audio that does not sound as it was recorded.
struct AudioFault {
  enum class Kind : std::uint8_t {
    Gap,     // there is nothing; it is silence
    Lost,    // access units that cannot be decoded are silence
    Unread,  // it cannot be read
  };
  Kind kind = Kind::Gap;
  std::uint64_t from = 0, to = 0;  // PCM frames
  std::uint32_t units = 0;         // access units that are lost

  bool operator==(const AudioFault&) const = default;
};

// A caption from frame `first` up to frame `end`, with its rows as lines.
struct TextCue {
  std::int64_t first = 0, end = 0;
  std::string text;

  bool operator==(const TextCue&) const = default;
};
using CuesByChannel = std::map<std::string, std::vector<TextCue>>;  // by "CC1", "service 1"

// Cells of the channels of a level, by channel.
using AudioCells = std::vector<std::vector<AudioCell>>;

// Filled by one thread while others look.
class Overview {
 public:
  enum class State { Reading, Complete, Failed };

  Overview() = default;
  Overview(const Overview&) = delete;
  Overview& operator=(const Overview&) = delete;

  // To be called first.
  void begin(const OverviewStreams& streams);
  void addFrames(std::span<const FrameValue> frames);
  // The same number of cells for each channel.
  void addAudio(const AudioCells& channels);
  // Those beyond kMaxFaults are left out.
  void addFault(const AudioFault& fault);
  void setCaptions(CuesByChannel captions);
  void complete();
  // `why`: for the user.
  void fail(const std::string& why);

  struct Progress {
    State state = State::Reading;
    std::string why;  // it failed
    OverviewStreams streams;
    std::uint64_t frames = 0;      // that are known
    std::uint64_t audioCells = 0;  // of a channel
    std::size_t faults = 0;
    std::vector<std::string> captions;  // channels that have any
  };
  Progress progress() const;

  // At most `count` cells of a level from `from` on, as far as they are known.
  std::vector<FrameCell> frames(std::size_t level, std::size_t from, std::size_t count) const;
  AudioCells audio(std::size_t level, std::size_t from, std::size_t count) const;

  // Those in part within [from, to), PCM frames or frames, in ascending order: no more than about `most`.
  // Where there are more, neighbours become one: the gap between them counts as fault too, and the text is
  // empty.
  std::vector<AudioFault> faults(std::uint64_t from, std::uint64_t to, std::uint32_t most) const;
  CuesByChannel captions(std::int64_t from, std::int64_t to, std::uint32_t most) const;

  // All that further levels can be made of again.
  struct Finest {
    OverviewStreams streams;
    std::vector<FrameValue> frames;
    AudioCells audio;
    std::vector<AudioFault> faults;
    CuesByChannel captions;
    bool operator==(const Finest&) const = default;
  };
  Finest finest() const;
  // The overview that finest() was asked of; complete.
  void restore(Finest finest);

  static constexpr std::size_t kMaxFaults = 10'000;

 private:
  mutable std::mutex mutex_;
  State state_ = State::Reading;
  std::string why_;
  OverviewStreams streams_;
  CellLevels<FrameValue, FrameCell> frames_;
  std::vector<CellLevels<AudioCell, AudioCell>> audio_;
  std::vector<AudioFault> faults_;
  CuesByChannel captions_;
};

}  // namespace fmp4

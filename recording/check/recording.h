// A recording on the disk: its media files, as read, and the manifest and playlists that they imply.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "recording/check/problems.h"
#include "recording/check/recorded_media.h"
#include "recording/existing_paths.h"
#include "streaming/lists/mpd_writer.h"

namespace fmp4 {

class Recording {
 public:
  // Receives the bytes read so far and the total bytes of all media files.
  using Progress = std::function<void(std::uint64_t done, std::uint64_t total)>;

  // Reads the media files of the recording that `name` belongs to. Throws UserError when there is none, it
  // holds nothing that was recorded, or one of them cannot be read to its end.
  Recording(const std::string& name, RecordedMedia::Data data, const Progress& progress = {});
  Recording(const Recording&) = delete;
  Recording& operator=(const Recording&) = delete;

  const RecordingPaths& paths() const { return paths_; }
  // Null when there is no such file. Each has its movie box.
  const RecordedMedia* video() const { return video_ ? &*video_->media : nullptr; }
  const RecordedMedia* audio() const { return audio_ && audio_->media->movie() ? &*audio_->media : nullptr; }
  // Problems of the media files.
  const ProblemList& problems() const { return problems_; }
  // Why the audio that the lists name is gone, as the text after the name of its file: "is missing"; empty
  // when it is there, or when there was none.
  const std::string& lostAudio() const { return lostAudio_; }

  // The media files by path, including those without a movie box.
  std::vector<std::pair<std::string, const RecordedMedia*>> media() const;

  // The manifest and playlists that the recording has once it has ended; empty when there is none. What only
  // an existing one can say (when the recording began, the bit rate of its audio) is taken from it.
  struct Lists {
    std::string manifest;
    std::string videoPlaylist;
    std::string audioPlaylist;
    std::string masterPlaylist;  // only where one exists
  };
  Lists lists() const;

 private:
  struct File {
    Mp4Stream stream;
    std::unique_ptr<RecordedMedia> media;
  };

  std::unique_ptr<File> open(const std::string& path);
  void read(File& file, const std::string& path, std::uint64_t before);
  void readAudioOfVideo(std::unique_ptr<File> file, std::uint64_t before);
  void noteLostAudio(const std::string& why);
  void noteLostVideo();

  RecordingPaths paths_;
  std::unique_ptr<File> video_;
  std::unique_ptr<File> audio_;
  ProblemList problems_;
  std::string lostAudio_;
  RecordedMedia::Data data_;
  Progress progress_;
  std::uint64_t total_ = 0;  // bytes of all media files
};

}  // namespace fmp4

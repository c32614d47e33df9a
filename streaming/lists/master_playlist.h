// The multivariant playlist for the media playlists of a recording (RFC 8216, 4.3.4).
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace fmp4 {

struct MasterPlaylist {
  struct Media {
    std::string name;  // file name of the media playlist, with extension
    std::string text;  // complete text of the media playlist
  };
  Media video;
  std::optional<Media> audio;  // if the audio is in a separate file
  std::string codecs;          // RFC 6381
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  double framesPerSecond = 0;
};

// The codecs of a recording (RFC 6381), from the records in its sample entries; empty without audio.
std::string codecsText(std::span<const std::uint8_t> avcRecord, std::span<const std::uint8_t> audioConfig);

// The complete text. Bandwidths are computed from the segments of the media playlists.
std::string masterPlaylistText(const MasterPlaylist& master);

}  // namespace fmp4

// The multivariant playlist that joins a recording's media playlists (RFC 8216, 4.3.4).
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

struct MasterPlaylist {
  struct Media {
    std::string name;  // of the media playlist, name and extension
    std::string text;  // all of it
  };
  Media video;
  std::optional<Media> audio;  // of a file of its own
  std::string codecs;          // RFC 6381
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  double framesPerSecond = 0;
};

// The codecs of a recording, whose records are those of its sample entries; no sound: empty.
std::string codecsText(std::span<const std::uint8_t> avcRecord, std::span<const std::uint8_t> audioConfig);

// The whole text. Bandwidths are those of the media playlists' segments.
std::string masterPlaylistText(const MasterPlaylist& master);

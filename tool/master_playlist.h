// The multivariant playlist that joins a recording's media playlists (RFC 8216, 4.3.4).
#pragma once

#include <cstdint>
#include <string>

struct MasterPlaylist {
  std::string video;   // path of the media playlist
  std::string audio;   // likewise; empty: none of its own
  std::string codecs;  // RFC 6381
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  double framesPerSecond = 0;
};

// Writes it to `path`. Bandwidths are those of the media playlists' segments. Throws ToolError when a
// playlist cannot be read or written.
void writeMasterPlaylist(const std::string& path, const MasterPlaylist& master);

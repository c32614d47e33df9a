// Sound that the plug-in reads but cannot decode: the codec that its sample entry stands for.
#pragma once

#include <string>
#include <vector>

// For each track of sound that the plug-in reads of what goes by `name`, a media file or a manifest, in their
// order, why it is not decoded: "MPEG-1 layer 3, object type 0x6B: not supported"; empty for one of a codec
// that is. No entries where the file cannot be read.
std::vector<std::string> undecodedAudio(const std::string& name);

// What the page's list and head line say of a media file.
#pragma once

#include <string>

#include "tool/host/plugin_host.h"

namespace fmp4 {

// JSON (docs/json.md): what the plug-in says of a file, and what is wrong with it. A file that the plug-in
// does not read is described by the reason. `file`: absolute; `name`: as the page calls it.
std::string fileDescription(const Plugin& plugin, const std::string& file, const std::string& name);

}  // namespace fmp4

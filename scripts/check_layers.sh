#!/usr/bin/env bash
# Checks every #include against the order of the modules: prints those that point back up, and fails if there are any.
# A layer is a folder; a file belongs to the longest one that holds it. Headers without a folder are the host's.
set -euo pipefail
cd "$(dirname "$0")/.."

# LAYER: the layers it may use beside itself.
layers() {
  cat <<'EOF_LAYERS'
base:
os: base
host/include:
host/reference: base os host/include
captions: base
dsp: base
mp4box: base host/include
streaming/index: base mp4box host/include
streaming/lists: base os mp4box host/include
audio/umc: base dsp host/include
audio/umc/aac/core: base dsp audio/umc
audio/umc/aac/ps: base dsp audio/umc audio/umc/aac/core
audio/umc/aac/sbr: base dsp audio/umc audio/umc/aac/core audio/umc/aac/ps
audio/umc/aac: base dsp audio/umc audio/umc/aac/core audio/umc/aac/ps audio/umc/aac/sbr host/include
audio/umc/ac3: base dsp audio/umc host/include
audio: base dsp audio/umc audio/umc/aac audio/umc/ac3 host/include
recording: base os mp4box streaming/lists host/include
recording/write: base os mp4box streaming/lists recording host/include
recording/check: base os mp4box streaming/index streaming/lists recording host/include
plugin: base os mp4box streaming/index streaming/lists audio recording recording/write host/include
support: base
tool/terminal: base os mp4box host/include
tool/source: base os captions mp4box streaming/index host/include tool/terminal
tool/host: base os mp4box recording streaming/index streaming/lists host/include host/reference tool/terminal tool/source
tool/package: base os captions mp4box recording streaming/lists host/include tool/terminal tool/source tool/host
tool/export: base os captions mp4box recording host/include tool/terminal tool/source tool/host tool/package
tool/check: base os mp4box host/include tool/terminal tool/host
tool/serve: base os streaming/lists recording tool/terminal
tool/viewer: base os captions mp4box streaming/lists recording host/include tool/terminal tool/source tool/host tool/export tool/serve
tool/commands: base os captions mp4box streaming/lists recording recording/check host/include tool/terminal tool/source tool/host tool/package tool/export tool/check tool/serve tool/viewer
tool: base tool/commands tool/terminal tool/host
EOF_LAYERS
}

find base os host captions dsp mp4box streaming audio recording plugin support tool \
  -name node_modules -prune -o \( -name '*.h' -o -name '*.cpp' -o -name '*.inl' \) -print |
  xargs awk '
    function layer(path) {
      while (path != "" && !(path in allowed)) if (!sub("/[^/]*$", "", path)) path = ""
      return path
    }
    FILENAME ~ "^/dev/fd" {
      colon = index($0, ":")
      allowed[substr($0, 1, colon - 1)] = " " substr($0, 1, colon - 1) " " substr($0, colon + 1) " "
      next
    }
    /^[ \t]*#[ \t]*include[ \t]+"/ {
      split($0, parts, "\"")
      header = parts[2]
      if (header !~ "/") header = (header == "vlhost.h" ? "host/reference/" : "host/include/") header
      from = layer(FILENAME)
      to = layer(header)
      if (index(allowed[from], " " to " ")) next
      print FILENAME ":" FNR ": " from " may not use " (to == "" ? header : to)
      wrong = 1
    }
    END { exit wrong }' <(layers)

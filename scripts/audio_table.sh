#!/usr/bin/env bash
# Compares the decoders with reference decoders and writes the tables of docs/audio.md.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
cmake --preset dev >/dev/null
cmake --build --preset dev --target audio_table -j "$(nproc)"
tables=$(mktemp)
trap 'rm -f "$tables"' EXIT
{
  echo "Measured with $(ffmpeg -version | sed -n '1s/^ffmpeg version \([^ ]*\).*/ffmpeg \1/p')," \
    "faad $(dpkg-query -W -f '${Version}' faad), a52dec $(dpkg-query -W -f '${Version}' liba52-0.7.4-dev) (Debian)."
  echo
  build/dev/bin/audio_table
} >"$tables"
sed -i -e "/<!-- tables -->/r $tables" -e '/<!-- tables -->/,/<!-- end of tables -->/{/<!-- /!d}' docs/audio.md

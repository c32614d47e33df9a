#!/usr/bin/env bash
# Measures, with wrk on the loopback address, how many requests a second nginx answers with recordings.conf, and
# `fmp4 serve` for the same files; writes the figures into docs/scale.md. --print prints them instead.
# usage: FMP4=PROGRAM bench.sh [--print]
set -euo pipefail
if [[ ${1:-} == --help ]]; then sed -n '2,4s/^# //p' "$0" && exit; fi
cd "$(dirname "$0")/../.."
FMP4=$(realpath "${FMP4:-build/dev/bin/fmp4}")
export FMP4
scratch=$(mktemp --directory)
servers=()
trap 'kill "${servers[@]}" 2>/dev/null || true; wait; rm -rf "$scratch"' EXIT

readonly kConnections=16 kSeconds=3 kRounds=3

# start NAME COMMAND...: starts a server and notes its address in address[NAME].
declare -A address
start() {
  "${@:2}" "$scratch/media" --port 0 --json >"$scratch/$1.json" &
  servers+=("$!")
  until [[ -s $scratch/$1.json ]]; do sleep 0.1; done
  address[$1]=$(sed -n 's/.*"address": "\([^"]*\)".*/\1/p' "$scratch/$1.json")
}

# rate NAME FILE RANGE: requests a second and megabytes a second of one run.
rate() {
  local range=()
  if [[ -n $3 ]]; then range=(--header "Range: bytes=$3"); fi
  wrk --threads 2 --connections "$kConnections" --duration "${kSeconds}s" "${range[@]}" "${address[$1]}media/$2" |
    tee "$scratch/wrk.txt" | awk '
      /^Requests\/sec:/ { requests = $2 }
      /^Transfer\/sec:/ {
        unit = $2; sub(/[0-9.]+/, "", unit)
        bytes = $2 * (unit == "GB" ? 1024 ^ 3 : unit == "MB" ? 1024 ^ 2 : unit == "KB" ? 1024 : 1)
      }
      END { printf "%.0f %.1f\n", requests, bytes / 1e6 }'
  ! grep 'Non-2xx' "$scratch/wrk.txt" >&2
}

# row WHAT FILE RANGE: the medians of the rounds, in which both servers take turns.
row() {
  local round name
  rm -f "$scratch"/*.rates
  for ((round = 0; round < kRounds; ++round)); do
    for name in nginx serve; do rate "$name" "$2" "$3" >>"$scratch/$name.rates"; done
  done
  local figures=()
  for name in nginx serve; do
    read -ra figures < <(echo "${figures[@]}" "$(sort -n "$scratch/$name.rates" | sed -n "$((kRounds / 2 + 1))p")")
  done
  awk -v what="$1" -v nginx="${figures[0]}" -v nginx_bytes="${figures[1]}" -v serve="${figures[2]}" \
    -v serve_bytes="${figures[3]}" 'BEGIN {
      printf "| %s | %d | %.0f | %d | %.0f | %.1f |\n", what, nginx, nginx_bytes, serve, serve_bytes, nginx / serve }'
}

mkdir "$scratch/media"
ffmpeg -nostdin -v error -y -f lavfi -i testsrc2=size=640x360:rate=25:duration=60 -c:v libx264 -preset ultrafast \
  -b:v 4M -minrate 4M -maxrate 4M -bufsize 4M -x264-params nal-hrd=cbr -pix_fmt yuv420p -g 25 "$scratch/source.mp4"
"$FMP4" --quiet package "$scratch/source.mp4" --output "$scratch/media/clip.mp4" >/dev/null 2>&1
start nginx deploy/nginx/serve.sh
start serve "$FMP4" serve

load=$(cut -d ' ' -f 1 /proc/loadavg)
table=$(
  row "playlist ($(stat --format=%s "$scratch/media/clip.m3u8") bytes)" clip.m3u8 ''
  row 'index of a segment (200 bytes of the media file)' clip.m4v 1000-1199
  row 'a second of 4 Mbit/s (500 kB)' clip.m4v 1000000-1499999
  row 'a segment of ten seconds (5 MB)' clip.m4v 1000000-5999999
)
versions="nginx $(nginx -v 2>&1 | sed 's/.*\///'), wrk $(dpkg-query --show --showformat='${Version}' wrk)"
versions+=", $("$FMP4" --version)"
text=$(
  cat <<END
| | |
|---|---|
| date | $(date +%F) |
| processor | $(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -n 1), $(nproc) processors, wrk's as well |
| load average before and after | $load, $(cut -d ' ' -f 1 /proc/loadavg) |
| versions | $versions |
| measured | medians of $kRounds runs of $kSeconds s in turns, $kConnections connections |

| asked for | nginx, requests/s | MB/s | \`fmp4 serve\`, requests/s | MB/s | ratio |
|---|---:|---:|---:|---:|---:|
$table
END
)
if [[ ${1:-} == --print ]]; then
  echo "$text"
else
  TEXT=$text awk '
    $0 == "<!-- end of figures -->" { inside = 0 }
    !inside { print }
    $0 == "<!-- figures -->" { inside = 1; print "\n" ENVIRON["TEXT"] "\n" }' docs/scale.md >"$scratch/scale.md"
  cp "$scratch/scale.md" docs/scale.md
fi

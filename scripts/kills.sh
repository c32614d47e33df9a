#!/usr/bin/env bash
# Kills recordings of an input that is arriving, at random moments, and checks what is left: what the lists named is
# there, repair makes the rest intact, and every frame is that of the input. Exit 0 only if all of that held each time.
set -euo pipefail
cd "$(dirname "$0")/.."

usage() {
  cat <<END
usage: kills.sh [--kills N] [--program FMP4] [--seed N]
  --kills N        how many recordings to kill (default: 1000)
  --program FMP4   the program (default: build/dev/bin/fmp4)
  --seed N         of the random moments (default: 1)
What a failure left is kept in build/kills.
END
}

kills=1000 program=build/dev/bin/fmp4 seed=1
while (($# > 0)); do
  case $1 in
    --kills) kills=${2:?--kills takes a number} && shift ;;
    --program) program=${2:?--program takes a path} && shift ;;
    --seed) seed=${2:?--seed takes a number} && shift ;;
    -h | --help) usage && exit ;;
    *) usage >&2 && exit 2 ;;
  esac
  shift
done

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
input=$work/input.mp4 taken=$work/taken
mkdir "$taken"
RANDOM=$seed

failed() {
  rm -rf build/kills
  mkdir -p build
  cp -r "$taken" build/kills
  echo "kills: recording $1: $2; it is kept in build/kills" >&2
  exit 1
}

# The frames of a recording, as numbers with their checksums.
frames_of() {
  "$program" --quiet frames "$1" | cut -d , -f 1,5
}

# Arrives in pieces with pauses between them, for about half a second.
arriving() {
  local piece size
  size=$(stat -c %s "$input")
  for ((piece = 0; piece < 16; ++piece)); do
    dd if="$input" bs="$((size / 16 + 1))" skip="$piece" count=1 status=none
    sleep 0.03
  done
}

# Segments of the video that a list names.
listed() {
  grep -c '^#EXTINF' "$taken/out.m3u8" 2>/dev/null || true
}

# The bytes that the lists name are there.
check_listed() {
  [[ -f $taken/$2 ]] || return 0
  local bytes
  bytes=$(sed -n 's/^#EXT-X-BYTERANGE:\([0-9]*\)@\([0-9]*\)$/\1 \2/p' "$taken/$2" | tail -n 1 |
    awk '{ print $1 + $2 }')
  [[ -z $bytes ]] || (($(stat -c %s "$taken/$3") >= bytes)) || failed "$1" "$2 names more than $3 holds"
}

ffmpeg -nostdin -v error -f lavfi -i testsrc2=size=160x96:rate=25:duration=60 -f lavfi -i sine=duration=60 \
  -c:v libx264 -preset ultrafast -pix_fmt yuv420p -g 25 -bf 0 -c:a aac -ac 2 \
  -movflags +frag_keyframe+empty_moov+default_base_moof "$input"
begin=${EPOCHREALTIME/./}
arriving | "$program" --quiet package - --output "$taken/out.mp4" >/dev/null 2>&1
duration=$((${EPOCHREALTIME/./} - begin))
frames_of "$taken/out.m4v" >"$work/whole"

early=0 interrupted=0 repaired_frames=0
for ((kill = 1; kill <= kills; ++kill)); do
  rm -rf "${taken:?}"/*
  "$program" --quiet package - --output "$taken/out.mp4" < <(arriving 2>/dev/null) >/dev/null 2>&1 &
  recorder=$!
  moment=$(((RANDOM * 32768 + RANDOM) % duration))
  sleep "$(printf '%d.%06d' $((moment / 1000000)) $((moment % 1000000)))"
  kill -KILL "$recorder" 2>/dev/null || true
  wait "$recorder" 2>/dev/null || true
  segments=$(listed)
  check_listed "$kill" out.m3u8 out.m4v
  check_listed "$kill" outA.m3u8 out.m4a
  if ! "$program" --quiet repair "$taken/out.m4v" >"$work/said" 2>&1; then
    ((${segments:-0} == 0)) || failed "$kill" "repair fails: $(tail -n 1 "$work/said")"
    early=$((early + 1))
    continue
  fi
  interrupted=$((interrupted + 1))
  "$program" --quiet verify "$taken/out.m4v" >"$work/said" 2>&1 ||
    failed "$kill" "verification finds problems after repair: $(tail -n 1 "$work/said")"
  (($(listed) >= ${segments:-0})) || failed "$kill" "repair has taken segments out of the list"
  if "$program" --quiet frames "$taken/out.m4v" >/dev/null 2>&1; then
    frames_of "$taken/out.m4v" >"$work/frames"
    cmp -s "$work/frames" <(head -n "$(wc -l <"$work/frames")" "$work/whole") ||
      failed "$kill" "its frames are not those of the input"
    repaired_frames=$((repaired_frames + $(wc -l <"$work/frames") - 1))
  fi
done
echo "kills: $kills recordings killed, $early before anything was recorded, $interrupted repaired with" \
  "$repaired_frames frames"

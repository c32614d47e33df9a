# shellcheck shell=bash disable=SC2154
# For the tests of this folder, sourced: an archive of twenty recordings, and what plain runs of the program make of it.
# The caller sets FMP4 and makes the folder $scratch.
archive=$scratch/archive
plain=$scratch/plain

fail() {
  echo "$(basename "$0" .sh): FAILED: $*" >&2
  exit 1
}

# Recordings of different lengths in two folders, one with a name of a space: seventeen that are intact, one that was
# interrupted, one that is damaged before its end, and a file that is no recording.
make_archive() {
  local number name
  mkdir -p "$archive/news" "$archive/late films"
  ffmpeg -nostdin -v error -y -f lavfi -i testsrc2=size=160x90:rate=25:duration=4 \
    -f lavfi -i sine=frequency=440:sample_rate=48000:duration=4 \
    -c:v libx264 -preset veryfast -pix_fmt yuv420p -g 5 -c:a aac -ac 2 "$scratch/source.mp4"
  for number in $(seq -w 1 19); do
    name=$archive/news/$number.mp4
    if ((10#$number > 10)); then name="$archive/late films/film $number.mp4"; fi
    "$FMP4" --quiet package "$scratch/source.mp4" --count $((10#$number * 5)) --output "$name" 2>/dev/null >&2
  done
  truncate --size=-3000 "$archive/news/07.m4v"
  local size
  size=$(stat --format=%s "$archive/news/08.m4v")
  dd if=/dev/zero of="$archive/news/08.m4v" bs=1 count=600 seek=$((size / 2)) conv=notrunc status=none
  echo "no recording" >"$archive/news/notes.m4v"
}

# The media files of the archive.
media_files() {
  (cd "$archive" && find . -name '*.m4v' -printf '%P\n' | sort)
}

# What a plain run makes of every recording: the outputs of `export`, by the name of its media file.
export_plainly() {
  local item out
  while IFS= read -r item; do
    out="$plain/$item"
    mkdir -p "$out"
    out=$out/$(basename "$item" .m4v)
    "$FMP4" --quiet export "$archive/$item" --video "$out.h264" --audio "$out.wav" 2>/dev/null ||
      rm -r "$(dirname "$out")"
  done < <(media_files)
}

# count RESULTS STATE: how many items a summary counts so.
count() {
  jq ".counts.$2 // 0" "$1/summary.json"
}

# expect_counts RESULTS STATE=N...: the summary counts just this.
expect_counts() {
  local results=$1 expected
  expected=$(printf '%s\n' "${@:2}" | sort)
  local actual
  actual=$(jq -r '.counts | to_entries[] | "\(.key)=\(.value)"' "$results/summary.json" | sort)
  [[ $actual == "$expected" ]] || fail "$results counts $actual, expected $expected"
  [[ $(jq '.items == 20 and ([.counts[]] | add) == 20' "$results/summary.json") == true ]] || fail "items are not 20"
}

# The outputs equal those of the plain run, and nothing else is there.
expect_plain_outputs() {
  diff --recursive --brief "$plain" "$1/output" || fail "the outputs differ from a plain run's"
  [[ -z $(find "$1/work" -mindepth 1 -type f ! -name '*.lock') ]] || fail "unfinished files remain"
}

#!/usr/bin/env bash
# Installs what is missing, builds, and shows the main job on real media: a fragmented MP4 is described,
# read frame by frame, exported and recorded again, and the results are compared with the source. Fails if anything
# differs.
set -euo pipefail
cd "$(dirname "$0")/.."

folder=build/demo
source=$folder/source.mp4
exported=$folder/exported.h264
audio=$folder/exported.wav
fmp4=build/release/bin/fmp4

fail() {
  echo "demo: FAILED: $*" >&2
  exit 1
}
title() { printf '\n== %s\n' "$*"; }
# The MD5 of every decoded frame, in presentation order.
picture_hashes() {
  ffmpeg -nostdin -v error -i "$1" -map 0:v:0 -fps_mode passthrough -f framemd5 - |
    awk '!/^#/ { print $NF }'
}

title "Packages and build"
scripts/setup.sh
launcher=()
if command -v ccache >/dev/null; then launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache); fi
cmake --preset release "${launcher[@]}" >/dev/null
cmake --build --preset release -j "$(nproc)" --target fmp4

title "Ten seconds of fragmented MP4: H.264 with B-frames, AAC"
mkdir -p "$folder"
ffmpeg -nostdin -v error -y \
  -f lavfi -i testsrc2=size=1280x720:rate=30000/1001:duration=10 \
  -f lavfi -i sine=frequency=440:sample_rate=48000:duration=10 \
  -c:v libx264 -preset veryfast -pix_fmt yuv420p -g 30 -bf 2 -c:a aac -b:a 128k -ac 2 \
  -movflags +frag_keyframe+empty_moov+default_base_moof -fflags +bitexact "$source"
ls -l "$source"

title "fmp4 probe"
"$fmp4" --quiet probe "$source"

title "fmp4 info"
"$fmp4" --quiet info "$source"

title "fmp4 frames (the first ten)"
"$fmp4" --quiet frames "$source" >"$folder/frames.csv"
head -n 11 "$folder/frames.csv"
"$fmp4" --quiet frames --random 1 "$source" | cmp - "$folder/frames.csv" ||
  fail "frames read in a shuffled order differ from those read in sequence"
ffprobe -v error -select_streams v:0 -show_packets -show_data_hash CRC32 \
  -show_entries packet=size,flags,data_hash -of compact=print_section=0:nokey=1 "$source" |
  sed -E 's/\|K[^|]*\|CRC32:/,1,/; s/\|_[^|]*\|CRC32:/,0,/' >"$folder/ffprobe.csv"
tail -n +2 "$folder/frames.csv" | cut -d, -f2,3,5 | cmp - "$folder/ffprobe.csv" ||
  fail "sizes, key frames or bytes differ from what ffprobe finds"
frames=$(tail -n +2 "$folder/frames.csv" | wc -l)

title "fmp4 export --video"
"$fmp4" --quiet export "$source" --force --video "$exported"
ls -l "$exported"
picture_hashes "$source" >"$folder/source.md5"
picture_hashes "$exported" >"$folder/exported.md5"
cmp "$folder/source.md5" "$folder/exported.md5" || fail "the export does not decode to the source's frames"
decoded=$(wc -l <"$folder/exported.md5")
[[ $frames -eq 300 && $decoded -eq 300 ]] || fail "$frames frames read, $decoded decoded, instead of 300"

title "fmp4 export --audio"
"$fmp4" --quiet export "$source" --force --audio "$audio"
ls -l "$audio"
samples=$(ffprobe -v error -select_streams a:0 -show_entries stream=duration_ts -of csv=p=0 "$audio")
# Exported audio begins with the first frame, which B-frames delay.
start_time=$(ffprobe -v error -select_streams v:0 -show_entries packet=pts_time -of csv=p=0 "$source" | sort -n | head -n 1)
described=$("$fmp4" --quiet info --json "$source" | sed -n 's/.*"samples": *\([0-9]*\).*/\1/p')
expected=$(awk -v samples="$described" -v start="$start_time" 'BEGIN { printf "%.0f", samples - start * 48000 }')
[[ $samples -eq $expected ]] || fail "$samples PCM frames of audio instead of $expected"
# A tone at ffmpeg's level: the mean volume of the export and of ffmpeg's own decoding agree within 0.1 dB.
mean_volume() {
  ffmpeg -nostdin -v info -i "$1" -vn -af atrim=start=1:end=9,volumedetect -f null - 2>&1 |
    sed -n 's/.*mean_volume: \(.*\) dB/\1/p'
}
awk -v a="$(mean_volume "$audio")" -v b="$(mean_volume "$source")" \
  'BEGIN { d = a - b; exit !(a != "" && b != "" && d < 0.11 && d > -0.11) }' ||
  fail "the exported audio is not at the level of ffmpeg's decoding"

title "fmp4 package"
recording=$folder/recording
"$fmp4" package "$source" --force --output "$recording.mp4"
ls -l "$folder"/recording*
"$fmp4" --quiet frames "$recording.mpd" | cmp - "$folder/frames.csv" ||
  fail "the recording, read through its manifest, has other frames than the source"
for file in "$recording.m4v" "$recording.m4a"; do
  ffmpeg -nostdin -xerror -v error -i "$file" -f null - || fail "ffmpeg does not decode $file"
done
picture_hashes "$recording.m4v" >"$folder/recording.md5"
cmp "$folder/source.md5" "$folder/recording.md5" || fail "the recording does not decode to the source's frames"

title "Summary"
cat <<END
read      $frames frames, in sequence and shuffled: the same
          sizes, key frames and bytes as ffprobe finds
exported  $decoded frames, decoded by ffmpeg bit for bit as from the source
          $samples PCM frames of audio, at the level that ffmpeg decodes
recorded  $decoded frames with audio, read back through the manifest: the same
          frames, and decoded by ffmpeg bit for bit as from the source
play      $source
          $exported
          $audio
          ffplay $recording.m4v
          DASH: $recording.mpd and HLS: $recording.master.m3u8, in a browser:
          $fmp4 serve $folder
END

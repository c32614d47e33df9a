#!/usr/bin/env bash
# Times bench_audio_decode against the ffmpeg program on one thread: user seconds for ten minutes of 48 kHz stereo AAC,
# the best of five runs each, and their ratio.
# Usage: bench/audio_decode.sh PATH_OF_bench_audio_decode
set -euo pipefail
decoder=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

best_user_seconds() {
  local TIMEFORMAT=%U
  for _ in 1 2 3 4 5; do
    { time "$@" >/dev/null 2>&1; } 2>&1
  done | sort -n | head -n 1
}

tones="0.25*sin(440*2*PI*t)+0.2*sin(1234*2*PI*t+sin(3*t))+0.1*sin(5000*2*PI*t)"
burst="exp(-40*mod(t\\,0.5))*(random(2)-0.5)"
for rate in 64k 128k 256k; do
  stream=$folder/$rate.aac
  ffmpeg -nostdin -v error -f lavfi \
    -i "aevalsrc=$tones+0.08*(random(0)-0.5)|$tones+$burst+0.1*(random(1)-0.5):s=48000:d=600" \
    -c:a aac -b:a $rate "$stream"
  ours=$(best_user_seconds "$decoder" "$stream" /dev/null)
  theirs=$(best_user_seconds ffmpeg -nostdin -v error -threads 1 -c:a aac -i "$stream" -f s16le -y /dev/null)
  echo "$rate: audio_decode $ours s, ffmpeg $theirs s, ratio $(echo "scale=2; $ours / $theirs" | bc)"
done

#!/usr/bin/env bash
# Starts nginx from recordings.conf, without rights, and asks it with curl as players do: types, parts, caching, access
# from other pages, names that lead out; and follows a recording while it grows.
# usage: FMP4=PROGRAM test_nginx.sh
set -euo pipefail
if [[ ${1:-} == --help ]]; then sed -n '2,4s/^# //p' "$0" && exit; fi
here=$(cd "$(dirname "$0")" && pwd)
FMP4=$(realpath "${FMP4:-$here/../../build/dev/bin/fmp4}")
export FMP4
scratch=$(mktemp --directory)
server='' recorder=''
trap 'kill ${server:+"$server"} ${recorder:+"$recorder"} 2>/dev/null || true; wait; rm -rf "$scratch"' EXIT

fail() {
  echo "test_nginx: FAILED: $*" >&2
  exit 1
}

# A program of root's gives its rights away.
unprivileged() {
  if ((EUID == 0)); then
    exec setpriv --reuid=nobody --regid=nogroup --clear-groups "$@"
  else
    exec "$@"
  fi
}

# ask PATH OPTION...: status and headers of an answer in $answer, its content in $scratch/content.
ask() {
  answer=$(curl --silent --path-as-is --dump-header - --output "$scratch/content" "${@:2}" "$address$1" | tr -d '\r')
}

# expect_status N: of the last answer.
expect_status() {
  [[ $answer == "HTTP/1.1 $1 "* ]] || fail "expected $1, the answer was: $answer"
}

# expect_header "NAME: VALUE": in the last answer, once.
expect_header() {
  [[ $(grep --count --fixed-strings --line-regexp "$1" <<<"$answer") == 1 ]] || fail "no \"$1\" in: $answer"
}

# expect_content FIRST LENGTH FILE: the content is this part of the file.
expect_content() {
  [[ $(stat --format=%s "$scratch/content") == "$2" ]] || fail "$3 was sent with another length"
  cmp --ignore-initial="$1:0" --bytes="$2" "$3" "$scratch/content" || fail "$3 was not sent right"
}

readonly kYear="Cache-Control: public, max-age=31536000, immutable"

media=$scratch/media
mkdir "$media"
ffmpeg -nostdin -v error -y -f lavfi -i testsrc2=size=320x180:rate=25:duration=8 \
  -f lavfi -i sine=frequency=440:sample_rate=48000:duration=8 \
  -c:v libx264 -preset veryfast -pix_fmt yuv420p -g 5 -c:a aac -ac 2 "$scratch/source.mp4"
"$FMP4" --quiet package "$scratch/source.mp4" --output "$media/clip.mp4" >/dev/null 2>&1
"$FMP4" --quiet package "$scratch/source.mp4" --output "$media/one file.ismv" >/dev/null 2>&1
cp "$scratch/source.mp4" "$media/plain.mp4"
echo "secret" >"$scratch/secret.mpd"
echo "<script>" >"$media/page.html"
echo "hidden" >"$media/.hidden.mpd"
ln -s ../secret.mpd "$media/link.mpd"
if ((EUID == 0)); then chown -R nobody:nogroup "$scratch"; fi

(unprivileged "$here/serve.sh" "$media" --json) >"$scratch/serve.json" &
server=$!
until [[ -s $scratch/serve.json ]]; do
  kill -0 "$server" 2>/dev/null || fail "nginx does not start"
  sleep 0.1
done
address=$(sed -n 's/.*"address": "\(.*\)\/".*/\1/p' "$scratch/serve.json")

# Types, and how long each kind is kept.
for line in "clip.mpd application/dash+xml" "clip.m3u8 application/vnd.apple.mpegurl" \
  "clipA.m3u8 application/vnd.apple.mpegurl" "clip.master.m3u8 application/vnd.apple.mpegurl" \
  "one%20file.xml application/dash+xml"; do
  read -r name type <<<"$line"
  ask "/media/$name"
  expect_status 200
  expect_header "Content-Type: $type"
  expect_header "Cache-Control: no-store"
done
for line in "clip.m4v video/mp4" "clip.m4a audio/mp4" "one%20file.ismv video/mp4"; do
  read -r name type <<<"$line"
  ask "/media/$name"
  expect_status 200
  expect_header "Content-Type: $type"
  expect_header "$kYear"
  expect_header "Accept-Ranges: bytes"
  ask "/media/$name" --header "Range: bytes=0-0"
  expect_status 206
  expect_header "$kYear"
done
ask /media/plain.mp4
expect_header "Content-Type: video/mp4"
expect_header "Cache-Control: no-cache"
tag=$(sed -n 's/^ETag: //p' <<<"$answer")
ask /media/plain.mp4 --header "If-None-Match: $tag"
expect_status 304
expect_header "Cache-Control: no-cache"
ask /media/page.html
expect_header "Content-Type: application/octet-stream"
expect_header "X-Content-Type-Options: nosniff"

# Parts of media files.
size=$(stat --format=%s "$media/clip.m4v")
for line in "100-199 100 100" "0-0 0 1" "$((size - 10))- $((size - 10)) 10" "-10 $((size - 10)) 10" \
  "$((size - 5))-$((size + 5)) $((size - 5)) 5"; do
  read -r range first length <<<"$line"
  ask /media/clip.m4v --header "Range: bytes=$range"
  expect_status 206
  expect_header "Content-Length: $length"
  expect_header "Content-Range: bytes $first-$((first + length - 1))/$size"
  expect_content "$first" "$length" "$media/clip.m4v"
done
# Not there yet.
ask /media/clip.m4v --header "Range: bytes=$size-$((size + 9))"
expect_status 416
expect_header "Content-Range: bytes */$size"
[[ $(sed -n 's/^Cache-Control: //p' <<<"$answer" | tail -n 1) == no-store ]] || fail "it may be kept: $answer"
expect_header "Access-Control-Allow-Origin: *"
expect_header "Access-Control-Expose-Headers: Accept-Ranges, Content-Length, Content-Range, Date, ETag"
ask /media/clip.m4v --header "Range: bytes=0-1,5-6"
expect_status 200
expect_content 0 "$size" "$media/clip.m4v"
ask /media/clip.m4v --head
expect_status 200
expect_header "Content-Length: $size"

# Pages of other origins.
for name in missing.m4v clip.m3u8 clip.m4v; do
  ask "/media/$name" --header "Origin: https://example.org"
  expect_header "Access-Control-Allow-Origin: *"
  [[ $name == clip.* ]] || continue
  expect_header "Access-Control-Expose-Headers: Accept-Ranges, Content-Length, Content-Range, Date, ETag"
  expect_header "Cross-Origin-Resource-Policy: cross-origin"
done
ask /media/clip.m4v --request OPTIONS --header "Origin: https://example.org" \
  --header "Access-Control-Request-Method: GET" --header "Access-Control-Request-Headers: range"
expect_status 204
expect_header "Access-Control-Allow-Methods: GET, HEAD, OPTIONS"
expect_header "Access-Control-Allow-Headers: Range, If-None-Match, If-Range"
ask /media/clip.m4v --request DELETE
expect_status 405
ask /media/clip.m4v --data x
expect_status 405

# What is not there, or not to be seen, is not kept either.
for name in missing.m4v .hidden.mpd ../secret.mpd %2e%2e/secret.mpd; do
  ask "/media/$name"
  [[ $answer == "HTTP/1.1 40"[034]" "* ]] || fail "$name: $answer"
done
ask /media/missing.m4v
expect_status 404
expect_header "Cache-Control: no-store"
ask /media/link.mpd
expect_status 403

# Long lists are compressed for those that ask.
ask /media/clip.mpd --header "Accept-Encoding: gzip"
expect_header "Content-Encoding: gzip"
expect_header "Vary: Accept-Encoding"

# The page.
ask /
expect_status 200
ask /page/page.js
expect_status 200
ask /recordings.json
expect_header "Content-Type: application/json"
ask "/files.json?folder="
expect_header "Content-Type: application/json"

# A recording that grows: each answer has the list as it is, and what has been listed never changes.
ffmpeg -nostdin -v error -readrate 2 -i "$scratch/source.mp4" -c copy \
  -movflags frag_keyframe+empty_moov+default_base_moof -f mp4 pipe:1 |
  "$FMP4" --quiet package - --output "$media/live.mp4" >/dev/null 2>&1 &
recorder=$!
listed=0 lists=0
until [[ -s $media/live.m3u8 ]]; do sleep 0.05; done
while true; do
  ask /media/live.m3u8
  expect_status 200
  expect_header "Cache-Control: no-store"
  mapfile -t ranges < <(sed -n 's/^#EXT-X-MAP:.*,BYTERANGE="\([0-9]*\)@\([0-9]*\)"$/\2 \1/p
    s/^#EXT-X-BYTERANGE:\([0-9]*\)@\([0-9]*\)$/\2 \1/p' "$scratch/content")
  ended=$(grep --count '^#EXT-X-ENDLIST$' "$scratch/content" || true)
  if ((${#ranges[@]} > listed)); then lists=$((lists + 1)); fi
  for ((; listed < ${#ranges[@]}; ++listed)); do
    read -r first length <<<"${ranges[listed]}"
    ask /media/live.m4v --header "Range: bytes=$first-$((first + length - 1))"
    expect_status 206
    expect_header "Content-Length: $length"
    if [[ ! -e $media/live.master.m3u8 ]]; then expect_header "Cache-Control: no-store"; fi
    cp "$scratch/content" "$scratch/part-$listed"
  done
  ((ended == 0)) || break
  sleep 0.1
done
wait "$recorder"
recorder=''
for name in live.m4v live.m4a; do
  ask "/media/$name" --header "Range: bytes=0-9"
  expect_header "$kYear"
done
((listed == 5 && lists > 1)) || fail "the list had $listed parts and grew $lists times"
for ((part = 0; part < listed; ++part)); do
  cp "$scratch/part-$part" "$scratch/content"
  read -r first length <<<"${ranges[part]}"
  expect_content "$first" "$length" "$media/live.m4v"
done

kill "$server"
wait "$server" || fail "the server did not end well"
server=''
echo "test_nginx: passed"

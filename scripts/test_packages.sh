#!/usr/bin/env bash
# Makes the packages and tries them as users do: unpacked or installed, then version, probe, info, export and
# package on real media. What the two systems make of the same source is the same, byte for byte, except for dates and
# the line ends of playlists. `test_packages.sh debian` tries that one alone.
set -euo pipefail
cd "$(dirname "$0")/.."

folder=$PWD/build/packages/try
version=$(sed -n 's/^project(vlx_fmp4 VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)

fail() {
  echo "test_packages: FAILED: $*" >&2
  exit 1
}

as_root() {
  if [[ $EUID -eq 0 ]]; then "$@"; else sudo "$@"; fi
}

# try_serving NAME PROGRAM...: the folder as a browser sees it.
try_serving() {
  local port= answer
  "${@:2}" serve . --port 0 >served.txt &
  local server=$!
  for ((i = 0; i < 200; ++i)); do
    port=$(sed -n 's#.* at http://127\.0\.0\.1:\([0-9]*\)/ .*#\1#p' served.txt)
    [[ -z $port ]] || break
    sleep 0.1
  done
  for path in / /page/page.js /media/clip.mp4; do
    exec 3<>"/dev/tcp/127.0.0.1/$port"
    printf 'HEAD %s HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n' "$path" >&3
    read -r answer <&3
    exec 3>&-
    [[ $answer == "HTTP/1.1 200 "* ]] || fail "$1: serving $path: $answer"
  done
  kill "$server"
  wait "$server" || true
  rm served.txt
}

# try NAME PROGRAM...: the main commands, with results in a folder of that name.
try() {
  local results="$folder/$1 Größe" fmp4=("${@:2}")
  mkdir -p "$results"
  cp "$source" "$results/clip.mp4"
  (
    cd "$results"
    "${fmp4[@]}" version >version.txt
    grep -qx "interface version: 23" version.txt || fail "$1: version"
    [[ $("${fmp4[@]}" --quiet probe clip.mp4) == "accepted clip.mp4" ]] || fail "$1: probe"
    "${fmp4[@]}" --quiet info --json clip.mp4 >info.json
    grep -q '"frames": 90' info.json || fail "$1: info"
    "${fmp4[@]}" --quiet export clip.mp4 --video video.h264 --audio audio.wav
    "${fmp4[@]}" --quiet package clip.mp4 --output "Aufnahme Nº 1.mp4"
    "${fmp4[@]}" --quiet frames "Aufnahme Nº 1.mpd" >frames.csv
    [[ $(wc -l <frames.csv) -eq 91 ]] || fail "$1: reading the recording back"
    "${fmp4[@]}" verify "Aufnahme Nº 1.m4v" >verify.txt || fail "$1: verify: $(cat verify.txt)"
    try_serving "$1" "${fmp4[@]}"
    rm clip.mp4
    # Except for dates and line ends.
    sed -i -E 's/\r$//; s/20[0-9-]{8}T[0-9:.]+Z/NOW/g' ./*.mpd ./*.m3u8
  )
}

# check_linux_hardening FILE...: addresses differ from run to run, tables are read-only once linked, the stack holds no
# code, buffers on it are watched, and calls that fill a buffer of known size are checked.
check_linux_hardening() {
  local file facts
  for file in "$@"; do
    facts=$(readelf --wide --file-header --segments --dynamic --symbols "$file")
    grep -Eq '^ *Type: +DYN ' <<<"$facts" || fail "$file: not position-independent"
    grep -q ' GNU_RELRO ' <<<"$facts" || fail "$file: no read-only relocations"
    grep -Eq '\((FLAGS|FLAGS_1)\).* (BIND_NOW|NOW)' <<<"$facts" || fail "$file: symbols are bound when first used"
    grep -Eq ' GNU_STACK .* RW +0x' <<<"$facts" || fail "$file: the stack is executable"
    grep -q ' __stack_chk_fail' <<<"$facts" || fail "$file: no stack protector"
    grep -Eq ' __[a-z]+_chk(@|$)' <<<"$facts" || fail "$file: no checked calls"
  done
}

# check_windows_hardening FILE...: as far as the system has the same.
check_windows_hardening() {
  local file facts fact
  for file in "$@"; do
    facts=$(x86_64-w64-mingw32-objdump --private-headers "$file")
    for fact in HIGH_ENTROPY_VA DYNAMIC_BASE NX_COMPAT; do
      grep -q "$fact" <<<"$facts" || fail "$file: not $fact"
    done
  done
}

try_debian() {
  scripts/package.sh debian
  local package=build/packages/fmp4_${version}_amd64.deb
  # The trial ends with its removal.
  if dpkg-query --show fmp4 >/dev/null 2>&1; then fail "fmp4 is installed already; purge it to try another"; fi
  as_root dpkg --install "$package" >/dev/null
  check_linux_hardening /usr/lib/fmp4/{fmp4,*.so}
  try debian fmp4
  [[ $(dpkg-deb --contents "$package") == */usr/share/doc/fmp4/README.md* ]] || fail "no documents"
  [[ $(man --where fmp4 2>/dev/null || ls /usr/share/man/man1/fmp4.1.gz) == */fmp4.1.gz ]] || fail "no manual page"
  # What completion offers for `fmp4 pa`.
  bash -c 'source /usr/share/bash-completion/completions/fmp4
    COMP_WORDS=(fmp4 pa) COMP_CWORD=1 && _fmp4 && [[ ${COMPREPLY[*]} == package ]]' || fail "completion"
  grep -q '^#compdef fmp4' /usr/share/zsh/vendor-completions/_fmp4 || fail "completion for zsh"
  grep -q '^complete -c fmp4 ' /usr/share/fish/vendor_completions.d/fmp4.fish || fail "completion for fish"
  [[ -s /usr/lib/systemd/system/fmp4-serve@.service ]] || fail "no unit"
  [[ -z $(find /etc/systemd -name 'fmp4-serve*') ]] || fail "the unit is enabled"
  as_root dpkg --purge fmp4 >/dev/null
  [[ ! -e /usr/lib/fmp4 ]] || fail "files remain"
}

try_windows() {
  scripts/package.sh windows
  local place="$folder/Programme für fmp4"
  mkdir -p "$place"
  (cd "$place" && cmake -E tar xf "$OLDPWD/build/packages/fmp4-$version-windows.zip")
  check_windows_hardening "$place/fmp4-$version-windows"/*.{exe,dll}
  for file in README.txt THIRD-PARTY-LICENCES.txt; do
    [[ -s "$place/fmp4-$version-windows/$file" ]] || fail "no $file"
  done
  try windows "$PWD/scripts/wine.sh" "$place/fmp4-$version-windows/fmp4.exe"
}

rm -rf "$folder"
mkdir -p "$folder"
source=$folder/source.mp4
ffmpeg -nostdin -v error -y -f lavfi -i testsrc2=size=320x180:rate=30000/1001:duration=3.003 \
  -f lavfi -i sine=frequency=440:sample_rate=48000:duration=3.003 \
  -c:v libx264 -preset veryfast -pix_fmt yuv420p -g 30 -bf 2 -c:a aac -ac 2 \
  -movflags +frag_keyframe+empty_moov+default_base_moof -fflags +bitexact "$source"
try_debian
if [[ ${1:-all} != debian ]]; then
  try_windows
  diff --recursive "$folder/debian Größe" "$folder/windows Größe" || fail "the two systems differ"
fi
rm -rf "$folder"
echo "test_packages: passed"

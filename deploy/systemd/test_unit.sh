#!/usr/bin/env bash
# Checks the unit of `fmp4 serve`, and runs it: a container of its own (systemd-nspawn, as root) boots systemd with
# nothing but the unit. It must serve the folder from inside the sandbox and reach nothing else.
# usage: FMP4=PROGRAM test_unit.sh
set -euo pipefail
if [[ ${1:-} == --help ]]; then sed -n '2,4s/^# //p' "$0" && exit; fi
here=$(cd "$(dirname "$0")" && pwd)
FMP4=$(realpath "${FMP4:-$here/../../build/dev/bin/fmp4}")
scratch=$(mktemp --directory)
trap 'rm -rf "$scratch"' EXIT

fail() {
  echo "test_unit: FAILED: $*" >&2
  exit 1
}

# Its program is the one that is tried.
unit="fmp4-serve@.service"
mkdir "$scratch/units" "$scratch/out" "$scratch/recordings"
sed 's#/usr/bin/fmp4#/usr/bin/env /fmp4/fmp4#; s#^BindReadOnlyPaths=#&/fmp4 #' "$here/$unit" >"$scratch/units/$unit"
cp "$here/$unit" "$scratch"
sed -i 's#^ExecStart=[^ ]*#ExecStart=/usr/bin/true#' "$scratch/$unit"
cp "$scratch/$unit" "$scratch/fmp4-serve@srv-recordings.service"
systemd-analyze verify --man=no "$scratch/fmp4-serve@srv-recordings.service" || fail "the unit is not right"
# 0 is locked down, 10 is open.
systemd-analyze security --offline=yes --threshold=15 --no-pager "$scratch/fmp4-serve@srv-recordings.service" \
  >"$scratch/security.txt" || fail "its exposure: $(tail -n 1 "$scratch/security.txt")"

ffmpeg -nostdin -v error -y -f lavfi -i testsrc2=size=160x90:rate=25:duration=2 -c:v libx264 -preset veryfast \
  -pix_fmt yuv420p -g 5 "$scratch/source.mp4"
"$FMP4" --quiet package "$scratch/source.mp4" --output "$scratch/recordings/clip.mp4" >/dev/null 2>&1
chmod -R a+rX "$scratch"
chmod a+w "$scratch/out"

cat >"$scratch/units/try.service" <<'END'
[Unit]
Wants=fmp4-serve@srv-recordings.service
After=fmp4-serve@srv-recordings.service
[Service]
Type=oneshot
ExecStart=/bin/bash /try.sh
ExecStopPost=/bin/systemctl exit
END
# Runs in the container.
cat >"$scratch/try.sh" <<'END'
cd /out
url=http://127.0.0.1:8000
curl --silent --retry 50 --retry-delay 1 --retry-connrefused "$url/recordings.json" >list.json
curl --silent "$url/" >page.html
curl --silent --range 0-99 "$url/media/clip.m4v" >part
unit=fmp4-serve@srv-recordings
process=$(systemctl show --property=MainPID --value "$unit")
cp "/proc/$process/status" status
for folder in home opt root srv var; do ls -A "/proc/$process/root/$folder"; done >seen.txt
touch "/proc/$process/root/srv/recordings/new" 2>touch.txt && echo yes >written
systemctl stop "$unit"
systemctl show --property=Result --value "$unit" >result.txt
END
timeout --kill-after=5 120 systemd-nspawn --quiet --directory=/ --volatile=yes --private-network --register=no \
  --keep-unit --console=pipe --bind-ro="$(dirname "$FMP4"):/fmp4" --bind-ro="$scratch/recordings:/srv/recordings" \
  --bind-ro="$scratch:/var/other" --bind-ro="$scratch:/srv/other" \
  --bind-ro="$scratch/units:/etc/systemd/system" --bind-ro="$scratch/try.sh:/try.sh" --bind="$scratch/out:/out" \
  --boot systemd.unit=try.service systemd.firstboot=no </dev/null >"$scratch/console.txt" 2>&1 || true
cd "$scratch/out"
[[ -e result.txt ]] || fail "the container did not run: $(tail -n 20 "$scratch/console.txt")"

grep --quiet '"name":"clip"' list.json || fail "the folder is not listed: $(cat list.json)"
grep --quiet '<title>' page.html || fail "there is no page"
head --bytes=100 "$scratch/recordings/clip.m4v" | cmp - part || fail "a part was not sent right"
[[ $(awk '$1 == "Uid:" { print ($2 >= 61184) }' status) == 1 ]] || fail "it does not run as a user of its own"
for line in "CapEff: 0000000000000000" "CapBnd: 0000000000000000" "NoNewPrivs: 1" "Seccomp: 2"; do
  grep --quiet "$(printf '^%s\t%s$' "${line%% *}" "${line#* }")" status || fail "not so: $line"
done
# /var/tmp is its own.
[[ $(tr '\n' ' ' <seen.txt) == "recordings tmp " ]] || fail "it sees more than the folder: $(cat seen.txt)"
[[ ! -e written ]] || fail "the folder can be written to"
[[ $(cat result.txt) == success ]] || fail "it did not end well: $(cat result.txt)"
echo "test_unit: passed, exposure $(grep -o '[0-9.]* OK' "$scratch/security.txt")"

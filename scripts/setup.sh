#!/usr/bin/env bash
# Installs the Debian 12 packages that building and testing need and that are not there yet, for Linux or for
# what is named: `setup.sh windows` for the cross build, its libraries included, `setup.sh wine` for running it.
# Runs as root or through sudo; does nothing when everything is there.
set -euo pipefail
cd "$(dirname "$0")/.."

linux=(
  g++ clang libclang-rt-14-dev  # both compilers, and the sanitizers' run time
  cmake ninja-build pkg-config ccache clang-format
  libgtest-dev libgmock-dev libbenchmark-dev
  libtinyxml2-dev libcli11-dev nlohmann-json3-dev libhwy-dev zlib1g-dev
  locales  # one with decimal commas
  ffmpeg mediainfo faad  # make the tests' media and bear witness; run as programs only
)
windows=(
  g++-mingw-w64-x86-64-posix libz-mingw-w64-dev
  dpkg-dev  # takes source packages apart
)
wine=(wine64)

case ${1:-linux} in
  linux) packages=("${linux[@]}") ;;
  windows) packages=("${linux[@]}" "${windows[@]}") ;;
  wine) packages=("${wine[@]}") ;;
  *)
    echo "setup: give windows, wine or nothing" >&2
    exit 2
    ;;
esac

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null || true)
  [[ $status == installed ]] || missing+=("$package")
done

install_missing() {
  local as_root=()
  if [[ $EUID -ne 0 ]]; then
    if ! command -v sudo >/dev/null; then
      echo "setup: these packages are missing, and installing them takes root or sudo: ${missing[*]}" >&2
      exit 1
    fi
    as_root=(sudo)
  fi
  echo "setup: installing ${missing[*]}"
  "${as_root[@]}" apt-get update -qq
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -qq --yes --no-install-recommends "${missing[@]}" >/dev/null
}

if [[ ${#missing[@]} -ne 0 ]]; then install_missing; fi
echo "setup: all ${#packages[@]} packages are installed"
if [[ ${1:-} == windows ]]; then scripts/windows_libraries.sh; fi

#!/usr/bin/env bash
# Installs the Debian 12 packages that building and testing need and that are not there yet.
# Runs as root or through sudo; does nothing when everything is there.
set -euo pipefail

packages=(
  g++ clang libclang-rt-14-dev  # both compilers, and the sanitizers' run time
  cmake ninja-build pkg-config ccache clang-format
  libgtest-dev libgmock-dev libbenchmark-dev
  libtinyxml2-dev libcli11-dev nlohmann-json3-dev libhwy-dev zlib1g-dev
  locales  # one with decimal commas
  ffmpeg mediainfo faad liba52-0.7.4-dev  # make the tests' media and bear witness (a52dec is in the last); run as programs only
)

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null || true)
  [[ $status == installed ]] || missing+=("$package")
done
if [[ ${#missing[@]} -eq 0 ]]; then
  echo "setup: all ${#packages[@]} packages are installed"
  exit 0
fi

as_root=()
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
echo "setup: done"

#!/usr/bin/env bash
# Installs what building and testing need and is not there yet: Debian 12 packages, as root or through sudo, and
# the npm packages that the package-lock.json files pin, into node_modules beside them. For Linux, or as named:
# `setup.sh windows` for the cross build, its libraries included, `setup.sh wine` for running it.
set -euo pipefail
cd "$(dirname "$0")/.."

linux=(
  g++ clang libclang-rt-14-dev  # both compilers, and the sanitizers' run time
  cmake ninja-build pkg-config ccache clang-format clang-tidy
  libgtest-dev libgmock-dev
  libtinyxml2-dev libcli11-dev nlohmann-json3-dev libhwy-dev zlib1g-dev libcpp-httplib-dev
  locales  # one with decimal commas
  ffmpeg mediainfo faad liba52-0.7.4-dev  # make the tests' media, reference decoders (a52dec is in the last); run as programs only
  chromium  # runs the served page
  python3  # runs scripts/mutate.py, reads the scripts of deploy/
)
# A Node.js from elsewhere may bring npm along, and then excludes Debian's packages.
command -v node >/dev/null || linux+=(nodejs)
command -v npm >/dev/null || linux+=(npm)
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

install_packages() {
  local missing=() package status as_root=()
  for package in "${packages[@]}"; do
    status=$(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null || true)
    [[ $status == installed ]] || missing+=("$package")
  done
  if [[ ${#missing[@]} -eq 0 ]]; then
    echo "setup: all ${#packages[@]} packages are installed"
    return
  fi
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

# install_modules FOLDER: exactly what its package-lock.json says; nothing when that is there.
install_modules() {
  local lock=$1/package-lock.json installed=$1/node_modules/.installed
  cmp -s "$lock" "$installed" && return
  echo "setup: installing the npm packages of $1"
  (cd "$1" && npm ci --ignore-scripts --no-audit --no-fund --loglevel=error >/dev/null)
  cp "$lock" "$installed"
}

install_packages
install_modules tool/serve/page
install_modules tests/players
if [[ ${1:-} == windows ]]; then scripts/windows_libraries.sh; fi
echo "setup: done"

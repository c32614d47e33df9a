#!/usr/bin/env bash
# Builds the libraries that the Windows cross build links, from Debian's source packages, into
# ${XDG_CACHE_HOME:-~/.cache}/fmp4-windows; header-only ones are taken from their installed Debian packages.
# Skips what is already there in the installed version.
set -euo pipefail
toolchain=$(cd "$(dirname "$0")/.." && pwd)/cmake/windows.cmake
prefix=${XDG_CACHE_HOME:-$HOME/.cache}/fmp4-windows
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# This machine's mirrors, as sources of source packages, in a separate configuration: the machine's own stays unchanged.
enable_sources() {
  [[ -d $scratch/apt ]] && return
  mkdir -p "$scratch"/apt/{parts,lists/partial}
  local file
  for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
    [[ -f $file ]] && sed -n 's/^deb /deb-src /p' "$file"
  done >"$scratch/apt/parts/sources.list"
  for file in /etc/apt/sources.list.d/*.sources; do
    [[ -f $file ]] || continue
    sed 's/^Types:.*/Types: deb-src/' "$file" >"$scratch/apt/parts/${file##*/}"
  done
  cat >"$scratch/apt/apt.conf" <<END
Dir::Etc::SourceList "$scratch/apt/none.list";
Dir::Etc::SourceParts "$scratch/apt/parts";
Dir::State::Lists "$scratch/apt/lists";
APT::Sandbox::User "root";
END
  APT_CONFIG=$scratch/apt/apt.conf apt-get update -qq || true  # a mirror without sources does no harm
}

# build SOURCE_PACKAGE BINARY_PACKAGE [CMAKE_OPTION...]: the version of the installed BINARY_PACKAGE.
build() {
  local source=$1 version options=("${@:3}")
  version=$(dpkg-query --show --showformat='${source:Version}' "$2")
  [[ $(cat "$prefix/$source.version" 2>/dev/null) == "$version" ]] && return
  echo "windows libraries: building $source $version"
  enable_sources
  (cd "$scratch" && APT_CONFIG=$scratch/apt/apt.conf apt-get source -qq "$source=$version" >/dev/null)
  local launcher=()
  if command -v ccache >/dev/null; then launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache); fi
  cmake -G Ninja -S "$scratch/$source"-*/ -B "$scratch/build-$source" -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" -DBUILD_SHARED_LIBS=OFF \
    -Wno-dev --no-warn-unused-cli "${launcher[@]}" "${options[@]}" >/dev/null
  cmake --build "$scratch/build-$source" -j "$(nproc)" >/dev/null
  cmake --install "$scratch/build-$source" >/dev/null
  echo "$version" >"$prefix/$source.version"
}

mkdir -p "$prefix/include" "$prefix/share/cmake"
build tinyxml2 libtinyxml2-dev
build googletest libgtest-dev
# To the loopback address alone, and nothing is compressed.
build cpp-httplib libcpp-httplib-dev -DHTTPLIB_COMPILE=ON -DHTTPLIB_USE_OPENSSL_IF_AVAILABLE=OFF \
  -DHTTPLIB_USE_ZLIB_IF_AVAILABLE=OFF -DHTTPLIB_USE_BROTLI_IF_AVAILABLE=OFF
rm -rf "$prefix"/{include,share/cmake}/{CLI,CLI11,nlohmann,nlohmann_json,hwy}
cp -r /usr/include/{CLI,nlohmann,hwy} "$prefix/include/"
cp -r /usr/share/cmake/{CLI11,nlohmann_json} "$prefix/share/cmake/"
echo "windows libraries: ready in $prefix"

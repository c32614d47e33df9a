#!/usr/bin/env bash
# Makes what users install, in build/packages: a zip for Windows and a package for Debian 12. Each holds the
# plug-in, the host library and the program, from the builds that the tests run on. `scripts/package.sh windows` or
# `debian` makes one of them.
set -euo pipefail
cd "$(dirname "$0")/.."

version=$(sed -n 's/^project(vlx_fmp4 VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
packages=build/packages

fail() {
  echo "package: FAILED: $*" >&2
  exit 1
}

configure_and_build() {
  local launcher=()
  if command -v ccache >/dev/null; then launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache); fi
  cmake --preset "$1" "${launcher[@]}" >/dev/null
  cmake --build --preset "$1" -j "$(nproc)" --target fmp4 vlx_fmp4
}

# The third-party works in the binaries and the served page, with the notices that their licences require.
# Usage: licences DEBIAN_PACKAGE...
licences() {
  local package player
  echo "fmp4 $version holds parts of the following works."
  for package in "$@"; do
    printf '\n== %s %s\n\n' "$package" "$(dpkg-query --show --showformat='${Version}' "$package")"
    cat "/usr/share/doc/$package/copyright"
  done
  for player in dashjs hls.js shaka-player; do
    printf '\n== %s %s\n\n' "$player" \
      "$(node -p 'require(process.argv[1]).version' "$PWD/tool/serve/page/node_modules/$player/package.json")"
    cat "tool/serve/page/node_modules/$player"/LICENSE*
  done
}

make_windows() {
  scripts/setup.sh windows
  configure_and_build windows
  local folder=$packages/fmp4-$version-windows
  rm -rf "$folder" "$folder.zip"
  mkdir -p "$folder"
  cp build/windows/bin/{vlx_fmp4.dll,vlhost.dll,fmp4_serve.dll,fmp4.exe} "$folder"
  x86_64-w64-mingw32-strip "$folder"/*.dll "$folder"/*.exe
  cp -r build/windows/bin/page "$folder"
  # Text for Windows: lines end as its editors expect.
  licences libtinyxml2-dev libhwy-dev libcli11-dev nlohmann-json3-dev libcpp-httplib-dev \
    g++-mingw-w64-x86-64-posix mingw-w64-common | sed 's/$/\r/' >"$folder/THIRD-PARTY-LICENCES.txt"
  sed "s/@VERSION@/$version/; s/\$/\r/" packaging/README-windows.txt >"$folder/README.txt"
  (cd "$packages" && cmake -E tar cf "fmp4-$version-windows.zip" --format=zip "fmp4-$version-windows")
  rm -rf "$folder"
  echo "package: $folder.zip"
}

# The packages that the program's libraries come from, as a Depends field.
debian_dependencies() {
  local root=$1 scratch
  scratch=$(mktemp -d)
  mkdir "$scratch/debian"
  printf 'Source: fmp4\n\nPackage: fmp4\nArchitecture: amd64\n' >"$scratch/debian/control"
  (cd "$scratch" && dpkg-shlibdeps -O --warnings=0 -l"$root/usr/lib/fmp4" "$root"/usr/lib/fmp4/{fmp4,fmp4_serve.so,vlx_fmp4.so,libvlhost.so}) |
    sed 's/^shlibs:Depends=//'
  rm -rf "$scratch"
}

# install_completion SHELL FILE
install_completion() {
  install -d "$(dirname "$2")"
  build/dev/bin/fmp4 completion "$1" >"$2"
  chmod 644 "$2"
}

make_debian() {
  scripts/setup.sh
  configure_and_build dev
  local root=$PWD/$packages/debian
  rm -rf "$root"
  install -D -t "$root/usr/lib/fmp4" "build/dev/bin"/{fmp4,fmp4_serve.so,vlx_fmp4.so,libvlhost.so}
  strip --strip-unneeded "$root"/usr/lib/fmp4/*
  chmod 644 "$root"/usr/lib/fmp4/*.so
  install -D -m 644 -t "$root/usr/lib/fmp4/page" "build/dev/bin"/page/*
  # The program finds its libraries beside itself, where the link leads.
  install -d "$root/usr/bin"
  ln -s ../lib/fmp4/fmp4 "$root/usr/bin/fmp4"
  # Enabled by nothing: an instance is for who wants one.
  install -D -m 644 -t "$root/usr/lib/systemd/system" deploy/systemd/fmp4-serve@.service
  install_completion bash "$root/usr/share/bash-completion/completions/fmp4"
  install_completion zsh "$root/usr/share/zsh/vendor-completions/_fmp4"
  install_completion fish "$root/usr/share/fish/vendor_completions.d/fmp4.fish"
  install -d "$root/usr/share/man/man1" "$root/usr/share/doc/fmp4"
  sed "s/@VERSION@/$version/" packaging/fmp4.1 | gzip -9n >"$root/usr/share/man/man1/fmp4.1.gz"
  install -D -m 644 -t "$root/usr/share/doc/fmp4" README.md CHANGELOG.md
  install -D -m 644 -t "$root/usr/share/doc/fmp4/docs" docs/*.md
  licences libhwy-dev libcli11-dev nlohmann-json3-dev libcpp-httplib-dev >"$root/usr/share/doc/fmp4/copyright"
  local size
  size=$(du -ks --apparent-size "$root/usr" | cut -f1)
  install -d "$root/DEBIAN"
  sed "s/@VERSION@/$version/; s/@SIZE@/$size/; s/@DEPENDS@/$(debian_dependencies "$root")/" \
    packaging/control >"$root/DEBIAN/control"
  (cd "$root" && find usr -type f -print0 | sort -z | xargs -0 md5sum) >"$root/DEBIAN/md5sums"
  dpkg-deb --root-owner-group --build "$root" "$packages/fmp4_${version}_amd64.deb" >/dev/null
  rm -rf "$root"
  echo "package: $packages/fmp4_${version}_amd64.deb"
}

mkdir -p "$packages"
case ${1:-all} in
  windows) make_windows ;;
  debian) make_debian ;;
  all) make_debian && make_windows ;;
  *) fail "give windows, debian or nothing" ;;
esac

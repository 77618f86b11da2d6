#!/usr/bin/env bash
# Installs what the build needs from Debian's packages, then cross-builds the
# four libraries the agent links and GoogleTest for x86_64-w64-mingw32 from
# Debian's source packages into a cache outside the checkout, keyed by version
# and by the recipe that built them.
set -euo pipefail
shopt -s inherit_errexit

here=$(cd "$(dirname "$0")/.." && pwd)
# shellcheck source=scripts/stage_times.sh
. "$here/scripts/stage_times.sh"
cache=${ZENT_CACHE:-$HOME/.cache/zent}
host=x86_64-w64-mingw32
jobs=$(nproc)

packages=(
  g++ cmake ninja-build make pkg-config file dpkg-dev
  g++-mingw-w64-x86-64-posix mingw-w64-tools binutils-mingw-w64-x86-64
  wine wine64
  libtinyxml2-dev rapidjson-dev libssl-dev libgtest-dev
  clang python3 python3-pytest osslsigncode openssl ccache
  libre2-dev ripgrep unicode-data python3-six msitools wixl
)

sudo_() { if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi; }

install_packages() {
  local missing=()
  for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'ok installed' || missing+=("$p")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  echo "zent setup: installing ${missing[*]}"
  sudo_ apt-get update -q
  sudo_ env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends "${missing[@]}"
}

# The mingw compiler must use the posix thread model: std::thread and
# std::mutex come from winpthreads, linked statically.
select_posix_threads() {
  local alt
  for alt in x86_64-w64-mingw32-g++ x86_64-w64-mingw32-gcc; do
    if update-alternatives --list "$alt" >/dev/null 2>&1; then
      sudo_ update-alternatives --set "$alt" "/usr/bin/$alt-posix" >/dev/null
    fi
  done
}

# Source entries are derived from the machine's own binary entries, so the
# mirror stays whatever the machine already uses.
enable_sources() {
  local out=/etc/apt/sources.list.d/zent-deb-src.sources
  local outlist=/etc/apt/sources.list.d/zent-deb-src.list
  [ -e "$out" ] || [ -e "$outlist" ] && return 0
  local f tmp
  tmp=$(mktemp)
  for f in /etc/apt/sources.list.d/*.sources; do
    [ -e "$f" ] || continue
    grep -q '^Types:.*deb-src' "$f" && continue
    grep -q 'debian' "$f" || continue
    sed -n 's/^Types: deb$/Types: deb-src/;p' "$f" >>"$tmp"
    echo >>"$tmp"
  done
  if [ -s "$tmp" ]; then
    sudo_ cp "$tmp" "$out"
  else
    cat /etc/apt/sources.list /etc/apt/sources.list.d/*.list 2>/dev/null |
      grep -E '^deb [^#]*debian' | sed 's/^deb /deb-src /' >"$tmp" || true
    sudo_ cp "$tmp" "$outlist"
  fi
  rm -f "$tmp"
  sudo_ apt-get update -q
}

# Versions to try for a source package: the one matching the installed -dev
# package first, then what the source index offers, newest first (a mirror
# may lack the newest security upload's sources).
candidate_versions() {
  local src=$1 dev=$2
  { dpkg-query -W -f='${source:Version}\n' "$dev"
    apt-cache showsrc "$src" 2>/dev/null | sed -n 's/^Version: //p' | sort -V -r
  } | awk 'NF && !seen[$0]++'
}

fetch_source() {
  local pkg=$1 ver=$2 dir=$3
  rm -rf "$dir" && mkdir -p "$dir"
  (cd "$dir" && apt-get source -q "$pkg=$ver" >/dev/null 2>&1) || return 1
  mv "$(find "$dir" -mindepth 1 -maxdepth 1 -type d | head -n 1)" "$dir/src"
}

cmake_cross() {
  local src=$1 build=$2 prefix=$3; shift 3
  cmake -S "$src" -B "$build" -G Ninja \
    -DCMAKE_TOOLCHAIN_FILE="$here/cmake/mingw-w64-x86_64.cmake" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" \
    -DBUILD_SHARED_LIBS=OFF "$@" >/dev/null
  cmake --build "$build" -j "$jobs" >/dev/null
  cmake --install "$build" >/dev/null
}

compile_tinyxml2() { cmake_cross "$1" "$1/../build" "$2" -Dtinyxml2_BUILD_TESTING=OFF; }
compile_googletest() { cmake_cross "$1" "$1/../build" "$2" -Dgtest_force_shared_crt=OFF; }
# Debian's source of RE2 leaves out its generated tables; they are made again
# from the machine's Unicode data, as Debian's own build does. The sources
# stay beside the library: the fuzz tree compiles them again, instrumented
# like the core.
compile_re2() {
  (cd "$1" &&
     perl re2/make_perl_groups.pl >re2/perl_groups.cc &&
     python3 re2/make_unicode_casefold.py >re2/unicode_casefold.cc &&
     python3 re2/make_unicode_groups.py >re2/unicode_groups.cc)
  rm -rf "$2.source.tmp" && cp -r "$1" "$2.source.tmp"
  cmake_cross "$1" "$1/../build" "$2" -DRE2_BUILD_TESTING=OFF
  rm -rf "$2/source" && mv "$2.source.tmp" "$2/source"
}
# Only libcrypto, and in it only what the agent, its tests and the stand-ins
# call: SHA-1 (the metadata answers' hash), SHA-256 (config.rbf's digest in
# the stand-ins), AES-256-CBC keyed by PBKDF2-HMAC-SHA-512 (the settings'
# encryption), the memory, base64 and cipher BIOs, and the random generator
# (its DRBG runs on AES). The protocols are libssl's, which is not built;
# every other algorithm, the engines, the legacy provider and the sockets
# are left out. The deprecated calls stay: the agent still makes one
# (OpenSSL_add_all_digests). The headers are installed as install_dev would,
# all of them.
compile_openssl() {
  (cd "$1" &&
     ./Configure mingw64 no-shared no-tests no-module \
       no-ssl no-tls no-dtls no-sock no-dgram no-srp no-psk \
       no-engine no-legacy no-dso no-async no-ui-console \
       no-cms no-cmp no-ct no-ocsp no-ts no-rfc3779 no-comp \
       no-ec no-dh no-dsa no-aria no-bf no-blake2 no-camellia no-cast \
       no-chacha no-poly1305 no-cmac no-des no-idea no-md4 no-mdc2 no-ocb \
       no-rc2 no-rc4 no-rmd160 no-scrypt no-seed no-siphash no-siv \
       no-sm2 no-sm3 no-sm4 no-whirlpool \
       --cross-compile-prefix=$host- --prefix="$2" --libdir=lib >/dev/null &&
     make -j "$jobs" build_generated >/dev/null &&
     make -j "$jobs" libcrypto.a >/dev/null &&
     mkdir -p "$2/include/openssl" "$2/lib" &&
     cp include/openssl/*.h "$2/include/openssl/" &&
     cp libcrypto.a "$2/lib/")
}

# A short digest of how a library is built: its compile_ function, the CMake
# helper and the toolchain file. It is part of the prefix's name, so that a
# changed recipe builds the library again instead of reusing the old build.
recipe_key() {
  { declare -f "compile_$1" cmake_cross; cat "$here/cmake/mingw-w64-x86_64.cmake"; } |
    sha256sum | cut -c 1-12
}

# cross_build SOURCE-PACKAGE DEV-PACKAGE: prints the install prefix.
cross_build() {
  local src=$1 dev=$2 ver prefix start key
  local -a versions
  start=$(stage_now_ms)
  key=$(recipe_key "$src")
  enable_sources >&2
  mapfile -t versions < <(candidate_versions "$src" "$dev")
  for ver in "${versions[@]}"; do
    prefix=$cache/mingw/$src-$ver-$key
    [ -e "$prefix/.done" ] && { stage_done "library $src" "$start" cached; echo "$prefix"; return 0; }
  done
  local work=$cache/work/$src
  for ver in "${versions[@]}"; do
    fetch_source "$src" "$ver" "$work" || continue
    prefix=$cache/mingw/$src-$ver-$key
    echo "zent setup: cross-building $src $ver" >&2
    rm -rf "$prefix"
    "compile_$src" "$work/src" "$prefix" >"$work/build.log" 2>&1 ||
      { tail -n 40 "$work/build.log" >&2; echo "zent setup: building $src failed" >&2; return 1; }
    touch "$prefix/.done"; rm -rf "$work"
    stage_done "library $src" "$start" "built $ver"
    echo "$prefix"; return 0
  done
  echo "zent setup: no source of $src could be fetched" >&2
  return 1
}

# RapidJSON is header-only: Debian's headers, copied into a prefix of their
# own so that the cross build does not see the rest of /usr/include.
rapidjson_headers() {
  local ver prefix
  ver=$(dpkg-query -W -f='${source:Version}' rapidjson-dev)
  prefix=$cache/mingw/rapidjson-$ver
  if [ ! -e "$prefix/.done" ]; then
    rm -rf "$prefix" && mkdir -p "$prefix/include"
    cp -r /usr/include/rapidjson "$prefix/include/"
    touch "$prefix/.done"
  fi
  echo "$prefix"
}

main() {
  timed "packages" install_packages
  select_posix_threads
  mkdir -p "$cache/mingw"
  local tx gt ossl rj re
  tx=$(cross_build tinyxml2 libtinyxml2-dev)
  gt=$(cross_build googletest libgtest-dev)
  ossl=$(cross_build openssl libssl-dev)
  rj=$(rapidjson_headers)
  re=$(cross_build re2 libre2-dev)
  # The build reads where the cross-built libraries are from this file.
  mkdir -p "$here/build"
  cat >"$here/build/deps.cmake.new" <<EOT
set(ZENT_MINGW_PREFIXES "$tx;$gt;$ossl;$rj;$re")
set(ZENT_RE2_SOURCE "$re/source")
EOT
  if ! cmp -s "$here/build/deps.cmake.new" "$here/build/deps.cmake"; then
    mv "$here/build/deps.cmake.new" "$here/build/deps.cmake"
  else
    rm "$here/build/deps.cmake.new"
  fi
}

main "$@"

# What ./run, ./test and ./bench share. Sourced, with the project's root as the
# current directory.
root=$PWD
export DEBIAN_FRONTEND=noninteractive

die() {
  echo "$(basename "$0"): $*" >&2
  exit 2
}

packages_build="clang lld llvm cmake ninja-build make perl openssl libcli11-dev libfmt-dev libfreetype-dev libgmp-dev libpng-dev
  fonts-wqy-microhei"
packages_test="g++ libgtest-dev libclang-rt-14-dev osslsigncode xz-utils zlib1g-dev"
packages_bench="libgtest-dev osslsigncode xz-utils zlib1g-dev"

# Installs those of the named package groups that are missing.
require_packages() {
  local group missing="" package sudo=""
  for group in "$@"; do
    local list="packages_$group"
    for package in ${!list}; do
      dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q '^install ok installed' || missing="$missing $package"
    done
  done
  [ -n "$missing" ] || return 0
  command -v apt-get > /dev/null || die "these Debian packages are missing and there is no apt-get:$missing"
  if [ "$(id -u)" != 0 ]; then
    command -v sudo > /dev/null || die "these Debian packages are missing and only root can install them:$missing"
    sudo=sudo
  fi
  echo "Installing:$missing"
  mkdir -p build
  # shellcheck disable=SC2086
  { $sudo apt-get update && $sudo apt-get install -y --no-install-recommends $missing; } > build/apt.log 2>&1 ||
    die "these Debian packages cannot be installed (see build/apt.log):$missing"
}

# build PRESET TARGET...: configures a preset when needed and builds targets of it, quiet unless it fails.
build() {
  local preset=$1 log="build/$1.log"
  shift
  mkdir -p build
  if [ ! -f "build/$preset/build.ninja" ]; then
    cmake --preset "$preset" ${OPENSSL_SOURCE:+-DOPENSSL_SOURCE="$OPENSSL_SOURCE"} > "$log" 2>&1 &
    # The crypto library takes a minute the first time: its line is worth seeing at once.
    local pid=$!
    tail --pid=$pid -n +1 -F "$log" 2>/dev/null | grep --line-buffered '^OpenSSL' || true
    wait $pid || { tail -n 30 "$log" >&2; die "configuring $preset failed"; }
  fi
  cmake --build --preset "$preset" --target "$@" > "$log" 2>&1 || { tail -n 40 "$log" >&2; die "building $preset failed"; }
}

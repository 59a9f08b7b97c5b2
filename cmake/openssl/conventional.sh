#!/usr/bin/env bash
# Builds CACHE/conventional/libcrypto.a for ./bench, once: the same OpenSSL with
# the same options as the driver's, in C alone and on the host's C library. It
# stands for the driver without assembler routines, and is part of no build.
#   conventional.sh CACHE
# CACHE/source must be there (build.sh).
set -euo pipefail
cache=$(cd "$1" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
out=$cache/conventional
die() { echo "conventional.sh: $*" >&2; exit 1; }

stamp=$( { cat "$cache/openssl-version.txt" "$here/options.txt" "$here/conventional.sh"
           clang --version | head -n 1; readlink -f "$cache/source"; } | sha256sum)
if [ "$(cat "$out/stamp" 2>/dev/null || true)" = "$stamp" ]; then
  exit 0
fi
echo "Building libcrypto without assembler, for comparison"
rm -rf "$out"
mkdir -p "$out"
cd "$out"
run() { "$@" >> build.log 2>&1 || { tail -n 20 build.log >&2; die "building OpenSSL failed (see $out/build.log)"; }; }
# Its random generator is the host's, because no driver feeds it.
# shellcheck disable=SC2046
run perl "$cache/source/Configure" linux-x86_64-clang no-asm $(grep -v -e --with-rand-seed "$here/options.txt") \
  CFLAGS="-Os -fno-strict-aliasing -ffunction-sections -fdata-sections"
run make build_generated
run make -j"$(nproc)" libcrypto.a
find . -name '*.o' -delete
echo "$stamp" > stamp

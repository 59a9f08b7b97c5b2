#!/usr/bin/env bash
# Builds libcrypto.a for one target, once: a second call with nothing changed
# does nothing.
#   build.sh TARGET CACHE [SOURCE]
# TARGET is image, linked or instrumented; CACHE holds everything that is
# fetched and built; SOURCE is an OpenSSL tree or tarball to take instead of
# Debian's. Leaves CACHE/TARGET/libcrypto.a, CACHE/TARGET/include (generated
# headers), CACHE/source/include, and CACHE/openssl-version.txt.
set -euo pipefail
target=$1
mkdir -p "$2"
cache=$(cd "$2" && pwd)
given=${3:-}
here=$(cd "$(dirname "$0")" && pwd)
runtime=$(cd "$here/../../driver/runtime/include" && pwd)
die() { echo "build.sh: $*" >&2; exit 1; }

exec 9> "$cache/lock"
flock 9

tree_version() { sed -n 's/^MAJOR=\(.*\)/\1/p;s/^MINOR=\(.*\)/.\1/p;s/^PATCH=\(.*\)/.\1/p' "$1/VERSION.dat" | tr -d '\n'; }

prepare_source() {
  local origin hash tarball
  if [ -n "$given" ] && [ -d "$given" ]; then
    origin=$(cd "$given" && pwd)
    hash="(a tree, no tarball)"
    if [ "$(readlink -f "$cache/source" 2>/dev/null || true)" != "$(readlink -f "$origin")" ]; then
      rm -rf "$cache/source"
      ln -s "$origin" "$cache/source"
    fi
  else
    if [ -n "$given" ]; then
      tarball=$given
      [ -f "$tarball" ] || die "no such OpenSSL tree or tarball: $given"
    else
      tarball=$(ls "$cache"/download/openssl_3.0.*.tar.gz 2>/dev/null | sort -V | tail -n 1 || true)
      if [ -z "$tarball" ]; then
        "$here/fetch.sh" "$cache/download"
        tarball=$(ls "$cache"/download/openssl_3.0.*.tar.gz | sort -V | tail -n 1)
      fi
    fi
    hash=$(sha256sum < "$tarball" | cut -d' ' -f1)
    if [ "$(cat "$cache/source.sha256" 2>/dev/null || true)" != "$hash" ] || [ -L "$cache/source" ]; then
      rm -rf "$cache/source" "$cache/source.new"
      mkdir "$cache/source.new"
      tar -xzf "$tarball" -C "$cache/source.new" --strip-components=1
      mv "$cache/source.new" "$cache/source"
      echo "$hash" > "$cache/source.sha256"
    fi
  fi
  [ -f "$cache/source/VERSION.dat" ] || die "not an OpenSSL tree: ${given:-$cache/source}"
  case "$(tree_version "$cache/source")" in
    3.0.*) ;;
    *) die "OpenSSL $(tree_version "$cache/source") is not of the 3.0 line" ;;
  esac
  printf 'OpenSSL %s\nsha256 of the tarball: %s\n' "$(tree_version "$cache/source")" "$hash" > "$cache/openssl-version.txt"
}

prepare_source
stamp=$( { cat "$cache/openssl-version.txt" "$here/targets.conf" "$here/options.txt" "$here/runtime-names.txt" \
               "$here/section-assembly.pl" "$here/build.sh"
           (cd "$runtime" && find . -type f | LC_ALL=C sort | xargs cat)
           clang --version | head -n 1; readlink -f "$cache/source"; } | sha256sum)
if [ "$(cat "$cache/$target/stamp" 2>/dev/null || true)" = "$stamp" ]; then
  exit 0
fi

tr '\n' ' ' < "$cache/openssl-version.txt"
echo "- building libcrypto for the $target target"
out="$cache/$target"
rm -rf "$out"
mkdir -p "$out"
cd "$out"
flags="-isystem $runtime -include CrtTypes.h -ffile-prefix-map=$(readlink -f "$cache/source")=openssl -ffile-prefix-map=$out=openssl"
run() { "$@" >> build.log 2>&1 || { tail -n 20 build.log >&2; die "building OpenSSL failed (see $out/build.log)"; }; }
# shellcheck disable=SC2046
run perl "$cache/source/Configure" --config="$here/targets.conf" "driver-$target" $(cat "$here/options.txt") "CPPFLAGS=$flags"
run make "CPPFLAGS=$flags" build_generated
# Generators that find no assembler which knows AVX leave it out; the routines for ADX and BMI2, which use general
# registers alone, are generated in full. For ELF the stand-in must still pass for clang.
mute=true
[ "$target" = image ] || mute="echo clang"
assembly=$(grep -oE '^[a-z0-9/_-]+\.s:' Makefile | tr -d :)
# shellcheck disable=SC2086
{
  run make "CC=$mute" $(grep -vE 'x86_64-mont5?\.s|rsaz-x86_64\.s' <<< "$assembly")
  run make $assembly
  if [ "$target" = image ]; then
    run "$here/section-assembly.pl" $assembly
  fi
}
# The library's own BIO_printf gives way to the runtime's, which prints nothing.
run make "CPPFLAGS=$flags -DBIO_printf=LibraryBioPrintf" crypto/bio/libcrypto-lib-bio_print.o
run make -j"$(nproc)" libcrypto.a
if [ "$target" != image ]; then
  run llvm-objcopy --redefine-syms="$here/runtime-names.txt" libcrypto.a
fi
find . -name '*.o' -delete
echo "$stamp" > stamp

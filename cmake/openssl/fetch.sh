#!/usr/bin/env bash
# Fetches the upstream tarball of Debian's OpenSSL 3.0 source package into DIR,
# from the machine's own package sources and without touching the system: the
# lists and the deb-src entries live under DIR.
#   fetch.sh DIR
set -euo pipefail
dir=$(mkdir -p "$1" && cd "$1" && pwd)
die() { echo "fetch.sh: $*" >&2; exit 1; }

mkdir -p "$dir/apt/lists/partial" "$dir/apt/sources"
rm -f "$dir"/apt/sources/*
shopt -s nullglob
for file in /etc/apt/sources.list.d/*.sources; do
  grep -qi debian "$file" && sed 's/^Types:.*/Types: deb-src/' "$file" > "$dir/apt/sources/$(basename "$file")"
done
for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
  [ -f "$file" ] && sed -n 's/^deb\(-src\)\{0,1\} /deb-src /p' "$file" | grep -i debian | sort -u \
    > "$dir/apt/sources/$(basename "$file" .list).list" || true
done
find "$dir/apt/sources" -size 0 -delete

apt=(-o Dir::Etc::sourcelist=/dev/null -o "Dir::Etc::sourceparts=$dir/apt/sources"
     -o "Dir::State::Lists=$dir/apt/lists" -o APT::Sandbox::User=root)
apt-get "${apt[@]}" update > "$dir/apt/update.log" 2>&1 || die "the package lists cannot be read (see $dir/apt/update.log)"
versions=$(apt-cache "${apt[@]}" showsrc openssl 2>/dev/null | sed -n 's/^Version: \(3\.0\..*\)/\1/p' | sort -Vru)
[ -n "$versions" ] || die "no OpenSSL 3.0 source package is listed"
cd "$dir"
for version in $versions; do
  if apt-get "${apt[@]}" source --download-only --tar-only "openssl=$version" > apt/source.log 2>&1; then
    exit 0
  fi
done
die "none of the listed OpenSSL versions is served (see $dir/apt/source.log)"

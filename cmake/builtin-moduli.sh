#!/usr/bin/env bash
# Turns the public keys of the built-in store into constants of the driver's source, or refuses them with one
# line. Reads public keys alone, writes nothing when it refuses.
#   builtin-moduli.sh OUTPUT KEYS [REFUSED]
# KEYS holds type1.pem, type3.pem and type4.pem; REFUSED is a list of fingerprints that no key may have.
set -euo pipefail
output=$1
keys=$2
refused=${3:-}
die() { echo "built-in keys: $*" >&2; exit 1; }
command -v openssl > /dev/null || die "the openssl command is missing"

# SubjectPublicKeyInfo of an RSA key (RFC 8017, appendix A.1), up to the algorithm's end.
rsa='^30(82....|81..|..)300d06092a864886f70d0101010500'
# All of it around a modulus of 2048 bits with the exponent 65537.
exact='^30820122300d06092a864886f70d01010105000382010f003082010a0282010100(.{512})0203010001$'

declare -A owner
text=
for type in 1 3 4; do
  file=$keys/type$type.pem
  [ -f "$file" ] || die "$file is missing"
  der=$(openssl pkey -pubin -in "$file" -outform DER 2> /dev/null | od -An -v -tx1 | tr -d ' \n') ||
    die "$file is not a public key in PEM form"
  [[ $der =~ $rsa ]] || die "$file is not an RSA key"
  shown=$(openssl pkey -pubin -in "$file" -noout -text_pub)
  [[ $shown =~ \(([0-9]+)\ bit\) && ${BASH_REMATCH[1]} = 2048 ]] || die "$file has ${BASH_REMATCH[1]:-unknown} bits, not 2048"
  [[ $shown =~ Exponent:\ 65537\  ]] || die "$file has another exponent than 65537"
  [[ $der =~ $exact ]] || die "$file is not in the form of RFC 8017"
  modulus=${BASH_REMATCH[1]}
  [ -z "${owner[$modulus]:-}" ] || die "$file is the same key as ${owner[$modulus]}"
  owner[$modulus]=$file
  fingerprint=$(openssl pkey -pubin -in "$file" -outform DER | sha256sum | cut -d' ' -f1)
  if [ -n "$refused" ] && grep -qi "^$fingerprint" "$refused"; then
    die "$file is a development key, whose private half is public"
  fi
  text+="// SHA-256 $fingerprint"$'\n'"inline constexpr BUILTIN_MODULUS mBuiltinModulusType$type = {{"$'\n'
  for ((word = 31; word >= 0; word--)); do
    text+="    0x${modulus:$((word * 16)):16},"$'\n'
  done
  text+=$'}};\n\n'
done
{
  printf '// Made from the public keys of the built-in store; the least-significant word comes first.\n'
  printf '#pragma once\n\n#include "driver/trust/BuiltinModulus.h"\n\n%s' "${text%$'\n'}"
} > "$output.new"
mv "$output.new" "$output"

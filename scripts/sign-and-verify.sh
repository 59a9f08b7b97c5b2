#!/usr/bin/env bash
# Signs a PE program by osslsigncode, under a chain of certificates made on the spot, and has the driver
# verify it: as it was signed, and with one byte changed.
#   sign-and-verify.sh PROGRAM FWBOOT
# Exits with 0 when the first is accepted and the second refused. Leaves nothing behind.
set -euo pipefail
program=$(realpath "$1")
fwboot=$(realpath "$2")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"

# quietly COMMAND...: shows what the command prints only if it fails.
quietly() {
  "$@" > log 2>&1 < /dev/null || { cat log >&2; echo "$(basename "$0"): $1 failed" >&2; exit 2; }
}

# issue NAME ISSUER EXTENSIONS: NAME.pem with its key in NAME.key; its own issuer is self-signed.
issue() {
  printf '%s\nsubjectKeyIdentifier=hash\n' "$3" > "$1.ext"
  quietly openssl req -new -newkey rsa:2048 -nodes -keyout "$1.key" -subj "/O=Demonstration/CN=$1" \
    -out "$1.csr"
  local signer="-CA $2.pem -CAkey $2.key -CAcreateserial"
  [ "$1" != "$2" ] || signer="-signkey $1.key"
  # shellcheck disable=SC2086
  quietly openssl x509 -req -in "$1.csr" $signer -sha256 -days 30 -extfile "$1.ext" -out "$1.pem"
}

issue root root 'basicConstraints=critical,CA:TRUE'
issue intermediate root 'basicConstraints=critical,CA:TRUE'
issue signer intermediate 'extendedKeyUsage=codeSigning'
# The root stays outside the signature: whoever verifies brings it along.
quietly osslsigncode sign -h sha256 -certs signer.pem -ac intermediate.pem -key signer.key \
  -in "$program" -out signed.efi

printf '\nThe image, signed by osslsigncode: root -> intermediate -> signer, all made just now\n'
"$fwboot" verify signed.efi --trust root.pem

place=$(($(stat -c %s "$program") / 2))
byte=$(od -An -tu1 -j $place -N 1 signed.efi)
cp signed.efi changed.efi
# shellcheck disable=SC2059
printf "\\x$(printf %02x $((byte ^ 1)))" | dd of=changed.efi bs=1 seek=$place conv=notrunc status=none
printf '\nThe same with byte %d changed\n' $place
code=0
"$fwboot" verify changed.efi --trust root.pem || code=$?
[ $code = 1 ] || { echo "$(basename "$0"): a changed program was not refused" >&2; exit 1; }

#!/usr/bin/env bash
# Makes everything that docs/security.md speaks of, for trials and tests: an authority, its identities, signed policy.
# Of the identities "operations" and "price-server" have permissions, "stranger" has none, and "expired" is out of date.
# The keys lie beside the certificates without a password: never use them where it matters.
# usage: make-test-certificates.sh FOLDER
set -euo pipefail

[ $# -eq 1 ] || { echo "usage: $0 FOLDER" >&2; exit 2; }
policy="$(cd "$(dirname "$0")/../packaging/security" && pwd)"
umask 077
mkdir -p "$1"
cd "$1"

new_key() { openssl ecparam -name prime256v1 -genkey -noout -out "$1.key.pem"; }

authority() {   # NAME: one that signs itself
    new_key "$1"
    openssl req -x509 -new -key "$1.key.pem" -sha256 -days 3650 -subj "/O=Example/CN=$1" -out "$1.cert.pem"
}

identity() {    # NAME DAYS: signed by the authority, valid for so long from now
    new_key "$1"
    openssl req -new -key "$1.key.pem" -subj "/O=Example/CN=$1" |
        openssl x509 -req -CA authority.cert.pem -CAkey authority.key.pem -set_serial "0x$(openssl rand -hex 8)" \
            -sha256 -days "$2" -out "$1.cert.pem" 2>/dev/null
}

sign() {        # DOCUMENT: NAME.xml of the policy, signed, as NAME.p7s
    openssl smime -sign -text -in "$policy/$1.xml" -signer authority.cert.pem -inkey authority.key.pem -out "$1.p7s"
}

authority authority
identity operations 3650
identity price-server 3650
identity stranger 3650
identity expired -1
sign governance
sign permissions
echo "made in $PWD: authority, operations, price-server, stranger, expired; governance.p7s, permissions.p7s"

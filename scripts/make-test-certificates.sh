#!/usr/bin/env bash
# Makes everything that docs/security.md speaks of, for trials and tests: an authority of identities, these, and another
# authority that signs the policy and certifies nobody: whoever it had certified could sign a policy, too.
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

authority() {   # NAME MAY-CERTIFY KEY-USAGE: one that signs itself
    new_key "$1"
    openssl req -x509 -new -key "$1.key.pem" -sha256 -days 3650 -subj "/O=Example/CN=$1" \
        -addext "basicConstraints=critical,CA:$2" -addext "keyUsage=critical,$3" -out "$1.cert.pem"
}

identity() {    # NAME DAYS: signed by the authority of identities, valid for so long from now
    new_key "$1"
    openssl req -new -key "$1.key.pem" -subj "/O=Example/CN=$1" |
        openssl x509 -req -CA identity-authority.cert.pem -CAkey identity-authority.key.pem \
            -set_serial "0x$(openssl rand -hex 8)" -sha256 -days "$2" -out "$1.cert.pem" \
            -extfile <(printf 'basicConstraints=critical,CA:FALSE\nkeyUsage=critical,digitalSignature\n') 2>/dev/null
}

sign() {        # DOCUMENT: NAME.xml of the policy, signed, as NAME.p7s
    openssl smime -sign -text -in "$policy/$1.xml" -signer permissions-authority.cert.pem \
        -inkey permissions-authority.key.pem -out "$1.p7s"
}

authority identity-authority TRUE keyCertSign,cRLSign
authority permissions-authority FALSE digitalSignature
identity operations 3650
identity price-server 3650
identity stranger 3650
identity expired -1
sign governance
sign permissions
echo "made in $PWD: identity-authority and its operations, price-server, stranger, expired;" \
    "permissions-authority and its governance.p7s, permissions.p7s"

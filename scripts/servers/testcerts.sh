#!/usr/bin/env bash
# Certificates for the loopback TLS servers, made afresh with openssl into one folder:
#
#   testcerts.sh <dir>
#
#   ca.pem, ca.key            the test CA (no system trusts it)
#   other-ca.pem              an unrelated CA: a pinned file that does not match the servers
#   good.pem, good.key        signed by the test CA for 127.0.0.1 and localhost, valid now
#   good-chain.pem            good.pem followed by ca.pem, as a server presents it
#   wrongname.pem/.key/-chain.pem   signed by the test CA for another host name only
#   expired.pem/.key/-chain.pem     signed by the test CA for 127.0.0.1, valid in January 2020 only
set -euo pipefail

[ $# -eq 1 ] || { echo "usage: $0 <dir>" >&2; exit 2; }
DIR="$1"
mkdir -p "$DIR"
DIR="$(cd "$DIR" && pwd)"
CADIR="$DIR/ca-db"
rm -rf "$CADIR"
mkdir -p "$CADIR/new"
: >"$CADIR/index.txt"
echo 1000 >"$CADIR/serial"

# EC keys: made in milliseconds, understood by Dovecot, Python, Qt and curl alike.
newkey() { openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out "$1" 2>/dev/null; }

make_ca() {
  local name="$1" subject="$2"
  newkey "$DIR/$name.key"
  openssl req -x509 -new -key "$DIR/$name.key" -sha256 -days 3650 -subj "/O=kvMail tests/CN=$subject" \
    -addext "basicConstraints=critical,CA:TRUE" -addext "keyUsage=critical,keyCertSign,cRLSign" \
    -out "$DIR/$name.pem" 2>/dev/null
}

cat >"$DIR/ca.cnf" <<EOF
[ ca ]
default_ca = testca
[ testca ]
database = $CADIR/index.txt
new_certs_dir = $CADIR/new
serial = $CADIR/serial
default_md = sha256
policy = any_name
unique_subject = no
email_in_dn = no
x509_extensions = server
[ any_name ]
commonName = supplied
[ server ]
basicConstraints = critical,CA:FALSE
keyUsage = critical,digitalSignature,keyEncipherment
extendedKeyUsage = serverAuth
subjectAltName = \${ENV::KV_SAN}
EOF

# make_server name common-name subject-alt-names [openssl ca validity options...]
make_server() {
  local name="$1" cn="$2" san="$3"
  shift 3
  newkey "$DIR/$name.key"
  openssl req -new -key "$DIR/$name.key" -subj "/CN=$cn" -out "$CADIR/$name.csr" 2>/dev/null
  KV_SAN="$san" openssl ca -batch -notext -config "$DIR/ca.cnf" -cert "$DIR/ca.pem" \
    -keyfile "$DIR/ca.key" -in "$CADIR/$name.csr" -out "$DIR/$name.pem" "$@" 2>"$CADIR/$name.err" || {
    cat "$CADIR/$name.err" >&2
    exit 1
  }
  cat "$DIR/$name.pem" "$DIR/ca.pem" >"$DIR/$name-chain.pem"
}

make_ca ca "kvMail Test CA"
make_ca other-ca "Unrelated Test CA"
# Valid from yesterday: a clock a little behind still accepts them.
FROM="$(date -u -d '1 day ago' +%Y%m%d%H%M%SZ)"
UNTIL="$(date -u -d '10 years' +%Y%m%d%H%M%SZ)"
make_server good 127.0.0.1 "IP:127.0.0.1,DNS:localhost" -startdate "$FROM" -enddate "$UNTIL"
make_server wrongname wrong-name.kvmail.test "DNS:wrong-name.kvmail.test" \
  -startdate "$FROM" -enddate "$UNTIL"
make_server expired 127.0.0.1 "IP:127.0.0.1,DNS:localhost" \
  -startdate 20200101000000Z -enddate 20200131000000Z
rm -f "$DIR/other-ca.key"
# The servers read their keys; as root they drop to other users first.
chmod 644 "$DIR"/*.pem "$DIR"/*.key
echo "testcerts: certificates in $DIR"

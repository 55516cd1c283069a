#!/usr/bin/env bash
# Makes an authority, and certificates with keys for the printers of the tests, in folders named for what each is.
#   make_printer_keys.sh FOLDER
# writes FOLDER/ca.crt, FOLDER/crl.pem and FOLDER/<name>/localhost.{crt,key}; the authority's key is thrown away.
set -euo pipefail
folder=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cat >"$work/ca.cnf" <<CNF
[ca]
default_ca = authority
[authority]
dir = $work
database = $work/index.txt
new_certs_dir = $work
certificate = $work/ca.crt
private_key = $work/ca.key
rand_serial = yes
crlnumber = $work/crlnumber
unique_subject = no
default_md = sha256
default_crl_days = 3650
policy = subject
copy_extensions = none
[subject]
organizationName = optional
commonName = supplied
[req]
distinguished_name = name
[name]
[authority_extensions]
basicConstraints = critical,CA:TRUE
keyUsage = critical,keyCertSign,cRLSign
subjectKeyIdentifier = hash
[printer]
basicConstraints = critical,CA:FALSE
keyUsage = critical,digitalSignature,keyEncipherment
extendedKeyUsage = serverAuth
subjectAltName = DNS:localhost,IP:127.0.0.1,IP:::1
[othername]
basicConstraints = critical,CA:FALSE
keyUsage = critical,digitalSignature,keyEncipherment
extendedKeyUsage = serverAuth
subjectAltName = DNS:other.example
[wrongusage]
basicConstraints = critical,CA:FALSE
keyUsage = critical,digitalSignature,keyEncipherment
extendedKeyUsage = clientAuth
subjectAltName = DNS:localhost,IP:127.0.0.1,IP:::1
CNF
: >"$work/index.txt"
echo 01 >"$work/crlnumber"

# Says what went wrong only when something does; openssl speaks of every step.
quietly() {
  "$@" >"$work/log" 2>&1 || { cat "$work/log" >&2; exit 1; }
}

# key FILE BITS COMMON_NAME: a key with a request for it
key() {
  quietly openssl req -new -newkey "rsa:$2" -nodes -config "$work/ca.cnf" -subj "/O=Vexmo/CN=$3" \
    -keyout "$work/$1.key" -out "$work/$1.csr"
}

# sign FILE REQUEST EXTENSIONS START END [OPTION...]
sign() {
  local file=$1 request=$2 extensions=$3 start=$4 end=$5
  shift 5
  quietly openssl ca -batch -notext -config "$work/ca.cnf" -in "$work/$request.csr" -out "$work/$file.crt" \
    -extensions "$extensions" -startdate "$start" -enddate "$end" "$@"
}

# keep NAME KEY [CHAIN]
keep() {
  mkdir -p "$folder/$1"
  cat "$work/$1.crt" ${3:+"$3"} >"$folder/$1/localhost.crt"
  cp "$work/$2.key" "$folder/$1/localhost.key"
}

now=(20200101000000Z 20991231235959Z)
key ca 2048 "Peers CA"
key leaf 2048 localhost
key short 1024 localhost
key other 2048 other.example

sign ca ca authority_extensions "${now[@]}" -selfsign
sign selfsigned leaf printer "${now[@]}" -selfsign -keyfile "$work/leaf.key"
sign good leaf printer "${now[@]}"
sign expired leaf printer 20200101000000Z 20210101000000Z
sign othername other othername "${now[@]}"
sign weak short printer "${now[@]}"
sign wrongusage leaf wrongusage "${now[@]}"
sign revoked leaf printer "${now[@]}"
quietly openssl ca -config "$work/ca.cnf" -revoke "$work/revoked.crt"
quietly openssl ca -config "$work/ca.cnf" -gencrl -out "$work/crl.pem"

# The last bit of a certificate belongs to its signature.
openssl x509 -in "$work/good.crt" -outform DER -out "$work/good.der"
size=$(stat -c %s "$work/good.der")
last=$(tail -c 1 "$work/good.der" | od -An -tu1)
{
  head -c $((size - 1)) "$work/good.der"
  printf '%b' "\\x$(printf %02x $((last ^ 1)))"
} >"$work/badsignature.der"
openssl x509 -in "$work/badsignature.der" -inform DER -out "$work/badsignature.crt"

for name in good expired wrongusage revoked badsignature; do
  keep "$name" leaf "$work/ca.crt"
done
keep othername other "$work/ca.crt"
keep weak short "$work/ca.crt"
keep selfsigned leaf
cp "$work/ca.crt" "$work/crl.pem" "$folder"

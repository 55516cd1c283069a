#!/usr/bin/env bash
# Makes the certificates that tests of both lanes use, with the host's openssl; their keys are thrown away.
#   make_certificates.sh OPENSSL FOLDER     writes FOLDER/<name>.der and, beside it, its SHA-1 in <name>.sha1
set -euo pipefail
openssl=$1 folder=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cat >"$work/ca.cnf" <<CNF
[ca]
default_ca = issuer
[issuer]
database = $work/index.txt
new_certs_dir = $work
rand_serial = yes
unique_subject = no
default_md = sha256
policy = subject
x509_extensions = extensions
[subject]
countryName = optional
organizationName = optional
commonName = supplied
[extensions]
basicConstraints = CA:FALSE
CNF
: >"$work/index.txt"

# A key with a request for it: key BITS COMMON_NAME
key() {
  "$openssl" req -new -newkey "rsa:$1" -sha256 -nodes -subj "/C=XX/O=Vexmo/CN=$2" \
    -keyout "$work/$2.key" -out "$work/$2.csr" 2>/dev/null
}

# issue FILE COMMON_NAME START END ISSUER...: the issuer is -selfsign or that of -cert
issue() {
  local file=$1 name=$2 start=$3 end=$4
  shift 4
  "$openssl" ca -batch -notext -config "$work/ca.cnf" -in "$work/$name.csr" -startdate "$start" -enddate "$end" \
    -out "$work/$file.pem" "$@" 2>"$work/log" || { cat "$work/log" >&2; exit 1; }
  "$openssl" x509 -in "$work/$file.pem" -outform DER -out "$folder/$file.der"
  sha1sum <"$folder/$file.der" | cut -d ' ' -f 1 >"$folder/$file.sha1"
}

mkdir -p "$folder"
now=(20200101000000Z 20991231235959Z)
key 2048 vexmo-printer
key 4096 vexmo-large
key 2048 vexmo-root
self=(-selfsign -keyfile "$work/vexmo-printer.key")
issue device vexmo-printer "${now[@]}" "${self[@]}"
issue renewed vexmo-printer "${now[@]}" "${self[@]}"
issue expired vexmo-printer 20100101000000Z 20110101000000Z "${self[@]}"
issue not_yet_valid vexmo-printer 20980101000000Z 20991231235959Z "${self[@]}"
issue rsa4096 vexmo-large "${now[@]}" -selfsign -keyfile "$work/vexmo-large.key"
issue root vexmo-root "${now[@]}" -selfsign -keyfile "$work/vexmo-root.key"
issue chained vexmo-printer "${now[@]}" -cert "$work/root.pem" -keyfile "$work/vexmo-root.key"

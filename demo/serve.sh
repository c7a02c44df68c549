#!/bin/sh
# usage: serve SITE PREFIX PORT [BYTES_PER_SECOND [REQUESTS_PER_SECOND]]
#
# Serves the directory SITE at https://localhost:PORT with a certificate made on the spot. PREFIX,
# made if need be, takes all that the server writes, access.log and error.log among it. The server
# takes this script's place and so its process id, and ends with the process that started it.
set -eu
[ $# -ge 3 ] || { echo "usage: serve SITE PREFIX PORT [BYTES_PER_SECOND [REQUESTS_PER_SECOND]]" >&2; exit 2; }
here=$(dirname "$(readlink -f "$0")")
site=$(readlink -f "$1")
mkdir -p "$2"
cd "$2"

ln -sfn "$site" site
ln -sfn "$here/repository.conf" repository.conf
sed -e "s/@PORT@/$3/" -e "s/@BYTES_PER_SECOND@/${4:-0}/" -e "s/@REQUESTS_PER_SECOND@/${5:-1000000}/" \
  "$here/nginx.conf.in" >nginx.conf
chatter=$(openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 30 \
  -subj /CN=localhost -addext 'subjectAltName=DNS:localhost,IP:127.0.0.1' \
  -keyout key.pem -out certificate.pem 2>&1) || { echo "$chatter" >&2; exit 1; }

PATH=$PATH:/usr/sbin:/sbin # where Debian keeps nginx, and a plain user's PATH has no such place
exec setpriv --pdeathsig TERM nginx -p "$PWD/" -e error.log -c nginx.conf

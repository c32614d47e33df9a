#!/usr/bin/env bash
# Serves a folder of recordings with nginx, as recordings.conf says, on the loopback address until interrupted; the page
# is that of `fmp4 serve`, which runs beside it. Needs no rights but to read the folder.
set -euo pipefail

usage() {
  cat <<END
usage: serve.sh FOLDER [--port N] [--json]
  --port N   the port to listen on; 0, the default, picks a free one
  --json     print the address as JSON
FMP4 names the program, by default build/dev/bin/fmp4.
END
}

here=$(cd "$(dirname "$0")" && pwd)
fmp4=${FMP4:-$here/../../build/dev/bin/fmp4}
folder='' port=0 json=false
while (($# > 0)); do
  case $1 in
    --port) port=${2:?--port takes a number} && shift ;;
    --json) json=true ;;
    -h | --help) usage && exit ;;
    -*) usage >&2 && exit 2 ;;
    *) folder=$(realpath "$1") ;;
  esac
  shift
done
[[ -d $folder ]] || { usage >&2 && exit 2; }

prefix=$(mktemp --directory)
nginx='' page=''
# shellcheck disable=SC2317  # called when interrupted
# Ends both, and what was made for them. Exit code 0: being ended is the only end.
finish() {
  kill ${nginx:+"$nginx"} ${page:+"$page"} 2>/dev/null || true
  wait
  rm -rf "$prefix"
  exit 0
}
trap finish INT TERM

fail() {
  echo "serve: $*" >&2
  kill ${nginx:+"$nginx"} ${page:+"$page"} 2>/dev/null || true
  rm -rf "$prefix"
  exit 1
}

answers() {
  (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null
}

"$fmp4" serve "$folder" --port 0 --json >"$prefix/page.json" &
page=$!
until [[ -s $prefix/page.json ]]; do
  kill -0 "$page" 2>/dev/null || fail "the page's server ended"
  sleep 0.05
done
page_port=$(sed -n 's/.*"port": \([0-9]*\).*/\1/p' "$prefix/page.json")
if ((port == 0)); then
  port=$((20000 + $$ % 12000))
  while answers "$port"; do port=$((port + 1)); done
fi

# The three lines of a site of one's own.
FOLDER=$folder awk -v port="$port" -v page_port="$page_port" '
  /# yours$/ && $1 == "listen" { print "    listen 127.0.0.1:" port ";"; next }
  /# yours$/ && $1 == "set" { print "    set $recordings \"" ENVIRON["FOLDER"] "\";"; next }
  /# yours$/ && $1 == "proxy_pass" { print "        proxy_pass http://127.0.0.1:" page_port ";"; next }
  { print }' "$here/recordings.conf" >"$prefix/recordings.conf"
cat >"$prefix/nginx.conf" <<END
daemon off;
pid nginx.pid;
error_log error.log;
worker_processes auto;
$(if ((EUID == 0)); then echo "user root;"; fi)
events { worker_connections 1024; }
http {
  access_log off;
  client_body_temp_path body;
  proxy_temp_path proxy;
  fastcgi_temp_path fastcgi;
  uwsgi_temp_path uwsgi;
  scgi_temp_path scgi;
  include recordings.conf;
}
END
PATH=$PATH:/usr/sbin nginx -p "$prefix/" -e error.log -c nginx.conf &
nginx=$!
until answers "$port"; do
  kill -0 "$nginx" 2>/dev/null || fail "nginx ended: $(cat "$prefix/error.log")"
  sleep 0.05
done
if $json; then
  echo "{\"address\": \"http://127.0.0.1:$port/\", \"port\": $port}"
else
  echo "serving '$folder' at http://127.0.0.1:$port/ until interrupted"
fi
wait
fail "a server ended"

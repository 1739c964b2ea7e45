#!/usr/bin/env bash
# Runs a Windows test program with two fresh emulators of the service beside it: one over
# HTTP and one over HTTPS, each on a free loopback port with a data folder of its own and
# the control endpoint on. Both are stopped by PID when the program ends.
#   with_emulator.sh EMULATOR_PROGRAM CERT_FOLDER -- COMMAND [ARGS...]
#
# The program learns where they are from the environment:
#   QBRK_EMULATOR_PORT, QBRK_EMULATOR_TLS_PORT   the ports on 127.0.0.1
#   QBRK_EMULATOR_DATA                           the HTTP emulator's data folder (Z:\...)
#   QBRK_EMULATOR_MISSING                        set instead when the program is not built
# Listing the tests (--gtest_list_tests) needs no emulator and starts none.
set -u

emulator=$1
cert_dir=$2
shift 2
[ "${1:-}" = -- ] && shift

for arg in "$@"; do
  [ "$arg" = --gtest_list_tests ] && exec "$@"
done

if [ ! -x "$emulator" ]; then
  export QBRK_EMULATOR_MISSING="$emulator"
  exec "$@"
fi

work=$(mktemp -d /tmp/qbrk-wine-emulator-XXXXXX)
pids=()

cleanup() {
  local pid tries
  for pid in "${pids[@]}"; do
    kill -TERM "$pid" 2>/dev/null
  done
  for pid in "${pids[@]}"; do
    for tries in $(seq 1 100); do
      kill -0 "$pid" 2>/dev/null || break
      sleep 0.05
    done
    kill -KILL "$pid" 2>/dev/null
    wait "$pid" 2>/dev/null
  done
  pids=()
  rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 143' INT TERM

# One self-signed certificate for every run: making it takes longer than a test.
mkdir -p "$cert_dir"
(
  flock 9
  if [ ! -s "$cert_dir/cert.pem" ] || [ ! -s "$cert_dir/key.pem" ]; then
    openssl req -x509 -newkey rsa:2048 -nodes -days 3650 -subj /CN=127.0.0.1 \
      -addext subjectAltName=IP:127.0.0.1,DNS:localhost \
      -keyout "$cert_dir/key.pem" -out "$cert_dir/cert.pem" >/dev/null 2>&1
  fi
) 9>"$cert_dir.lock"

# Starts one emulator and sets `started_port`. The first line it prints is its base URL.
start() {
  local name=$1
  shift
  "$emulator" --data "$work/$name" --listen 127.0.0.1:0 --control --log \
    --account taro@example.jp:secret --account jiro@example.jp:pw "$@" \
    >"$work/$name.url" 2>"$work/$name.log" &
  pids+=($!)
  local tries url
  for tries in $(seq 1 200); do
    url=$(head -n 1 "$work/$name.url" 2>/dev/null)
    if [ -n "$url" ]; then
      started_port=${url##*:}
      return 0
    fi
    kill -0 "${pids[-1]}" 2>/dev/null || break
    sleep 0.05
  done
  echo "with_emulator: the $name emulator did not start:" >&2
  cat "$work/$name.log" >&2
  return 1
}

start plain || exit 1
export QBRK_EMULATOR_PORT=$started_port
start tls --cert "$cert_dir/cert.pem" --key "$cert_dir/key.pem" || exit 1
export QBRK_EMULATOR_TLS_PORT=$started_port
export QBRK_EMULATOR_DATA="Z:${work//\//\\}\\plain"

"$@"
status=$?
if [ "$status" -ne 0 ]; then
  echo "---- the HTTP emulator's last requests ----" >&2
  tail -n 40 "$work/plain.log" >&2
fi
exit "$status"

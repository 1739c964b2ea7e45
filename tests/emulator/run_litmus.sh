#!/usr/bin/env bash
# Runs the WebDAV test suite litmus against a fresh emulator, one suite at a time, and
# fails when any suite has a failing test.
#   run_litmus.sh EMULATOR [SUITE...]    (default: basic locks props copymove http)
set -euo pipefail
emulator=$1
shift
suites=("$@")
[ ${#suites[@]} -gt 0 ] || suites=(basic locks props copymove http)
command -v litmus >/dev/null || { echo "litmus is not installed (scripts/install-deps)"; exit 1; }

work=$(mktemp -d /tmp/qbrk-litmus-XXXXXX)
pid=
cleanup() {
  if [ -n "$pid" ]; then
    kill "$pid" 2>/dev/null || true
    wait "$pid" 2>/dev/null || true
  fi
  rm -rf "$work"
}
trap cleanup EXIT

user=litmus@example.jp
"$emulator" --data "$work/data" --account "$user:secret" >"$work/url" 2>"$work/emulator.log" &
pid=$!
for _ in $(seq 1 100); do
  [ -s "$work/url" ] && break
  sleep 0.1
done
url=$(head -n 1 "$work/url")
if [ -z "$url" ]; then
  echo "the emulator did not start:"
  cat "$work/emulator.log"
  exit 1
fi

cd "$work"  # litmus leaves its debug.log and child.log in the current folder
failed=0
for suite in "${suites[@]}"; do
  TESTS=$suite timeout 300 litmus "$url/~$user/file/" "$user" secret >"$suite.out" 2>&1 || true
  summary=$(grep -E "summary for \`$suite'" "$suite.out" || echo "no summary for $suite")
  echo "$summary"
  grep -E 'FAIL|WARNING|SKIPPED' "$suite.out" | sed 's/^/    /' || true
  if ! grep -qE "summary for \`$suite': of [0-9]+ tests run: [0-9]+ passed, 0 failed" "$suite.out"; then
    failed=1
    tail -n 20 "$suite.out"
  fi
done
exit $failed

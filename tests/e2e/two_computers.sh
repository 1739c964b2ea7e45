#!/usr/bin/env bash
# Two computers signed in to the same account, each a Wine prefix of its own with its own
# registry, record and mirror folder, synchronized through the host stand-in and the real DLL
# against the emulator (started by with_emulator.sh). The host stand-in answers every
# question by pressing the button the scenario names; a question nobody expected leaves the
# run waiting, and the bounded wait turns that into a failure. At the end the first computer
# is killed in the middle of an upload in ranges, under a lock, and starts again.
#   two_computers.sh WIN64_BUILD_DIR
# Needs DISPLAY (an X server such as Xvfb) and QBRK_EMULATOR_PORT/QBRK_EMULATOR_DATA.
set -euo pipefail
build=$(cd "${1:?usage: two_computers.sh WIN64_BUILD_DIR}" && pwd)
root=$(cd "$(dirname "$0")/../.." && pwd)
. "$root/scripts/lib/display.sh"
[ -n "${QBRK_EMULATOR_PORT:-}" ] || { echo "no emulator beside this test" >&2; exit 1; }
[ -n "${DISPLAY:-}" ] || { echo "no display" >&2; exit 1; }

host=$build/tools/host/qbrk-host.exe
configure=$build/tools/demo/qbrk-demo.exe
data=${QBRK_EMULATOR_DATA#Z:}
disk=${data//\\//}/accounts/taro@example.jp
# The prefixes are kept between runs (booting one takes long); everything else is new.
prefixes=$build/e2e-prefixes
work=$(mktemp -d /tmp/qbrk-two-prefixes-XXXXXX)
cleanup() {
  stop_wine "$prefixes/first"
  stop_wine "$prefixes/second"
  rm -rf "$work"
}
trap cleanup EXIT

fail() {
  echo "FAILED: $*" >&2
  exit 1
}

# setup_computer NAME: a prefix and a mirror folder, the settings written as the options
# dialog would, and no record of an earlier synchronization.
setup_computer() {
  local name=$1 prefix=$prefixes/$1 mirror=$work/$1
  mkdir -p "$prefix" "$mirror"
  "$root/scripts/wine-run" --prefix "$prefix" -- cmd /c exit </dev/null >/dev/null 2>&1 || true
  find "$prefix/drive_c/users" -name .Qbrook.dir -delete 2>/dev/null || true
  "$root/scripts/wine-run" --prefix "$prefix" -- "$configure" --configure 127.0.0.1 \
    "$QBRK_EMULATOR_PORT" taro@example.jp secret "Z:${mirror//\//\\}" </dev/null >/dev/null
  local value
  for value in FinishClose:0 SyncNotify:0 PutLog:0; do
    "$root/scripts/wine-run" --prefix "$prefix" -- reg add \
      'HKCU\Software\Halvorn\Quellanbrook\1.0' /v "${value%%:*}" /t REG_DWORD \
      /d "${value#*:}" /f </dev/null >/dev/null 2>&1
  done
}

# synchronize NAME [BUTTON...]: one qbrkSynchronize on that computer; the finished progress
# dialog is closed, and each question is answered with the first BUTTON it has. Leaves the
# host's report in $report (UTF-8) and fails unless the host heard that the folder is in step.
report=
synchronize() {
  local name=$1
  shift
  local answers=(--answer 1=閉じる) button
  for button in "$@"; do answers+=(--answer "$button"); done
  report=$(timeout -k 5 180 "$root/scripts/wine-run" --prefix "$prefixes/$name" -- "$host" \
    "${answers[@]}" call qbrkSynchronize 0 @host </dev/null | iconv -f CP932 -t UTF-8 -c) ||
    fail "the synchronization on $name did not end: $report"
  grep -q 'posted 32780 1' <<<"$report" || fail "$name is not in step after its run: $report"
}

# The questions a run asked, as "caption with button", one per line.
questions() { grep -o 'answered "[^"]*ユーザー選択" with [0-9]*' <<<"$report" || true; }

# A tree as "type size path" lines; the server's disk keeps names in code page 932.
tree_of() { (cd "$1" && find . -mindepth 1 -printf '%y %s %P\n' | LC_ALL=C sort); }
disk_tree() {
  (cd "$disk" && find . -mindepth 1 -printf '%y %s %P\n' | iconv -f CP932 -t UTF-8 |
    sed 's/^d [0-9]* /d - /' | LC_ALL=C sort)
}
same_everywhere() {
  diff -r "$work/first" "$work/second" || fail "the two mirror folders differ"
  diff <(tree_of "$work/first" | sed 's/^d [0-9]* /d - /') <(disk_tree) ||
    fail "the server's disk differs from the mirror folders"
}

setup_computer first
setup_computer second
first=$work/first
second=$work/second

echo "-- the first computer sends its tree: Japanese names, an empty folder, a file in ranges"
printf '月次報告\r\n' >"$first/報告書.txt"
mkdir -p "$first/議事録" "$first/空のフォルダ"
printf 'Agenda\r\n' >"$first/議事録/11月.txt"
printf 'old\n' >"$first/消す.txt"
head -c $((524288 + 4096)) /dev/urandom >"$first/設計図.bin"
synchronize first
[ -z "$(questions)" ] || fail "a first synchronization asked: $(questions)"

echo "-- the second computer receives all of it"
synchronize second
same_everywhere

echo "-- the second computer changes, deletes and adds"
printf '改訂版\r\n' >"$second/報告書.txt"
rm "$second/消す.txt"
mkdir "$second/写真"
head -c 3000 /dev/urandom >"$second/写真/a.bin"
printf 'new\n' >"$second/新しい資料.txt"
# The local deletion is asked about: 6082 deletes it on the server too.
synchronize second 6082
[ "$(questions | wc -l)" = 1 ] || fail "expected one question, got: $(questions)"

echo "-- the first computer receives exactly those changes"
cp -a "$first" "$work/first-before"
synchronize first 6082
[ "$(questions | wc -l)" = 1 ] || fail "expected the deletion to be asked about: $(questions)"
same_everywhere
[ ! -e "$first/消す.txt" ] || fail "the deletion did not reach the first computer"
cmp -s "$first/設計図.bin" "$work/first-before/設計図.bin" || fail "an unchanged file changed"
cmp -s "$first/写真/a.bin" "$second/写真/a.bin" || fail "the new folder's file differs"

echo "-- both change one file; the first is asked and keeps its own; the second then takes it"
printf 'the second computer wrote this\n' >"$second/報告書.txt"
synchronize second
printf "first's\n" >"$first/報告書.txt"
# 6007: send this computer's copy.
synchronize first 6007
questions | grep -q 'with 6007' || fail "the conflict was not asked about: $report"
synchronize second
[ -z "$(questions)" ] || fail "the second computer was asked: $(questions)"
[ "$(cat "$second/報告書.txt")" = "first's" ] || fail "the second computer kept its own copy"
same_everywhere
echo "-- the first computer is killed in the middle of an upload in ranges, under a lock"
control=http://127.0.0.1:$QBRK_EMULATOR_PORT/_emulator
registry='HKCU\Software\Halvorn\Quellanbrook\1.0'
head -c $((2 * 524288 + 100)) /dev/urandom >"$first/big.bin"
# The first range is written, its answer held back: the host is killed while it waits.
curl -sS --fail --max-time 10 -o /dev/null --data-binary \
  'PUT /~taro@example.jp/file/big.bin delay=10000 times=1' "$control/faults"
timeout -k 5 180 "$root/scripts/wine-run" --prefix "$prefixes/first" -- "$host" \
  call qbrkSynchronize 0 @host </dev/null >"$work/killed.out" 2>&1 &
killed=$!
for _ in $(seq 1 600); do
  curl -sS --max-time 10 "$control/faults" | grep -q big.bin || break
  sleep 0.1
done
curl -sS --max-time 10 "$control/faults" | grep -q big.bin && fail "the upload never started"
curl -sS --max-time 10 "$control/locks" | grep -q big.bin || fail "the upload holds no lock"
"$root/scripts/wine-run" --prefix "$prefixes/first" -- taskkill /F /IM qbrk-host.exe \
  </dev/null >/dev/null 2>&1 || fail "the host could not be killed"
# TerminateProcess's exit code is the killer's choice; what shows is that the call never
# returned.
wait "$killed" || true
grep -aq 'qbrkSynchronize ->' "$work/killed.out" &&
  fail "the host ended before it was killed: $(cat "$work/killed.out")"
"$root/scripts/wine-run" --prefix "$prefixes/first" -- reg query "$registry" /v LockToken \
  </dev/null >/dev/null 2>&1 || fail "the lock was not saved for the next run"

echo "-- the next run releases the stale lock and finishes; the second computer receives it"
synchronize first
[ -z "$(questions)" ] || fail "the run after the kill asked: $(questions)"
curl -sS --max-time 10 "$control/locks" | grep -q big.bin && fail "the stale lock is still held"
"$root/scripts/wine-run" --prefix "$prefixes/first" -- reg query "$registry" /v LockToken \
  </dev/null >/dev/null 2>&1 && fail "the saved lock outlived its release"
cmp -s "$first/big.bin" "$disk/big.bin" || fail "the server's big.bin is not the local one"
synchronize second
same_everywhere
echo "two computers in step"

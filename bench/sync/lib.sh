# Shell functions of the synchronize benchmarks (bench/sync/run, bench/sync-large/run); source
# after setting `build` (the bench build), `root` and `work` (a folder under the build). The
# library runs through the host stand-in under Wine against the emulator, as the tray program
# would run it. Every Windows program runs behind the command prefix in the array `pin`
# (empty, or taskset). Call sync_cleanup from the caller's exit trap.

. "$root/scripts/lib/display.sh"

win64=${QBRK_WIN64_BUILD:-$build/../win64}
win64=$(cd "$win64" && pwd)
emulator=$build/emulator/quellanbrook-emulator
host_exe=$win64/tools/host/qbrk-host.exe
demo_exe=$win64/tools/demo/qbrk-demo.exe
user=bench@example.jp
password=secret
prefix=$work/wineprefix
disk=$work/data/accounts/$user
settings_key='HKCU\Software\Halvorn\Quellanbrook\1.0'
emulator_pid=
pin=()

wine() { "${pin[@]}" "$root/scripts/wine-run" --prefix "$prefix" -- "$@" </dev/null; }

sync_require() {
  local program
  for program in "$emulator" "$host_exe" "$demo_exe" "$@"; do
    [ -f "$program" ] || { echo "missing $program" >&2; exit 1; }
  done
}

sync_cleanup() {
  if [ -n "$emulator_pid" ]; then
    kill "$emulator_pid" 2>/dev/null || true
    wait "$emulator_pid" 2>/dev/null || true
    emulator_pid=
  fi
  stop_wine "$prefix"
  stop_display
}

# FOLDERS folders f000.. of PER_FOLDER files each of SIZE bytes under DIR, no two alike:
# slices of one AES-CTR stream with a fixed key. Every file gets the same time, a whole
# second as the service keeps it.
make_tree() {
  local dir=$1 folders=$2 per_folder=$3 size=$4 folder path
  local slice=$((per_folder * size))
  rm -rf "$dir"
  mkdir -p "$dir"
  head -c $((folders * slice)) /dev/zero |
    openssl enc -aes-128-ctr -nosalt -K 1f2e3d4c5b6a79889786a5b4c3d2e1f0 \
      -iv 00000000000000000000000000000000 >"$dir.stream"
  for folder in $(seq 0 $((folders - 1))); do
    path=$dir/$(printf 'f%03d' "$folder")
    mkdir "$path"
    dd if="$dir.stream" bs="$size" skip=$((folder * per_folder)) count="$per_folder" status=none |
      split -b "$size" -d -a 5 --additional-suffix=.bin - "$path/"
  done
  rm -f "$dir.stream"
  find "$dir" -type f -exec touch -d '2026-11-02 09:30:00 UTC' {} +
}

# Starts the emulator with a fresh data folder and sets `url` and `port`.
start_emulator() {
  rm -rf "$work/data"
  "${pin[@]}" "$emulator" --data "$work/data" --listen 127.0.0.1:0 --account "$user:$password" \
    --quota $((64 * 1024 * 1024 * 1024)) >"$work/url" 2>"$work/emulator.log" &
  emulator_pid=$!
  local _
  for _ in $(seq 1 100); do
    [ -s "$work/url" ] && break
    kill -0 "$emulator_pid" 2>/dev/null || break
    sleep 0.1
  done
  url=$(head -n 1 "$work/url" 2>/dev/null || true)
  if [ -z "$url" ]; then
    echo "the emulator did not start:" >&2
    cat "$work/emulator.log" >&2
    exit 1
  fi
  port=${url##*:}
}

# Boots the prefix (kept between runs) on a display of its own, and writes the settings: this
# emulator, the account, MIRROR as the mirror folder, no dialog that waits for a click, and no
# record of an earlier synchronization.
setup_library() {
  local mirror=$1 value
  start_display
  wine cmd /c exit >/dev/null 2>&1 || true
  wine "$demo_exe" --configure 127.0.0.1 "$port" "$user" "$password" \
    "Z:$(tr / '\\' <<<"$mirror")" >/dev/null
  for value in FinishClose:1 SyncNotify:0; do
    wine reg add "$settings_key" /v "${value%%:*}" /t REG_DWORD /d "${value#*:}" /f >/dev/null
  done
  find "$prefix/drive_c/users" -name .Qbrook.dir -delete 2>/dev/null || true
}

# One qbrkSynchronize through the host stand-in; sets `took_seconds` from the stand-in's own
# timing of the call. Extra arguments go before the Wine command (e.g. /usr/bin/time).
synchronize() {
  local out=$work/sync.out took
  "$@" "${pin[@]}" "$root/scripts/wine-run" --prefix "$prefix" -- "$host_exe" --timing \
    call qbrkSynchronize 0 @host </dev/null >"$out"
  if ! grep -q 'posted 32780 1' "$out"; then
    echo "the synchronization did not end in step:" >&2
    cat "$out" >&2
    exit 1
  fi
  took=$(tr -d "\r" <"$out" | sed -n "s/^  took \([0-9]*\) ms$/\1/p")
  took_seconds=$(awk -v ms="$took" 'BEGIN { printf "%.2f", ms / 1000 }')
}

# Fails unless the emulator's disk holds EXPECTED files under FOLDER (relative to the disk).
expect_files() {
  local who=$1 folder=$2 expected=$3 count
  count=$(find "$disk/$folder" -type f | wc -l)
  if [ "$count" != "$expected" ]; then
    echo "$who: the server holds $count files in /$folder, not $expected" >&2
    exit 1
  fi
}

# Runs a command and writes to FILE the largest peak resident size, in KiB, of the processes
# it started and waited for (the kernel keeps the largest one's for the waiting parent).
# Under wine-run that is the Windows program itself: wine-run, Wine's launcher and its loader
# each exec the next, and the Wine server, started earlier, is no child of it.
peak_rss() {
  local file=$1
  shift
  python3 -c '
import resource, subprocess, sys
status = subprocess.call(sys.argv[2:])
with open(sys.argv[1], "w") as out:
    out.write("%d\n" % resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)
sys.exit(status)' "$file" "$@"
}

# Shell functions shared by the project's scripts (source this file).

# Starts Xvfb on the first free display from :90 and exports DISPLAY. The server's PID is
# kept in QBRK_XVFB_PID; stop_display stops it.
start_display() {
  local n
  for n in $(seq 90 140); do
    if [ ! -e "/tmp/.X11-unix/X$n" ] && [ ! -e "/tmp/.X$n-lock" ]; then
      Xvfb ":$n" -screen 0 1280x1024x24 -nolisten tcp >/dev/null 2>&1 &
      QBRK_XVFB_PID=$!
      local tries
      for tries in $(seq 1 100); do
        [ -e "/tmp/.X11-unix/X$n" ] && break
        kill -0 "$QBRK_XVFB_PID" 2>/dev/null || break
        sleep 0.05
      done
      if [ -e "/tmp/.X11-unix/X$n" ]; then
        export DISPLAY=":$n"
        return 0
      fi
    fi
  done
  echo "no free X display for Xvfb" >&2
  return 1
}

stop_display() {
  if [ -n "${QBRK_XVFB_PID:-}" ]; then
    kill "$QBRK_XVFB_PID" 2>/dev/null || true
    wait "$QBRK_XVFB_PID" 2>/dev/null || true
    QBRK_XVFB_PID=
  fi
}

# Stops the wineserver of a prefix (and with it every Wine process of that prefix).
stop_wine() {
  local prefix=$1
  [ -d "$prefix" ] || return 0
  WINEPREFIX=$(cd "$prefix" && pwd) wineserver -k >/dev/null 2>&1 || true
}

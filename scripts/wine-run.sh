#!/usr/bin/env bash
# Runs a program of the Windows build under wine, headless, in a wine prefix of its own:
#   scripts/wine-run.sh PREFIX PROGRAM.exe [ARGS...]
#   scripts/wine-run.sh PREFIX --start | --stop     (keep one wine server up for a test run)
# The prefix is made on first use (one caller at a time); wine's own chatter is silenced.
set -euo pipefail
prefix=$1
shift
export WINEPREFIX=$prefix WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
unset DISPLAY WAYLAND_DISPLAY
wine=$(command -v wine64 || command -v wine || echo /usr/lib/wine/wine64)
if [ ! -f "$prefix/system.reg" ]; then
  mkdir -p "$(dirname "$prefix")"
  (
    flock 9
    [ -f "$prefix/system.reg" ] || "$wine" wineboot -i >/dev/null 2>&1 || true
  ) 9>"$prefix.lock"
fi
server=$(command -v wineserver || echo /usr/lib/wine/wineserver64)
case "${1:-}" in
  --start) exec "$server" -p ;;
  --stop) exec "$server" -k ;;
esac
exec "$wine" "$@"

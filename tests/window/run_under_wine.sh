#!/bin/sh
# run_under_wine.sh WINE PREFIX PROGRAM [ARGUMENTS]: runs a window program in a Wine prefix of its
# own, on a virtual display that lives as long as the program.
if [ -z "$HQ_OWN_DISPLAY" ]; then
  HQ_OWN_DISPLAY=1 exec xvfb-run -a -s "-screen 0 1280x1024x24 -nolisten tcp" "$0" "$@"
fi
wine=$1
export WINEPREFIX="$2" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
shift 2
mkdir -p "$(dirname "$WINEPREFIX")"
# There is no window manager on the display; waiting for one would take seconds for every window.
if [ ! -e "$WINEPREFIX/unmanaged" ]; then
  "$wine" reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f >/dev/null &&
    touch "$WINEPREFIX/unmanaged"
fi
"$wine" "$@"
status=$?
# What the prefix left running belongs to this display and must not outlive it.
"$(dirname "$wine")/wineserver" -k 2>/dev/null
exit $status

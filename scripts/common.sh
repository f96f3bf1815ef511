# Sourced by the scripts: the project's folder, installing what is missing, building, and running
# the Windows programs under Wine.
set -euo pipefail
caller_folder=$PWD
cd "$(dirname "${BASH_SOURCE[0]}")/.."
export CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-$(nproc)}

# need PACKAGE...: installs the Debian packages that are not there; says nothing about those that are.
need() {
  local missing=() package as_root=() log
  for package in "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' ||
      missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  echo "Installing ${missing[*]}"
  [ "$(id -u)" -eq 0 ] || as_root=(sudo)
  log=$(mktemp)
  if ! { "${as_root[@]}" apt-get update &&
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
      apt-get install -y --no-install-recommends "${missing[@]}"; } >"$log" 2>&1 </dev/null; then
    cat "$log" >&2
    exit 1
  fi
  rm -f "$log"
}

need_native() { need g++ cmake ninja-build libcli11-dev googletest libgtest-dev python3 cmark-gfm; }
need_bench() { need libbenchmark-dev time; }
need_windows() {
  need_native
  need g++-mingw-w64-x86-64-posix wine64 xvfb xauth xdotool imagemagick
}

# quietly COMMAND...: runs it, and shows its output only when it fails.
quietly() {
  local log
  log=$(mktemp)
  if ! "$@" >"$log" 2>&1 </dev/null; then
    cat "$log" >&2
    rm -f "$log"
    return 1
  fi
  rm -f "$log"
}

# telling COMMAND...: as quietly, but its last line is shown every 15 seconds.
telling() {
  local log running seconds=0 status=0
  log=$(mktemp)
  "$@" >"$log" 2>&1 </dev/null &
  running=$!
  trap 'kill "$running"; exit 130' INT TERM
  while kill -0 "$running" 2>/dev/null; do
    sleep 1
    seconds=$((seconds + 1))
    [ $((seconds % 15)) -ne 0 ] || echo "  $(tail -n 1 "$log" | cut -c 1-96)"
  done
  wait "$running" || status=$?
  trap - INT TERM
  [ "$status" -eq 0 ] || cat "$log" >&2
  rm -f "$log"
  return "$status"
}

# build PRESET [TARGET...]: says what it builds, and how far it is.
build() {
  local preset=$1 targets=() how=telling
  shift
  [ $# -eq 0 ] || targets=(--target "$@")
  echo "Building ${*:-all} ($preset)"
  [ -d "build/$preset" ] || echo "  For the first time, which takes some minutes"
  quietly cmake --preset "$preset"
  [ ! -t 1 ] || how=
  $how cmake --build --preset "$preset" "${targets[@]}"
}

# The system's own libraries, as far as a program of ours may ask for them; in small letters.
windows_libraries='advapi32 bcrypt comctl32 comdlg32 crypt32 dwmapi gdi32 imm32 kernel32 msvcrt ntdll
  ole32 oleaut32 rpcrt4 shell32 shlwapi user32 uxtheme version winspool.drv ws2_32'

# check_imports PROGRAM...: fails when one needs a library that a Windows without anything installed
# does not have.
check_imports() {
  local program imports name foreign=0
  for program in "$@"; do
    imports=$(x86_64-w64-mingw32-objdump -p "$program" | sed -n 's/.*DLL Name: //p')
    for name in ${imports,,}; do
      case " $(echo $windows_libraries) " in
        *" ${name%.dll} "*) ;;
        *)
          echo "$program needs $name, which is no part of Windows" >&2
          foreign=1
          ;;
      esac
    done
    [ -n "$imports" ] || { echo "$program: no imports found" >&2; foreign=1; }
  done
  return "$foreign"
}

# The display for Windows programs: the one that is there, else a virtual one of our own.
start_display() {
  if [ -n "${DISPLAY:-}" ] && xdotool getdisplaygeometry >/dev/null 2>&1; then
    own_display=
    return
  fi
  local number_file=build/display
  mkdir -p build
  : >"$number_file"
  Xvfb -displayfd 3 -screen 0 "${1:-1280x1024x24}" -nolisten tcp 3>"$number_file" 2>/dev/null &
  own_display=$!
  while [ ! -s "$number_file" ]; do
    kill -0 "$own_display" || { echo "The virtual display did not start" >&2; exit 1; }
    sleep 0.05
  done
  DISPLAY=":$(cat "$number_file")"
  export DISPLAY
}

# Wine in a prefix of the build's own, or in the one named.
start_wine() {
  export WINEPREFIX=${1:-$PWD/build/wine} WINEDEBUG=${WINEDEBUG:--all} WINEDLLOVERRIDES='mscoree,mshtml='
  wine=$(command -v wine64 || echo /usr/lib/wine/wine64)
  if [ ! -f "$WINEPREFIX/.booted" ]; then
    echo "Preparing Wine for the first time"
    mkdir -p "$WINEPREFIX"
    quietly "$wine" wineboot -i
    touch "$WINEPREFIX/.booted"
  fi
}

# picture_of_window NAME PICTURE: waits for a window whose title the expression NAME fits, then for it
# to stand still, and saves what it shows. Without such a window the whole display is saved and the
# status is 1.
picture_of_window() {
  local window='' current previous=''
  for _ in $(seq 600); do
    window=$(xdotool search --onlyvisible --name "$1" 2>/dev/null | head -n 1) || true
    [ -z "$window" ] || break
    sleep 0.1
  done
  for _ in $(seq 300); do
    import -window "${window:-root}" "$2"
    current=$(md5sum <"$2")
    # Two equal pictures in a row: nothing moves any more.
    [ "$current" != "$previous" ] || break
    previous=$current
    sleep 0.5
  done
  [ -n "$window" ]
}

stop_wine_and_display() {
  if [ -n "${WINEPREFIX:-}" ]; then
    "$(command -v wineserver || echo /usr/lib/wine/wineserver)" -k >/dev/null 2>&1 || true
  fi
  [ -z "${own_display:-}" ] || kill "$own_display" 2>/dev/null || true
}

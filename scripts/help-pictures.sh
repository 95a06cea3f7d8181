#!/usr/bin/env bash
# Pictures of the real windows for the help pages, taken from the built
# program under a virtual X display: the main window with the sample points
# and the about box; and the AppStream screenshot. Needs xvfb, xdotool and imagemagick.
# Usage: scripts/help-pictures.sh [DISPLAY_NUMBER]   (default 99)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
out=$root/resources/Aide/images
program=$root/build/bin/tovalin
display=:${1:-99}
[ -x "$program" ] || { echo "Construisez d'abord le programme : $program" >&2; exit 1; }
mkdir -p "$out"
work=$(mktemp -d)
# Settings of their own, and no real browser or mail program opened.
mkdir -p "$work/config" "$work/bin"
printf '#!/bin/sh\nexit 0\n' > "$work/bin/xdg-open"
chmod +x "$work/bin/xdg-open"

Xvfb "$display" -screen 0 1280x1024x24 >/dev/null 2>&1 &
xvfb=$!
app=
cleanup() {
  [ -n "$app" ] && kill "$app" 2>/dev/null || true
  kill "$xvfb" 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT
export DISPLAY=$display XDG_CONFIG_HOME=$work/config PATH=$work/bin:$PATH
sleep 1

"$program" "$root/resources/samples/exemple.xyz" >/dev/null 2>&1 &
app=$!
main=$(xdotool search --sync --name '^Editeur de fichiers XYZ et DXF$' | head -1)
sleep 0.5
import -window "$main" "$out/fenetre-principale.png"
# The same window is the software centre's picture, installed with the
# AppStream data.
import -window "$main" "$root/resources/desktop/screenshots/main-window.png"

# The "?" menu from the keyboard: Alt selects the menu bar, Left wraps to its
# last menu, Down opens it, Up reaches its last item.
open_last_item() {
  xdotool windowfocus --sync "$main"
  xdotool key alt; sleep 0.3
  xdotool key Left; sleep 0.2
  xdotool key Down; sleep 0.3
  for ((i = 0; i < $1; i++)); do xdotool key Up; sleep 0.1; done
  xdotool key Return
}

open_last_item 1
about=$(xdotool search --sync --name '^A propos$' | head -1)
sleep 0.5
import -window "$about" "$out/a-propos.png"
xdotool windowunmap "$about"

echo "Images écrites dans $out"

#!/usr/bin/env bash
# Builds Tovalin and starts it with the sample points file in its list.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/deps.sh
./scripts/build.sh
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
  echo "Aucun affichage (DISPLAY et WAYLAND_DISPLAY vides) : Tovalin est construit dans build/bin mais ne peut pas s'ouvrir ici."
  exit 1
fi
exec build/bin/tovalin build/bin/exemple.xyz

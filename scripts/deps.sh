#!/usr/bin/env bash
# Installs the Debian 12 packages the project needs, only those missing;
# packages named as arguments are installed along with them.
set -euo pipefail
packages=(build-essential cmake qt6-base-dev qt6-translations-l10n libgl-dev clang-format python3-ezdxf
  desktop-file-utils appstream dpkg-dev lintian man-db mandoc librsvg2-bin
  libcups2-dev cups-daemon cups-client cups-filters printer-driver-cups-pdf poppler-utils
  "$@")
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installation des paquets manquants : ${missing[*]}"
  sudo_cmd=()
  [ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)
  "${sudo_cmd[@]}" apt-get update -qq
  DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq "${missing[@]}" >/dev/null
fi

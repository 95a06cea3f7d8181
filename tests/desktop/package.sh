#!/usr/bin/env bash
# The Debian package as CPack builds it from the install rules, checked by
# lintian (any E: line fails; the other tags are shown) and by dpkg-deb: its
# control fields, its files and stripped programs.
set -uo pipefail
build=$1
version=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
if ! cpack --config "$build/CPackConfig.cmake" -G DEB -B "$work" >"$work/cpack.log" 2>&1; then
    echo "cpack failed:"; cat "$work/cpack.log"; exit 1
fi
deb=$work/tovalin_${version}-1_amd64.deb
[ -f "$deb" ] || { echo "no $deb:"; ls "$work"; exit 1; }
status=0

# lintian runs as root in CI containers; that remark is not about the package.
lint=$(lintian --tag-display-limit 0 "$deb" 2>&1 | grep -v 'running with root privileges')
[ -n "$lint" ] && echo "$lint"
if grep -q '^E:' <<<"$lint"; then
    echo "lintian reports errors"; status=1
fi

field() { dpkg-deb -f "$deb" "$1"; }
[ "$(field Package)" = tovalin ] || { echo "Package: $(field Package)"; status=1; }
[ "$(field Version)" = "${version}-1" ] || { echo "Version: $(field Version)"; status=1; }
[ "$(field Section)" = science ] || { echo "Section: $(field Section)"; status=1; }
[ -n "$(field Maintainer)" ] || { echo "no Maintainer"; status=1; }
# Dependencies come from the libraries the programs link.
for library in libqt6widgets6 libqt6core6 libc6; do
    grep -q "\b$library\b" <<<"$(field Depends)" || { echo "Depends lacks $library: $(field Depends)"; status=1; }
done
# The description speaks English then French.
description=$(field Description)
grep -q 'survey point files' <<<"$description" || { echo "no English description"; status=1; }
grep -q 'points topographiques' <<<"$description" || { echo "no French description"; status=1; }

root=$work/root
dpkg-deb -x "$deb" "$root"
# Every file and link of the install tree, under /usr, and nothing else; only
# the licence stays out, the copyright file standing for it.
DESTDIR=$work/tree cmake --install "$build" --prefix /usr >/dev/null || { echo "install failed"; exit 1; }
listing() { (cd "$1" && find . ! -type d | sort); }
apart=$(comm -3 <(listing "$work/tree") <(listing "$root"))
[ "$apart" = ./usr/share/doc/tovalin/LICENSE ] || { echo "package and install tree differ:"; echo "$apart"; status=1; }
for program in tovalin tovalin-cli; do
    # Stripped as Debian's packages are: no symbol table, no debugging
    # sections, no compiler comment.
    if readelf -S -W "$root/usr/lib/tovalin/$program" | grep -qE '\.symtab|\.debug_|\.comment'; then
        echo "/usr/lib/tovalin/$program is not stripped"; status=1
    fi
done
# The copyright file is machine-readable and names the licence.
head -1 "$root/usr/share/doc/tovalin/copyright" |
    grep -q '^Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/' ||
    { echo "copyright is not in the machine-readable format"; status=1; }
grep -q '^License: GPL-3.0-or-later' "$root/usr/share/doc/tovalin/copyright" ||
    { echo "copyright does not name GPL-3.0-or-later"; status=1; }
zcat "$root/usr/share/doc/tovalin/changelog.Debian.gz" | head -1 | grep -q "^tovalin (${version}-1) " ||
    { echo "changelog.Debian does not start with this version"; status=1; }
# The packaged converter runs.
[ "$("$root/usr/lib/tovalin/tovalin-cli" --version)" = "tovalin-cli (Tovalin) $version" ] ||
    { echo "the packaged tovalin-cli does not run"; status=1; }
[ $status -eq 0 ] && echo "Package $(basename "$deb") as expected."
exit $status

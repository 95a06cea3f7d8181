#!/usr/bin/env bash
# The installed tree as a Debian user gets it: the programs and what stands
# beside them in lib/tovalin, links in bin, the desktop files and the
# documentation under share.
set -uo pipefail
build=$1
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
DESTDIR=$root cmake --install "$build" --prefix /usr/local >/dev/null || { echo "install failed"; exit 1; }
prefix=$root/usr/local
status=0
for file in lib/tovalin/tovalin lib/tovalin/tovalin-cli lib/tovalin/atm.bin \
    lib/tovalin/historique.txt lib/tovalin/exemple.xyz lib/tovalin/Aide/Index.html \
    share/applications/org.tovalin.Tovalin.desktop share/metainfo/org.tovalin.Tovalin.metainfo.xml \
    share/mime/packages/org.tovalin.Tovalin.xml \
    share/icons/hicolor/scalable/apps/org.tovalin.Tovalin.svg share/doc/tovalin/LICENSE \
    share/doc/tovalin/examples/exemple.xyz share/doc/tovalin/copyright \
    share/man/man1/tovalin.1.gz share/man/man1/tovalin-cli.1.gz \
    share/man/fr/man1/tovalin.1.gz share/man/fr/man1/tovalin-cli.1.gz; do
    [ -f "$prefix/$file" ] || { echo "missing: $file"; status=1; }
done
for program in tovalin tovalin-cli; do
    link=$(readlink "$prefix/bin/$program")
    [ "$link" = "../lib/tovalin/$program" ] || { echo "bin/$program links to '$link'"; status=1; }
done
# Through the links, without a display, and nothing else said.
[ "$(env -u DISPLAY -u QT_QPA_PLATFORM "$prefix/bin/tovalin" --version 2>&1)" = "Tovalin $2" ] ||
    { echo "bin/tovalin --version"; status=1; }
[ "$("$prefix/bin/tovalin-cli" --version)" = "tovalin-cli (Tovalin) $2" ] ||
    { echo "bin/tovalin-cli --version"; status=1; }
# The icon in every bitmap size of the theme, each a PNG of its own size;
# the software centre's screenshot beside the program's data.
for size in 16 32 48 64 128 256; do
    png=$prefix/share/icons/hicolor/${size}x${size}/apps/org.tovalin.Tovalin.png
    # PNG signature, then the IHDR width and height as 32-bit big-endian.
    header=$(od -An -tx1 -N24 "$png" 2>/dev/null | tr -d ' \n')
    expected=$(printf '89504e470d0a1a0a0000000d49484452%08x%08x' "$size" "$size")
    [ "$header" = "$expected" ] || { echo "icon ${size}x${size}: not a ${size}x${size} PNG"; status=1; }
done
[ -f "$prefix/share/tovalin/screenshots/main-window.png" ] || { echo "missing: the screenshot"; status=1; }

# The manual pages: found by man through the prefix, in English and in
# French, and clean for mandoc's checker (warnings and errors, not style).
for program in tovalin tovalin-cli; do
    for language in en fr; do
        page=$(MANPATH=$prefix/share/man man -L "$language" -w "$program" 2>&1)
        expected=$prefix/share/man/man1/$program.1.gz
        [ $language = fr ] && expected=$prefix/share/man/fr/man1/$program.1.gz
        [ "$page" = "$expected" ] || { echo "man -L $language -w $program: $page"; status=1; }
        lint=$(mandoc -T lint -W warning "$expected" 2>&1) || { echo "$lint"; status=1; }
    done
    # The page documents every option of the program's own help, which is
    # given without a display.
    options=$(env -u DISPLAY -u QT_QPA_PLATFORM "$prefix/bin/$program" --help | grep -oE -- '--[a-z]+' | sort -u)
    grep -qx -- --version <<<"$options" || { echo "$program --help: no help"; status=1; }
    for option in $options; do
        for page in "$prefix/share/man/man1/$program.1.gz" "$prefix/share/man/fr/man1/$program.1.gz"; do
            zcat "$page" | grep -qF -- "\\-\\-${option#--}" ||
                { echo "$page does not document $option"; status=1; }
        done
    done
done
# Nothing is left in bin but the two links.
extra=$(ls "$prefix/bin" | grep -v -x -e tovalin -e tovalin-cli)
[ -z "$extra" ] || { echo "more in bin: $extra"; status=1; }
[ $status -eq 0 ] && echo "Installed tree as expected."
exit $status

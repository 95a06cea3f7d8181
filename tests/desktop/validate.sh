#!/usr/bin/env bash
# The desktop entry and the AppStream data as Debian's validators see them:
# any error or warning fails (pedantic remarks are left aside).
set -uo pipefail
folder=$1
status=0
entry="$folder/org.tovalin.Tovalin.desktop"
if ! out=$(desktop-file-validate "$entry" 2>&1) || [ -n "$out" ]; then
    echo "desktop-file-validate $entry:"; echo "$out"; status=1
fi
metainfo="$folder/org.tovalin.Tovalin.metainfo.xml"
out=$(appstreamcli validate --no-net "$metainfo" 2>&1)
code=$?
if [ $code -ne 0 ] || grep -qE '^(E|W):' <<<"$out"; then
    echo "appstreamcli validate $metainfo:"; echo "$out"; status=1
fi
# The survey points type is ours: the chemistry one of the same extension is
# never claimed.
if grep -q 'chemical/x-xyz' "$entry" "$folder/org.tovalin.Tovalin.xml"; then
    echo "chemical/x-xyz is claimed"; status=1
fi
for type in application/x-tovalin-xyz image/vnd.dxf text/csv text/plain; do
    grep -q "^MimeType=.*$type;" "$entry" || { echo "the entry does not open $type"; status=1; }
done
# Other programs' survey files go through the import window, offered by the
# file manager as the entry's action.
action=$(sed -n '/^\[Desktop Action import\]/,/^\[/p' "$entry")
grep -qx 'Exec=tovalin --import %F' <<<"$action" && grep -qx 'Name\[fr\]=Importer un relevé' <<<"$action" &&
    grep -q '^Actions=\(.*;\)\?import;' "$entry" || { echo "no import action"; status=1; }
[ $status -eq 0 ] && echo "Desktop entry and AppStream data valid."
exit $status

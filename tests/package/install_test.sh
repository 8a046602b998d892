# What `cmake --install` puts where, with the simulator only on request; what the binaries load and export.
set -euo pipefail
export LC_ALL=C
cmake=$1 build=$2 tree=$3 lib=$3/$4

fail() { echo "$1" >&2; exit 1; }
rm -rf "$tree"
"$cmake" --install "$build" --prefix "$tree" >/dev/null
! find "$tree" | grep -iE 'simulator|kelmint|orvev' || fail "the simulator is installed without being asked for"
"$cmake" --install "$build" --prefix "$tree" --component orvlog-simulator >/dev/null
for file in {bin,share/bash-completion/completions}/imlog {sbin,share/bash-completion/completions}/orvlog \
            share/man/man8/{imlog,orvlog}.8.gz include/iml/{eventstr,records/common}.h \
            lib/systemd/system/{imlog-ship,prometheus-node-exporter-iml}.{timer,service} \
            lib/systemd/catalog/imlog.catalog \
            share/orvlog-simulator/{imltext.py,README.md,server/cevt} share/doc/imlog/{guide,shipping}.md; do
  test -s "$tree/$file" || fail "$file is missing"
done
(cd "$tree/share/doc/imlog/examples" && test -x imlog-fetch && test -x imlog-mail) || fail "the scripts cannot be run"
zcat "$tree/share/man/man8/orvlog.8.gz" | grep 'version [0-9]*\.[0-9]*\.[0-9]*\.' >/dev/null || fail "the manual has no version"

dynamic() { readelf -W -d "$2" | sed -nE "s/.*\(($1)\).*\[(.*)\]/\2/p" | sort | paste -sd' '; }
while read -r file needed; do
  # libdl and the dynamic linker are parts of the C library.
  found=$(dynamic NEEDED "$tree/$file" | sed -E 's/ (ld-linux-x86-64|libdl)\.so\.2//g; s/^ld-linux-x86-64\.so\.2 //')
  [ "$found" = "$needed" ] || fail "$file loads $found, not $needed"
  [ -z "$(dynamic 'RPATH|RUNPATH' "$tree/$file")" ] || fail "$file has a run path"
done <<END
sbin/orvlog libc.so.6 libkelmintrfc64.so.3 liborvev64.so.1
bin/imlog libc.so.6
$4/libimltext.so.1 libc.so.6
$4/orvlog-simulator/libkelmintrfc64.so.3 libc.so.6
$4/orvlog-simulator/liborvev64.so.1 libc.so.6
END
[ "$(dynamic SONAME "$lib/libimltext.so.1")" = libimltext.so.1 ] || fail "libimltext has another name"
exports=$(nm -D --defined-only "$lib/libimltext.so.1" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | sort | paste -sd' ')
[ "$exports" = 'TranslateEventLogClass TranslateEventLogMessage TranslateEventLogSeverity' ] || fail "libimltext exports $exports"

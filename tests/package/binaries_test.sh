# What the installed binaries load, where they look for it, and what the shared translator exports.
set -euo pipefail
export LC_ALL=C
tree=$1 lib=$1/$2
failed=0

expect() {  # what, the lines wanted, the lines found
  if [ "$2" != "$3" ]; then
    printf '%s:\n--- wanted\n%s\n--- found\n%s\n' "$1" "$2" "$3" >&2
    failed=1
  fi
}
dynamic() { readelf -W -d "$2" | sed -nE "s/.*\(($1)\).*\[(.*)\]/\2/p" | sort; }

expect "libraries of orvlog" $'libc.so.6\nlibkelmintrfc64.so.3\nliborvev64.so.1' "$(dynamic NEEDED "$tree/sbin/orvlog")"
# The dynamic linker is part of the C library.
expect "libraries of imlog" libc.so.6 "$(dynamic NEEDED "$tree/bin/imlog" | grep -vxE 'ld-linux-x86-64.so.2|libdl.so.2')"
expect "libraries of libimltext" libc.so.6 "$(dynamic NEEDED "$lib/libimltext.so.1")"
expect "name of libimltext" libimltext.so.1 "$(dynamic SONAME "$lib/libimltext.so.1")"
for library in libkelmintrfc64.so.3 liborvev64.so.1; do
  expect "libraries of $library" libc.so.6 "$(dynamic NEEDED "$lib/orvlog-simulator/$library")"
done
for file in "$tree/sbin/orvlog" "$tree/bin/imlog" "$lib/libimltext.so.1" "$lib"/orvlog-simulator/*.so.*; do
  expect "run path of $file" "" "$(dynamic 'RPATH|RUNPATH' "$file")"
done

entries='TranslateEventLogClass TranslateEventLogMessage TranslateEventLogSeverity'
expect "exports of libimltext" "${entries// /$'\n'}" \
  "$(nm -D --defined-only "$lib/libimltext.so.1" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | sort)"

# Without the maker's libraries the loader says which one is missing.
status=0
message=$(env -u LD_LIBRARY_PATH "$tree/sbin/orvlog" -t 2>&1) || status=$?
if ! grep -q libkelmintrfc64 <<<"$(ldconfig -p)"; then
  expect "status without the maker's libraries" 127 $status
  expect "the loader's message" 1 "$(grep -c 'error while loading shared libraries: libkelmintrfc64.so.3' <<<"$message")"
fi
exit $failed

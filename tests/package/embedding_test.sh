# The examples, built with the installed library in each way that it offers, print what orvlog prints.
set -euo pipefail
tree=$1 lib=$1/$2 server=$3 orvlog=$4 cmake=$5 generator=$6 cc=$7
examples=$tree/share/doc/libimltext-dev/examples
work=$(mktemp -d -p "$PWD") # in the build tree, since /tmp may be noexec
trap 'rm -rf "$work"' EXIT
export LD_LIBRARY_PATH=$lib
unset CFLAGS LDFLAGS CPPFLAGS

ORVLOG_SIMULATOR=$server LD_LIBRARY_PATH="" "$orvlog" -v | sed -n 's/^LOG: //p' >"$work/orvlog"
[ "$(wc -l <"$work/orvlog")" -gt 50 ]
"$examples/translate.py" "$server/cevt" >"$work/python"

# A program that includes the headers gets no macro and no enumerator without their prefix.
grep -rhoP '^ *# *define +\K\w+' "$tree/include" >"$work/constants"
(cd "$tree/include" && printf '#include "%s"\n' iml/*.h iml/records/*.h) |
  "$cc" -E -P -I"$tree/include" -x c - | tr '\n' ' ' |
  grep -oE '\benum\b[^;{]*\{[^}]*\}' | sed 's/.*{//' | grep -oE '\b[A-Za-z_]\w* *[=,}]' >>"$work/constants"
grep -q '^IML_PACKED' "$work/constants" && grep -q '^IML_CLASS_CPU' "$work/constants"
! grep -v '^IML_' "$work/constants" >&2 || { echo "constants without IML_" >&2; exit 1; }

strict=(-std=c99 -Wall -Wextra -Wpedantic -Werror)
# Not every pkg-config can do with a blank in the names of directories, so it gets none.
(cd "$tree" && "$cc" "${strict[@]}" "$examples/translate.c" $(PKG_CONFIG_PATH=$2/pkgconfig pkg-config --cflags --libs imltext) \
  -o "$work/translate")
"$work/translate" "$server/cevt" >"$work/pkg-config"

"$cc" "${strict[@]}" "$examples/translate.c" -I"$tree/include" "$lib/libimltext.a" -o "$work/translate-static"
"$work/translate-static" <"$server/cevt" >"$work/static"

"$cmake" -G "$generator" -S "$examples" -B "$work/build" -DCMAKE_PREFIX_PATH="$tree" -DCMAKE_C_COMPILER="$cc" >/dev/null
"$cmake" --build "$work/build" >/dev/null
"$work/build/translate" "$server/cevt" >"$work/find_package"

cut -f 4 "$work/python" | diff -u "$work/orvlog" - >&2
for way in pkg-config static find_package; do
  diff -u "$work/python" "$work/$way" >&2
done

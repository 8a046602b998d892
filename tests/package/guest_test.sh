# In another project this one brings targets and nothing else. Asked to install, it installs where it is told.
# Source, build directory and prefix have a blank in their names. The build says what it leaves out.
set -euo pipefail
cmake=$1 source=$2 built=$3 generator=$4 cc=$5 cxx=$6
work=$(mktemp -d -p "$PWD") # in the build tree, since /tmp may be noexec
trap 'rm -rf "$work"' EXIT
export work
fail() { echo "$1" >&2; exit 1; }
# try DIRECTORY OPTION...: configures; what CMake says is in $work/log.
try() { "$cmake" -G "$generator" -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" -B "$@" >"$work/log" 2>&1; }
configure() { try "$@" || { cat "$work/log" >&2; exit 1; }; }
# targets DIRECTORY: those that are built without being named.
targets() { "$cmake" --build "$1" --target help | grep -oE '^(imlog|orvlog|imltext):' | tr -d '\n'; }

parent="$work/a parent" build="$work/its build" dirs="$work/absolute dirs"
mkdir "$parent"
ln -s "$source" "$parent/orvlog"
cp "$source/examples/translate.c" "$parent"
cat >"$parent/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.18)
project(parent LANGUAGES C CXX)
include(CTest)
get_cmake_property(names VARIABLES)
foreach(name IN LISTS names)
  set(was_${name} "${${name}}")
endforeach()
add_subdirectory(orvlog)
get_cmake_property(names VARIABLES)
foreach(name IN LISTS names)
  if(name MATCHES "^(CMAKE|BUILD|CTEST)_" AND NOT "${${name}}" STREQUAL "${was_${name}}")
    message(STATUS "changed: ${name}")
  endif()
endforeach()
add_executable(driver translate.c)
target_link_libraries(driver imltext::imltext)
END

# Compiles all but the decoders of events. Their objects are those of the build that is tested.
export objects="$built/iml/CMakeFiles/orvlog_imltext_objects.dir"
cat >"$work/launcher" <<'END'
#!/bin/sh
for word; do
  case $word in */class_*.cpp.o) exec cp "$objects/${word##*/}" "$word" ;; esac
done
exec "$@"
END
chmod +x "$work/launcher"
configure "$build" -S "$parent" -DCMAKE_CXX_COMPILER_LAUNCHER="$work/launcher"
# The others are CMake's own, whatever a subproject does.
! grep -vE 'CMAKE_(MATCH|PROJECT_VERSION|C(XX)?_LINK_(NO_)?PIE)' "$work/log" | grep changed: >&2 || fail "a variable of the parent changes"
(cd "$build" && ctest -N) | grep -x 'Total Tests: 0' >/dev/null || fail "the parent gets tests"
"$cmake" --install "$build" --prefix "$work/prefix" >/dev/null
[ ! -e "$work/prefix" ] || fail "the parent installs files"
"$cmake" --build "$build" --target driver >/dev/null
[ "$("$build/driver" "$built/samples/server/cevt" | wc -l)" -gt 50 ] || fail "the parent's program"

configure "$build" -S "$parent" -DORVLOG_INSTALL=ON -DCMAKE_INSTALL_BINDIR="$dirs/bin" -DCMAKE_INSTALL_SBINDIR="$dirs/sbin" \
  -DCMAKE_INSTALL_LIBDIR="$dirs/lib" -DCMAKE_INSTALL_INCLUDEDIR="$dirs/include" -DCMAKE_INSTALL_MANDIR="$dirs/man"
"$cmake" --build "$build" --target driver orvlog_imltext_static orvlog_orvlog_page orvlog_imlog_page >/dev/null
cp "$built/orvlog/orvlog" "$build/orvlog/orvlog" # as if built here
cp "$built/imlog/imlog" "$build/orvlog/imlog"
before=$(find "$build" -not -name 'install_manifest*' -printf '%p %T@\n' | sort)
"$cmake" --install "$build" --prefix "$work/a prefix" >/dev/null
diff <(echo "$before") <(find "$build" -not -name 'install_manifest*' -printf '%p %T@\n' | sort) >&2 ||
  fail "installing writes into the build directory"
for file in bin/imlog sbin/orvlog lib/{libimltext.{a,so.1},cmake/imltext/imltext-config.cmake} \
            include/iml/records/common.h man/man8/{imlog,orvlog}.8.gz; do
  [ -s "$dirs/$file" ] || fail "$file is not where it was to go"
done
! readelf -d "$dirs/sbin/orvlog" | grep -E 'RPATH|RUNPATH' >&2 || fail "orvlog has a run path"
grep -xF "ExecStart=\"$dirs/bin/imlog\" -o journal --cursor-file=%S/imlog/cursor" \
  "$work/a prefix/lib/systemd/system/imlog-ship.service" >/dev/null || fail "the unit's path of imlog"
grep -xF -e "libdir=$dirs/lib" -e "includedir=$dirs/include" "$dirs/lib/pkgconfig/imltext.pc" | wc -l | grep -x 2 >/dev/null ||
  fail "the paths for pkg-config"

# What the build leaves out, and what it refuses.
bare="$work/bare"
configure "$bare" -S "$source" -DCMAKE_IGNORE_PATH="$7"
grep -c '^-- .*: imlog is not built (package rapidjson-dev)$' "$work/log" | grep -x 1 >/dev/null || fail "no word of RapidJSON"
[ "$(targets "$bare")" = imltext:orvlog: ] || fail "without RapidJSON: $(targets "$bare")"
configure "$bare" -S "$source" -UORVLOG_X86_64 -DCMAKE_CXX_FLAGS=-U__x86_64__
grep '^-- Not x86-64: orvlog is not built' "$work/log" >/dev/null || fail "no word of x86-64"
[ "$(targets "$bare")" = imltext: ] || fail "without x86-64: $(targets "$bare")"
swapped='-U__BYTE_ORDER__ -D__BYTE_ORDER__=__ORDER_BIG_ENDIAN__'
! "$cc" $swapped -I"$source" -fsyntax-only -x c "$source/iml/eventstr.h" 2>"$work/log" || fail "the headers take a big-endian machine"
grep 'little-endian' "$work/log" >/dev/null || fail "the headers' message"

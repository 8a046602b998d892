# scripts/check-hardening passes what is built and finds each protection missing that is missing.
set -euo pipefail
check=$1 cc=$2
"$check" "${@:3}" >/dev/null

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
cat >bare.c <<'END'
#include <stdio.h>
#include <string.h>
int main(int argc, char **argv) { char text[64]; strcpy(text, argv[0]); return printf("%s %d\n", text, argc); }
END
"$cc" -O2 -fno-pie -no-pie -fno-stack-protector -fcf-protection=none -U_FORTIFY_SOURCE \
  -Wl,-z,norelro,-z,lazy,-z,execstack,-rpath,/lib: bare.c -o bare
echo 'int _start(void) { return 0; }' >merged.c
"$cc" -static -nostdlib -Wl,-N -Wl,--no-warn-rwx-segments merged.c -o merged
echo 'int x; int f(void) { return x; }' >moving.c
"$cc" -fno-pic -mcmodel=large -shared -Wl,-z,notext,-rpath,lib moving.c -o moving

missing() { "$check" "$1" | sed -nE 's/^  (.*[^ ]) +NO$/\1/p' || true; }
diff -u - <(missing bare) <<'END'
position-independent
read-only relocations
bound before the start (BIND_NOW)
no executable stack
no run path to the current folder
stack protector
fortified library calls
landing pads of indirect calls
shadow stack
END
missing merged | grep -qx 'no writable code'
missing moving | grep -qx 'no text relocations'
missing moving | grep -qx 'no run path to the current folder'

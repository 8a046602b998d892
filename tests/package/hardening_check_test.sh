# scripts/check-hardening passes what is built and names each protection that a binary lacks.
set -euo pipefail
check=$1 cc=$2
"$check" "${@:3}" >/dev/null
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# bare PROGRAM OPTION...: builds a program without protections.
bare() { "$cc" "${@:2}" -x c - -o binary <<<"$1" 2>/dev/null; }
lacks() { { "$check" binary || true; } | grep -F "  $1 " | grep 'NO$' >/dev/null; }

bare $'#include <stdio.h>\n#include <string.h>\nint main(int argc, char **argv) {
  char text[64]; strcpy(text, argv[0]); return printf("%s %d", text, argc); }' \
  -O2 -fno-pie -no-pie -fno-stack-protector -fcf-protection=none -U_FORTIFY_SOURCE \
  -Wl,-z,norelro,-z,lazy,-z,execstack,-rpath,/lib:
for protection in 'position-independent' 'read-only relocations' 'bound before the start (BIND_NOW)' \
                  'no executable stack' 'no run path to the current directory' 'stack protector' \
                  'fortified library calls' 'landing pads of indirect calls' 'shadow stack'; do
  lacks "$protection"
done
bare 'int _start(void) { return 0; }' -static -nostdlib -Wl,-N
lacks 'no writable code'
bare 'int x; int f(void) { return x; }' -fno-pic -mcmodel=large -shared -Wl,-z,notext,-rpath,lib
lacks 'no text relocations'
lacks 'no run path to the current directory'

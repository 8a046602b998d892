# The shared translator imports only these names: nothing that allocates, does I/O or reads the locale.
set -euo pipefail
allowed='__stack_chk_fail memcpy memset strcspn strlen strnlen'
imports=$(nm -D --undefined-only "$1" | awk '$1 == "U" { sub(/@.*/, "", $2); print $2 }')
grep -qx memcpy <<<"$imports"
! grep -vxF "${allowed// /$'\n'}" <<<"$imports"

# write-metrics replaces iml.prom only by metrics that say whether the log was read, and follows no link.
set -euo pipefail
cmake=$1 build=$2
rm -rf "$3"
mkdir -p "$3"/{metrics,elsewhere}
work=$(realpath "$3")
umask 077 # which the script does not take over: node_exporter is another user
"$cmake" --install "$build" --prefix "$work" --component imlog >/dev/null
directory=$work/metrics
export STATE_DIRECTORY=$work/state # which the script makes

# check STATUS CONTENT IMLOG [DIRECTORY]: runs the script with IMLOG, a script, as imlog. It has to end with STATUS and to
# leave iml.prom with CONTENT, and nothing else.
check() {
  local status=0 left
  printf '#!/bin/sh\n%s\n' "$3" >"$work/bin/imlog"
  ${limit-} sh "$work/lib/imlog/write-metrics" "${4-$directory}" 2>"$work/messages" || status=$?
  left=$(cd "$work" && find metrics elsewhere -mindepth 1 && cat metrics/iml.prom)
  if [ "$status $left" != "$1 metrics/iml.prom"$'\n'"$2" ]; then
    printf '%s\nends with status %s and leaves\n%s\n' "$3" "$status" "$left" | cat - "$work/messages" >&2
    exit 1
  fi
}

check 0 $'x 1\niml_read_success 1' '[ "$*" = "-o prometheus" ] && printf "x 1\niml_read_success 1\n"'
check 2 'iml_read_success 0' 'echo iml_read_success 0; exit 2' "$directory/"
check 3 'iml_read_success 0' 'exit 3'
check 127 'iml_read_success 0' 'exec /nowhere/imlog'
check 2 'iml_read_success 0' 'echo "# TYPE iml_read_success gauge"; echo "x iml_read_success 1"'
check 137 'iml_read_success 0' 'echo "x 1"; kill -KILL $$'
limit='prlimit --fsize=0 env --ignore-signal=XFSZ' check 2 'iml_read_success 0' 'echo iml_read_success 1'
# Links, and what a run left that was killed.
ln -s "$work/elsewhere/file" "$directory/iml.prom.new"
check 0 'iml_read_success 1' 'echo iml_read_success 1'
ln -sf "$work/elsewhere" "$directory/iml.prom"
check 2 'iml_read_success 0' 'echo iml_read_success 0; exit 2'
check 2 'iml_read_success 0' "ln -s '$work/elsewhere/file' iml.prom.new; echo iml_read_success 1"
ln -s "$directory" "$work/link"
check 2 'iml_read_success 0' 'echo iml_read_success 1' "$work/link"
# The directory is replaced by a link while imlog runs.
mkdir "$work/other"
check 0 'iml_read_success 0' "mv '$work/other' '$work/moved'; ln -s metrics '$work/other'; echo iml_read_success 1" "$work/other"
[ "$(cat "$work/moved/iml.prom")" = 'iml_read_success 1' ]
[ "$(stat -c %a "$directory/iml.prom" "$STATE_DIRECTORY" | paste -sd' ')" = '644 700' ]
# A second run while imlog is running.
check 0 'iml_read_success 1' "NESTED=\${NESTED-}x
  [ \$NESTED != x ] || ! NESTED=x sh '$work/lib/imlog/write-metrics' '$directory' 2>/dev/null || exit 9
  echo iml_read_success 1"
grep -q 'another run' <(flock "$STATE_DIRECTORY" sh "$work/lib/imlog/write-metrics" "$directory" 2>&1)
touch "$directory/iml.prom.new"
sh "$work/lib/imlog/write-metrics" --clean "$directory"
[ ! -e "$directory/iml.prom.new" ]

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
  local status=0
  printf '#!/bin/sh\n%s\n' "$3" >"$work/bin/imlog"
  ${limit-} sh "$work/lib/imlog/write-metrics" "${4-$directory}" 2>"$work/messages" || status=$?
  if [ -L "$directory" ]; then
    rm "$directory"
    mv "$work/moved" "$directory"
  fi
  if [ "$status $(cat "$directory/iml.prom")" != "$1 $2" ] || [ "$(ls -A "$directory" "$work/elsewhere")" != \
       "$work/elsewhere:"$'\n\n'"$directory:"$'\niml.prom' ]; then
    printf '%s\nends with status %s and leaves\n' "$3" "$status" >&2
    tail -n +1 "$work/messages" "$directory"/* "$work/elsewhere"/* >&2
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
# Links, and what a run left that was killed. The last one takes the directory's name while imlog runs.
ln -s "$work/elsewhere/file" "$directory/iml.prom.new"
check 0 'iml_read_success 1' 'echo iml_read_success 1'
ln -sf "$work/elsewhere" "$directory/iml.prom"
check 2 'iml_read_success 0' 'echo iml_read_success 0; exit 2'
check 2 'iml_read_success 0' "ln -s '$work/elsewhere/file' iml.prom.new; echo iml_read_success 1"
ln -s "$directory" "$work/link"
check 2 'iml_read_success 0' 'echo iml_read_success 1' "$work/link"
ln -sfT elsewhere "$work/link"
check 0 'iml_read_success 1' "mv '$directory' '$work/moved'; mv -T '$work/link' '$directory'; echo iml_read_success 1"
[ "$(stat -c %a "$directory/iml.prom" "$STATE_DIRECTORY" | paste -sd' ')" = '644 700' ]
# A second run while imlog is running.
check 0 'iml_read_success 1' "NESTED=\${NESTED-}x
  [ \$NESTED != x ] || ! NESTED=x sh '$work/lib/imlog/write-metrics' '$directory' 2>/dev/null || exit 9
  echo iml_read_success 1"
grep -q 'another run' <(flock "$STATE_DIRECTORY" sh "$work/lib/imlog/write-metrics" "$directory" 2>&1)
touch "$directory/iml.prom.new"
sh "$work/lib/imlog/write-metrics" --clean "$directory"
[ ! -e "$directory/iml.prom.new" ]

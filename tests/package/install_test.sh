# Installs twice: by default, without a trace of the simulator; then the simulator on request.
set -euo pipefail
cmake=$1 build=$2 tree=$3

rm -rf "$tree"
"$cmake" --install "$build" --prefix "$tree" >/dev/null
if find "$tree" | grep -iE 'simulator|kelmint|orvev'; then
  echo "the simulator is installed without being asked for" >&2
  exit 1
fi
"$cmake" --install "$build" --prefix "$tree" --component orvlog-simulator >/dev/null
for file in bin/imlog share/man/man8/imlog.8.gz share/bash-completion/completions/imlog \
            sbin/orvlog share/man/man8/orvlog.8.gz share/bash-completion/completions/orvlog \
            include/iml/eventstr.h include/iml/records/common.h share/orvlog-simulator/imltext.py \
            share/orvlog-simulator/README.md share/orvlog-simulator/server/cevt; do
  test -s "$tree/$file" || { echo "$file is missing" >&2; exit 1; }
done
zcat "$tree/share/man/man8/orvlog.8.gz" | grep -q 'version [0-9]*\.[0-9]*\.[0-9]*\.' || {
  echo "the manual page does not show the version" >&2
  exit 1
}

#!/usr/bin/env bash
# usage: signalConnectionsTest.sh REPOSITORY_ROOT
#
# Fails when code outside src/modules/sirius/siriusLib names a signal of SiriusLib anywhere but as
# the first argument of SiriusLib::subscribe(), the one way to receive them: a direct connect
# would skip the hand-over that subscribe() adds, and nothing else would notice. The signal names
# are read from siriusLib.h, so a new signal is covered without an edit here. The checker first
# proves on small samples that it flags what it must and passes what it must.
set -euo pipefail
root=${1:?usage: signalConnectionsTest.sh REPOSITORY_ROOT}
header="$root/src/modules/sirius/siriusLib/siriusLib.h"

signals=$(perl -0777 -ne '
    if (/\nsignals:\n(.*?)\n(?:public|protected|private)\b/s) {
        print join("|", $1 =~ /\bvoid\s+(\w+)\s*\(/g);
    }' "$header")
if [ -z "$signals" ]; then
  echo "no signals found in $header: the checker no longer understands the header" >&2
  exit 1
fi

# Prints FILE:LINE: TEXT for every use of a signal that is not subscribe(&SiriusLib::signal...).
violations() {
  SIGNALS="$signals" perl -0777 -ne '
      my $signals = $ENV{SIGNALS};
      while (/(SiriusLib\s*::\s*(?:$signals)\b|SIGNAL\s*\(\s*(?:$signals)\b)/g) {
          my ($use, $end) = ($1, pos);
          my $start = $end - length($use);
          my $before = substr($_, 0, $start);
          next if $use =~ /^SiriusLib/ && $before =~ /\bsubscribe\s*\(\s*&\s*$/;
          my $line = 1 + ($before =~ tr/\n//);
          print "$ARGV:$line: $use\n";
      }' "$@"
}

sample=$(mktemp -d)
trap 'rm -rf "$sample"' EXIT
cat > "$sample/flagged.cpp" <<'EOF'
connect(lib, &SiriusLib::onError, this, &Worker::on_lib_error);
QObject::connect(lib, SIGNAL(onChannel(MivoSiriusContent)), this, SLOT(x()));
auto signal = &SiriusLib::onRefresh;
EOF
cat > "$sample/passed.cpp" <<'EOF'
lib->subscribe(&SiriusLib::onError, this, &Worker::on_lib_error);
m_lib->subscribe(
    &SiriusLib::onGlobalSettings, this, &SiriusWorker::on_lib_globalSettings);
SiriusLib::on_siriusError_callback(lib, &notification);
EOF
if [ "$(violations "$sample/flagged.cpp" | wc -l)" -ne 3 ] || [ -n "$(violations "$sample/passed.cpp")" ]; then
  echo "the checker itself is broken: it must flag exactly the 3 uses in the first sample" >&2
  violations "$sample/flagged.cpp" "$sample/passed.cpp" >&2 || true
  exit 1
fi

mapfile -t files < <(find "$root/src" "$root/tests" "$root/bench" \
                       -path "$root/src/modules/sirius/siriusLib" -prune -o \
                       -type f \( -name '*.cpp' -o -name '*.h' \) -print)
found=$(violations "${files[@]}")
if [ -n "$found" ]; then
  echo "SiriusLib's signals are received through SiriusLib::subscribe() only; found:" >&2
  echo "$found" >&2
  exit 1
fi
echo "every receiver of SiriusLib's signals goes through subscribe() (${#files[@]} files)"

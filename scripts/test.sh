#!/usr/bin/env bash
# Builds and runs the whole test suite: the plain build, then ASan+UBSan, then the threaded tests
# under TSan. Exits non-zero on the first failure. --quick runs the plain build only.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)

quick=0
for arg in "$@"; do
  case "$arg" in
    --quick) quick=1 ;;
    -h|--help) echo "usage: scripts/test.sh [--quick]"; exit 0 ;;
    *) echo "test.sh: unknown argument $arg" >&2; exit 2 ;;
  esac
done

bash scripts/install-deps.sh

jobs=$(nproc 2>/dev/null || echo 2)
export CTEST_OUTPUT_ON_FAILURE=1
# Qt's glib event dispatcher hides its locking from TSan; the plain Unix dispatcher does not.
export QT_NO_GLIB=1
export QT_QPA_PLATFORM=offscreen

build_and_test() {
  local name=$1 sanitizer=$2; shift 2
  local dir="$root/build-$name"
  echo "== $name: configure and build"
  cmake -S "$root" -B "$dir" -DSIRIUS_SANITIZER="$sanitizer" >/dev/null
  cmake --build "$dir" -j "$jobs"
  echo "== $name: test"
  (cd "$dir" && ctest --output-on-failure -j "$jobs" "$@")
}

start=$(date +%s)
build_and_test plain none
if [ "$quick" -eq 0 ]; then
  ASAN_OPTIONS="detect_leaks=1:abort_on_error=1:strict_string_checks=1" \
  UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1" \
  LSAN_OPTIONS="suppressions=$root/tests/lsan.supp:print_suppressions=0" \
    build_and_test asan asan
  TSAN_OPTIONS="suppressions=$root/tests/tsan.supp:halt_on_error=1:second_deadlock_stack=1" \
    build_and_test tsan tsan -L threaded
fi
echo "== all tests passed in $(( $(date +%s) - start )) s"

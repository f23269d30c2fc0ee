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
  # The sanitizer options come with each test (cmake/SiriusTesting.cmake).
  build_and_test asan asan
  build_and_test tsan tsan -L threaded
fi
echo "== all tests passed in $(( $(date +%s) - start )) s"

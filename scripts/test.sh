#!/usr/bin/env bash
# Checks the code's style, then builds and runs the whole test suite: the plain build, then
# ASan+UBSan, then the threaded tests under TSan. Exits non-zero on the first failure. --quick
# runs the style check and the plain build only.
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

# build_and_test NAME SANITIZER TARGET [ctest arguments...]
build_and_test() {
  local name=$1 sanitizer=$2 target=$3; shift 3
  local dir="$root/build-$name" t0
  t0=$(date +%s)
  local flags=()
  if [ "$sanitizer" != none ]; then
    # Sanitizer trees: light optimisation and line tables only, which keeps reports readable
    # and the build fast.
    flags=(-DCMAKE_BUILD_TYPE=Debug "-DCMAKE_CXX_FLAGS_DEBUG=-O1 -g1" "-DCMAKE_C_FLAGS_DEBUG=-O1 -g1")
  fi
  echo "== $name: configure and build"
  cmake -S "$root" -B "$dir" -DSIRIUS_SANITIZER="$sanitizer" "${flags[@]}" >/dev/null
  cmake --build "$dir" -j "$jobs" --target "$target"
  echo "== $name: test"
  (cd "$dir" && ctest --output-on-failure -j "$jobs" "$@")
  echo "== $name: $(( $(date +%s) - t0 )) s"
}

start=$(date +%s)
echo "== style: formatting, file and member names"
bash scripts/check-style.sh
build_and_test plain none all
if [ "$quick" -eq 0 ]; then
  # The sanitizer options come with each test (cmake/SiriusTesting.cmake).
  build_and_test asan asan all
  build_and_test tsan tsan sirius_threaded_tests -L threaded
fi
echo "== all tests passed in $(( $(date +%s) - start )) s"

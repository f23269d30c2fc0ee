#!/usr/bin/env bash
# Installs what is missing, builds mivo-host with the module and runs its demo: the host starts
# the simulated service, signs in with the demo account, walks down the browse tree to something
# playable and plays it. Arguments go to `mivo-host demo` (e.g. --seconds 20).
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)

bash scripts/install-deps.sh

dir="$root/build-plain"
cmake -S "$root" -B "$dir" >/dev/null
cmake --build "$dir" -j "$(nproc 2>/dev/null || echo 2)" --target mivo-host cb_sirius
exec "$dir/sim/host/mivo-host" demo "$@"

#!/usr/bin/env bash
# Installs every Debian package that building, testing and running the project needs.
# Idempotent: packages already present are not touched, and the package lists are refreshed
# only when something is missing and the lists are absent or older than a day.
set -euo pipefail

packages=(
  # build
  build-essential cmake pkg-config clang-format
  # module: Qt 5 Core, libcurl, libgcrypt, log4cplus
  qtbase5-dev libcurl4-openssl-dev libgcrypt20-dev liblog4cplus-dev
  # simulated service
  libcpp-httplib-dev nlohmann-json3-dev libssl-dev
  # tests and benchmarks
  libgtest-dev libgmock-dev libbenchmark-dev
  # the service's AAC fixtures are made at build time, and tests decode what it serves
  ffmpeg
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "install-deps: all ${#packages[@]} packages present"
  exit 0
fi

echo "install-deps: installing ${missing[*]}"
sudo=""
if [ "$(id -u)" -ne 0 ]; then
  if command -v sudo >/dev/null 2>&1; then sudo="sudo"; else
    echo "install-deps: need root (or sudo) to install: ${missing[*]}" >&2
    exit 1
  fi
fi

lists_fresh() {
  local newest
  newest=$(find /var/lib/apt/lists -maxdepth 1 -name '*Packages*' -mmin -1440 2>/dev/null | head -n 1)
  [ -n "$newest" ]
}

export DEBIAN_FRONTEND=noninteractive
if ! lists_fresh; then
  $sudo apt-get update -q || { echo "install-deps: apt-get update failed" >&2; exit 1; }
fi
if ! $sudo apt-get install -y -q --no-install-recommends "${missing[@]}"; then
  # A stale list can name package versions that the mirror no longer has: refresh once and retry.
  $sudo apt-get update -q && $sudo apt-get install -y -q --no-install-recommends "${missing[@]}" || {
    echo "install-deps: could not install: ${missing[*]}" >&2
    exit 1
  }
fi
echo "install-deps: done"

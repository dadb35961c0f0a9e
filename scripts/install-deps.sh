#!/usr/bin/env bash
# Installs the Debian 12 packages the builds and tests need, only if missing.
#   scripts/install-deps.sh          everything: both targets, Wine, PoCL, benchmarks
#   scripts/install-deps.sh native   only what the native build and the tool need
# zlib writes the tool's PNG files (zlib1g-dev natively, libz-mingw-w64-dev for
# the Windows build); ffmpeg is the reference of the tool's end-to-end test.
set -euo pipefail
native=(cmake ninja-build g++ pkgconf googletest opencl-c-headers ocl-icd-opencl-dev pocl-opencl-icd zlib1g-dev)
all=("${native[@]}" ffmpeg g++-mingw-w64-x86-64 libz-mingw-w64-dev wine64 libbenchmark-dev libyuv-dev)
want=("${all[@]}")
[ "${1:-}" = native ] && want=("${native[@]}")
missing=()
for p in "${want[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
sudo=""
[ "$(id -u)" -ne 0 ] && sudo=sudo
echo "installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null

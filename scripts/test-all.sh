#!/usr/bin/env bash
# Builds both targets and runs every test: native Linux, Linux under
# AddressSanitizer and UndefinedBehaviorSanitizer, and Windows under Wine.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
jobs=$(nproc)
status=0
run() {  # name, extra cmake arguments...
  local name=$1; shift
  echo "=== $name"
  cmake -S . -B "build/$name" -G Ninja "$@" >/dev/null
  cmake --build "build/$name" -j "$jobs"
  (cd "build/$name" && ctest --output-on-failure -j "$jobs") || status=1
}
run linux -DCMAKE_BUILD_TYPE=RelWithDebInfo
run asan -DCMAKE_BUILD_TYPE=Debug -DTESSIVA_SANITIZE=ON
run windows -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-x86_64.cmake
exit $status

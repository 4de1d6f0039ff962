#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the benchmarks need, when they are missing.
set -euo pipefail

packages=(
  g++ cmake ninja-build pkg-config            # toolchain
  libboost-dev                                # boost::function, boost::shared_ptr, boost::typeindex
  libgtest-dev libbenchmark-dev               # unit tests and benchmarks
  qemu-user                                   # runs the tests as older processors
  libfftw3-dev libvolk2-dev libsleef-dev      # rivals and oracles, in tests and benchmarks only
  libkissfft-dev libliquid-dev                #   (never linked into the library)
  libxsimd-dev libhwy-dev                     # the kernel-style measurement in bench/
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
echo "Installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"

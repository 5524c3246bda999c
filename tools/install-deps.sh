#!/usr/bin/env bash
# Installs the Debian packages the build, tests and benchmark need, if any
# are missing. Needs root (or sudo) only when something has to be installed.
#   make, pkg-config   building examples/consumer the way a user would
#   dpkg-dev           dpkg-shlibdeps, for the Depends line of the .deb
#   python3-matplotlib the charts of qvngen-bench --report
set -euo pipefail

# g++-multilib and qemu-user-static: the i686 Linux build and its tests;
# googletest: GoogleTest's sources, compiled for the 32-bit targets;
# the mingw-w64 compiler (posix threads) and binutils: the Win32 DLLs.
packages=(cmake ninja-build g++ g++-multilib binutils file libgtest-dev googletest libfftw3-dev
          qemu-user-static g++-mingw-w64-i686-posix binutils-mingw-w64-i686
          make pkg-config dpkg-dev python3-matplotlib)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]} == 0)); then exit 0; fi

echo "installing: ${missing[*]}"
as_root=()
if [[ $(id -u) -ne 0 ]]; then as_root=(sudo); fi
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -q
"${as_root[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}"

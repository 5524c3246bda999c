#!/usr/bin/env bash
# Builds the Debian package of a build directory with cpack and checks that
# its contents are exactly the install tree: every file and link that
# `cmake --install` puts under /usr, with the same link targets, and nothing
# else; and that it holds the library of each ISA named in
# /usr/lib/glibc-hwcaps/<ISA>/.
#   tools/check-deb.sh BUILD_DIR SCRATCH_DIR [ISA...]
set -euo pipefail
usage="usage: check-deb.sh BUILD_DIR SCRATCH_DIR [ISA...]"
build=$(realpath "${1:?$usage}")
scratch=${2:?$usage}
shift 2
rm -rf "$scratch"
mkdir -p "$scratch"
scratch=$(realpath "$scratch")

(cd "$scratch" && cpack -G DEB --config "$build/CPackConfig.cmake" -B "$scratch/deb" >/dev/null)
deb=$(find "$scratch/deb" -maxdepth 1 -name '*.deb')
[[ $(wc -l <<<"$deb") == 1 && -n $deb ]] || { echo "expected one .deb, found: $deb"; exit 1; }

DESTDIR="$scratch/tree" cmake --install "$build" --prefix /usr >/dev/null

# "path" for a file, "path -> target" for a link; directories left out.
(cd "$scratch/tree" && find . \( -type f -printf '%p\n' \) -o \( -type l -printf '%p -> %l\n' \)) |
  sort >"$scratch/install.list"
dpkg-deb -c "$deb" | awk '$1 !~ /^d/ { $1 = $2 = $3 = $4 = $5 = ""; sub(/^ +/, ""); print }' |
  sort >"$scratch/deb.list"

if ! diff -u "$scratch/install.list" "$scratch/deb.list"; then
  echo "$(basename "$deb") does not hold the install tree (- install only, + package only)"
  exit 1
fi
for isa in "$@"; do
  grep -Eq "^\./usr/lib/([^/]+/)?glibc-hwcaps/$isa/libqvngenz3\.so\.7\.0$" "$scratch/deb.list" ||
    { echo "$(basename "$deb") has no glibc-hwcaps/$isa/libqvngenz3.so.7.0"; exit 1; }
done
echo "$(basename "$deb"): $(wc -l <"$scratch/deb.list") files and links, the same as the install tree"
dpkg-deb -f "$deb" Package Version Architecture Depends

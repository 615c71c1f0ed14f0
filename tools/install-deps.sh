#!/usr/bin/env bash
# Installs the Debian packages the build needs, only those missing.
# Runs as root (apt-get install -y); as another user it names what is missing.
set -euo pipefail

packages=(
    cmake ninja-build g++ make pkg-config
    libgtest-dev libgmock-dev googletest libbenchmark-dev
    libsqlite3-dev sqlite3 libtomlplusplus-dev libicu-dev libgmp-dev libzstd-dev zstd
    clang libclang-rt-dev clang-format binutils
)

missing=()
for p in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}\n' "$p" 2>/dev/null | grep -q 'install ok installed'; then
        missing+=("$p")
    fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

if [ "$(id -u)" -ne 0 ]; then
    echo "install-deps: missing packages (run as root to install): ${missing[*]}" >&2
    exit 1
fi
echo "install-deps: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install -y -qq "${missing[@]}"

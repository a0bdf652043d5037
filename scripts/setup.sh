#!/usr/bin/env bash
# Installs the packages that the build needs and this machine lacks (Debian, Ubuntu).
# Usage: scripts/setup.sh [further package...]
set -euo pipefail

packages=(
    ccache
    cmake
    g++
    libbenchmark-dev
    libcli11-dev
    libcminpack-dev
    libgmock-dev
    libgtest-dev
    liblapacke-dev
    liblog4cplus-dev
    libopenblas-dev
    librapidcheck-dev
    ninja-build
    pkg-config
    python3
    "$@"
)

missing=()
for package in "${packages[@]}"; do
    status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
    [[ $status == installed ]] || missing+=("$package")
done
if ((${#missing[@]} == 0)); then
    exit 0
fi

as_root=()
if ((EUID != 0)); then
    as_root=(sudo)
fi
echo "Installing: ${missing[*]}"
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null

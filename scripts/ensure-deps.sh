#!/usr/bin/env bash
# Makes sure the Debian packages the build needs are present. As root it installs what is
# missing; otherwise it stops and prints the one apt-get line to run.
set -euo pipefail

packages=(
  cmake ninja-build g++ clang lld llvm libclang-rt-14-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  libcli11-dev libvterm-dev pkg-config
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

if [ "$(id -u)" -eq 0 ]; then
  echo "Installing: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq --no-install-recommends "${missing[@]}"
else
  echo "Missing packages: ${missing[*]}" >&2
  echo "Run: sudo apt-get install -y ${missing[*]}" >&2
  exit 1
fi

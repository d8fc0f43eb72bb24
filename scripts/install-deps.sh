#!/usr/bin/env bash
# Installs the Debian packages the build needs, and only those that are missing.
# Runs apt-get directly as root, through sudo otherwise; if neither is possible it
# prints the exact command to run and exits non-zero.
set -euo pipefail

packages=(
  cmake g++ make pkg-config ccache
  libgoogle-glog-dev libeigen3-dev libboost-dev
  libpolyclipping-dev lib3mf-dev libzip-dev zlib1g-dev
  libgtest-dev libbenchmark-dev libtinyobjloader-dev
)
# Extra packages a caller asks for (for example chromium for preview tests).
packages+=("$@")

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "install-deps: installing ${missing[*]}"
cmd=(apt-get install -y --no-install-recommends "${missing[@]}")
if [ "$(id -u)" -eq 0 ]; then
  runner=()
elif command -v sudo >/dev/null 2>&1 && sudo -n true 2>/dev/null; then
  runner=(sudo)
else
  echo "install-deps: cannot install packages (not root, no sudo). Run:" >&2
  echo "  sudo apt-get update && sudo ${cmd[*]}" >&2
  exit 1
fi
export DEBIAN_FRONTEND=noninteractive
# A fresh machine has no package lists yet; refresh them once if the install fails.
if ! "${runner[@]}" "${cmd[@]}" >/dev/null 2>&1; then
  "${runner[@]}" apt-get update -qq
  "${runner[@]}" "${cmd[@]}"
fi

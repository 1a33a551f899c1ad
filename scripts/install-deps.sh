#!/usr/bin/env bash
# Installs every build and test dependency from Debian's packages. Does
# nothing when all of them are present already.
set -euo pipefail
packages=(
  build-essential cmake ninja-build clang libclang-rt-14-dev python3
  libhwy-dev libgtest-dev libbenchmark-dev libomp-dev
  pkg-config libjpeg62-turbo-dev libturbojpeg0-dev libjpeg-turbo-progs libjpeg-tools libpng-dev
)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
echo "installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"

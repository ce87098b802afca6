#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need, when missing.
# Usage: scripts/install-deps.sh [extra-package...]
set -euo pipefail
# man-db and bash-completion check the installed manual page and completion;
# clustershell (nodeset) and slurm-client (scontrol) read back what krel writes;
# genders (nodeattr) reads the group fixtures beside krel;
# pdsh (dshbak) and clustershell (clubak) write the pages krel gather matches.
# libclang-rt-dev is the sanitizer and libFuzzer runtime of the default clang,
# the compiler of the fuzz preset.
packages=(cmake ninja-build g++ libgtest-dev libbenchmark-dev libcli11-dev pkg-config clang
          libclang-rt-dev valgrind python3-dev pybind11-dev python3-pytest dpkg-dev file
          clustershell slurm-client bash-completion man-db pdsh genders "$@")
# The Debian packages' build (debian/control's Build-Depends) and checks.
packages+=(debhelper dh-python fakeroot lintian libyaml-dev libinih-dev libgenders0-dev)
missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" ||
    missing+=("$package")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0
sudo=""
[[ $(id -u) -ne 0 ]] && sudo="sudo"
echo "installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"

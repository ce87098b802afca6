#!/usr/bin/env bash
# Builds the Debian packages as Debian builds them (dpkg-buildpackage from
# debian/), in a scratch copy of the source tree so that nothing lands in it,
# then checks them with lintian (no error, no warning), installs them, uses
# them (krel, its manual page and completion, a find_package client and a
# pkg-config client against libgeneric-lib-dev, import krel) and removes them.
#
# Where they are installed: in the real system with apt when the CI variable
# is set or KREL_PACKAGE_INSTALL=system (then they are purged at the end, and
# no file of theirs may be left behind); otherwise unpacked into a scratch
# root and used from there, leaving the system as it was.
# Usage: tests/package/check_deb.sh SOURCE_DIR
set -euo pipefail
source_dir=$(cd "$1" && pwd)
work=$(mktemp -d)
multiarch=$(dpkg-architecture -qDEB_HOST_MULTIARCH)
packages=(libgeneric-lib0 libzuno2 libgeneric-lib-dev krel python3-krel)
mode=scratch
[[ -n ${CI:-} || ${KREL_PACKAGE_INSTALL:-} == system ]] && mode=system
installed=no
built=()
unset LD_LIBRARY_PATH PYTHONPATH PKG_CONFIG_PATH MANPATH

fail() {
  echo "FAIL: $*" >&2
  exit 1
}

cleanup() {
  if [[ $installed == yes ]]; then
    apt_get purge "${built[@]}" >/dev/null 2>&1 || true
  fi
  rm -rf "$work"
}
trap cleanup EXIT

apt_get() {
  local sudo=""
  [[ $(id -u) -ne 0 ]] && sudo="sudo"
  DEBIAN_FRONTEND=noninteractive $sudo apt-get -y -q -o DPkg::Lock::Timeout=300 "$@"
}

# The tree as it is in the working copy: tracked files and new ones git does
# not ignore, without the build folders.
copy_source() {
  mkdir "$work/src"
  if git -C "$source_dir" rev-parse --git-dir >/dev/null 2>&1; then
    (cd "$source_dir" && git ls-files -z -co --exclude-standard |
      tar --null --ignore-failed-read -T - -cf -) | tar -xf - -C "$work/src"
  else
    tar -C "$source_dir" --exclude=./build -cf - . | tar -xf - -C "$work/src"
  fi
}

build_packages() {
  local started=$SECONDS
  (cd "$work/src" &&
    DEB_BUILD_OPTIONS="parallel=2 ${DEB_BUILD_OPTIONS:-}" dpkg-buildpackage -b -us -uc \
      >"$work/build.log" 2>&1) ||
    { tail -n 60 "$work/build.log" >&2; fail "dpkg-buildpackage failed (log above)"; }
  changes=$(ls "$work"/*.changes)
  local deb
  for deb in "$work"/*.deb; do built+=("$(dpkg-deb -f "$deb" Package)"); done
  for package in "${packages[@]}"; do
    ls "$work/${package}"_*.deb >/dev/null 2>&1 || fail "no package $package: $(ls "$work")"
  done
  echo "ok: dpkg-buildpackage built ${built[*]} in $((SECONDS - started)) s"
}

run_lintian() {
  local report
  report=$(lintian --fail-on error,warning --display-info --show-overrides "$changes" 2>&1) ||
    { echo "$report" >&2; fail "lintian found errors or warnings"; }
  echo "$report" | grep -v 'running with root privileges' | sed 's/^/  lintian: /'
  ! echo "$report" | grep -q '^[EW]:' || fail "lintian found errors or warnings"
  echo "ok: lintian, no error and no warning"
}

# Every path the packages hold, directories included.
package_paths() {
  local deb
  for deb in "$work"/*.deb; do
    dpkg-deb --fsys-tarfile "$deb" | tar -t | sed 's|^\.||; s|/$||' | grep -v '^$'
  done | sort -u
}

install_packages() {
  if [[ $mode == system ]]; then
    local present
    present=$(dpkg-query -W -f='${Package} ${Status}\n' "${packages[@]}" 2>/dev/null |
      grep 'install ok installed' || true)
    [[ -z $present ]] || fail "already installed, remove them first: $present"
    installed=yes
    (cd "$work" && apt_get install --no-install-recommends ./*.deb >"$work/install.log" 2>&1) ||
      { cat "$work/install.log" >&2; fail "apt install ./*.deb failed"; }
    root=""
    echo "ok: apt install ./*.deb into the system"
  else
    root="$work/root"
    local deb
    for deb in "$work"/*.deb; do dpkg-deb -x "$deb" "$root"; done
    export LD_LIBRARY_PATH="$root/usr/lib/$multiarch"
    export PYTHONPATH="$root/usr/lib/python3/dist-packages"
    export PKG_CONFIG_PATH="$root/usr/lib/$multiarch/pkgconfig"
    export MANPATH="$root/usr/share/man"
    echo "ok: unpacked into a scratch root (KREL_PACKAGE_INSTALL=system installs them)"
  fi
}

check_tool() {
  local version folded page
  version=$(dpkg-deb -f "$(ls "$work"/krel_*.deb)" Version)
  [[ $("$root/usr/bin/krel" --version) == *"$version"* ]] || fail "krel --version"
  folded=$(printf 'node3\nnode1\nnode2\n' | "$root/usr/bin/krel" fold)
  [[ $folded == "node[1-3]" ]] || fail "krel fold gave '$folded'"
  echo "ok: krel runs: node3 node1 node2 fold to $folded"
  page=$(man -w krel)
  [[ $page == "$root/usr/share/man/man1/krel.1.gz" ]] || fail "man -w krel gave '$page'"
  [[ $(MANWIDTH=80 man -l "$page" 2>&1 | col -b) == *"krel"*"--version"* ]] ||
    fail "man -l $page shows no usable page"
  echo "ok: man -w krel finds $page, and it renders"
}

check_completion() {
  local loaded
  if [[ -z $root ]]; then
    # As an interactive shell loads it: bash-completion's on-demand loader.
    loaded=$(bash -c 'source /usr/share/bash-completion/bash_completion &&
      __load_completion krel && complete -p krel') || fail "bash-completion loads no krel completion"
  else
    loaded=$(bash -c "source '$root/usr/share/bash-completion/completions/krel' && complete -p krel") ||
      fail "the completion defines none"
  fi
  echo "ok: the bash completion: $loaded"
}

check_clients() {
  local config
  cmake -S "$source_dir/tests/consumer" -B "$work/consumer" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_PREFIX_PATH="$root/usr" >/dev/null
  config=$(sed -n 's/^generic_lib_DIR:PATH=//p' "$work/consumer/CMakeCache.txt")
  [[ $config == "$root/usr/lib/$multiarch/cmake/generic_lib" ]] ||
    fail "the find_package client found generic_lib in '$config'"
  cmake --build "$work/consumer" >/dev/null
  [[ $("$work/consumer/consumer" 2>&1 >/dev/null) == "consumer linked" ]] ||
    fail "the find_package client does not run"
  echo "ok: a find_package client builds and runs against $config"
  # shellcheck disable=SC2046  # pkg-config's flags are words
  c++ -std=c++17 -o "$work/pc-client" "$source_dir/tests/consumer/main.cpp" \
    $(pkg-config --cflags --libs generic_lib)
  [[ $("$work/pc-client" 2>&1 >/dev/null) == "consumer linked" ]] ||
    fail "the pkg-config client does not run"
  echo "ok: a pkg-config client builds and runs ($(pkg-config --libs generic_lib))"
}

check_python() {
  local imported
  imported=$(cd / && PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 -c '
import krel
print(krel.__file__)
print(krel.HostSet("node[1-3]") - krel.HostSet("node2"))')
  [[ $imported == "$root/usr/lib/python3/dist-packages/krel/__init__.py"$'\n'"node[1,3]" ]] ||
    fail "import krel gave: $imported"
  echo "ok: /usr/bin/python3 imports krel from the package: node[1-3] - node2 = node[1,3]"
}

# After the purge no path of the packages is owned by any package unless
# another one shares it (a folder such as /usr/bin), and none is left on disk.
remove_packages() {
  local paths path left=()
  paths=$(package_paths)
  apt_get purge "${built[@]}" >"$work/purge.log" 2>&1 ||
    { cat "$work/purge.log" >&2; fail "apt purge failed"; }
  installed=no
  while read -r path; do
    if dpkg -S "$path" >/dev/null 2>&1; then
      [[ -d $path && ! -L $path ]] || left+=("$path (owned: $(dpkg -S "$path" 2>&1))")
    elif [[ -e $path || -L $path ]]; then
      left+=("$path")
    fi
  done <<<"$paths"
  [[ ${#left[@]} -eq 0 ]] || fail "left behind after apt purge: ${left[*]}"
  echo "ok: apt purge leaves none of the $(wc -l <<<"$paths") paths behind (dpkg -S finds none)"
}

copy_source
build_packages
run_lintian
install_packages
check_tool
check_completion
check_clients
check_python
[[ $mode == system ]] && remove_packages
echo "package check passed ($mode install)"

#!/usr/bin/env bash
# Builds the Debian package from a configured and built release folder, checks
# its control fields and its file list, unpacks it with `dpkg-deb -x` and
# uses it from the unpacked tree: the krel tool, a find_package client, the
# pkg-config file, the Python module, the man page and the bash completion.
# Nothing is installed on the system.
# Arguments: the release build folder, the project's source folder.
set -euo pipefail
build_dir=$(cd "$1" && pwd)
source_dir=$(cd "$2" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  echo "FAIL: $*" >&2
  exit 1
}
cache_value() { sed -n "s/^$1:[A-Z]*=//p" "$build_dir/CMakeCache.txt"; }

version=$(cache_value CMAKE_PROJECT_VERSION)
python=$(cache_value Python_EXECUTABLE)
python_dir=$(cache_value GENERIC_LIB_PYTHON_INSTALL_DIR)
arch=$(dpkg --print-architecture)
deb="$work/generic-lib_${version}_${arch}.deb"

# The package, built where it leaves nothing behind.
(cd "$build_dir" && cpack -G DEB -B "$work" >"$work/cpack.log" 2>&1) ||
  { cat "$work/cpack.log" >&2; fail "cpack -G DEB failed"; }
[[ -f $deb ]] || fail "cpack made no $(basename "$deb"): $(ls "$work")"
echo "ok: built $(basename "$deb")"

# Control fields.
field() { dpkg-deb --field "$deb" "$1"; }
[[ $(field Package) == generic-lib ]] || fail "Package is '$(field Package)'"
[[ $(field Version) == "$version" ]] || fail "Version is '$(field Version)', expected $version"
[[ $(field Architecture) == "$arch" ]] || fail "Architecture is '$(field Architecture)'"
[[ $(field Maintainer) == *@* ]] || fail "Maintainer is '$(field Maintainer)'"
[[ $(dpkg-deb --info "$deb") == *"Description: General-purpose services"* ]] ||
  fail "no description"
# dpkg-shlibdeps worked out the C and C++ runtimes the binaries link.
for dependency in libc6 libstdc++6; do
  [[ $(field Depends) == *"$dependency ("* ]] || fail "Depends lacks $dependency: '$(field Depends)'"
done
echo "ok: control fields ($(field Depends))"

# Contents: exactly what `cmake --install` installs, under /usr.
cmake --install "$build_dir" --prefix "$work/install" >/dev/null
(cd "$work/install" && find . ! -type d | sed 's|^\./|./usr/|' | sort) >"$work/installed.txt"
dpkg-deb --contents "$deb" | awk '$1 !~ /^d/ {print $6}' | sort >"$work/packaged.txt"
diff -u "$work/installed.txt" "$work/packaged.txt" >&2 ||
  fail "the package does not hold exactly what cmake --install installs"
required=(./usr/bin/krel ./usr/lib/libgeneric_lib.so.0 ./usr/lib/libzuno.so.2
          ./usr/include/krel/generic_lib.hpp ./usr/include/krel/hostset.hpp
          ./usr/include/krel/generic_lib_export.hpp
          ./usr/include/zuno/io.hpp ./usr/lib/cmake/generic_lib/generic_libConfig.cmake
          ./usr/lib/cmake/generic_lib/generic_libConfigVersion.cmake
          ./usr/lib/pkgconfig/generic_lib.pc "./usr/$python_dir/krel/__init__.py"
          "./usr/$python_dir/krel/__init__.pyi" "./usr/$python_dir/krel/py.typed")
for path in "${required[@]}"; do
  grep -qxF "$path" "$work/packaged.txt" || fail "the package lacks $path"
done
grep -q "^\./usr/$python_dir/krel/_krel\..*\.so$" "$work/packaged.txt" ||
  fail "the package lacks the compiled Python module"
echo "ok: contents ($(wc -l <"$work/packaged.txt") files)"

# Used from the unpacked tree, with no help from the environment.
root="$work/root"
dpkg-deb -x "$deb" "$root"
unset LD_LIBRARY_PATH PYTHONPATH
[[ $("$root/usr/bin/krel" --version) == *"$version"* ]] || fail "krel --version"
folded=$(printf 'node3\nnode1\nnode2\n' | "$root/usr/bin/krel" fold)
[[ $folded == "node[1-3]" ]] || fail "krel fold gave '$folded'"
echo "ok: krel from the package runs"

cmake -S "$source_dir/tests/consumer" -B "$work/consumer" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_PREFIX_PATH="$root/usr" >/dev/null
cmake --build "$work/consumer" >/dev/null
record=$("$work/consumer/consumer" 2>&1 >/dev/null)
[[ $record == "consumer linked" ]] || fail "the find_package client wrote '$record'"
grep -q "$root/usr/lib/cmake/generic_lib" "$work/consumer/CMakeCache.txt" ||
  fail "the client found another generic_lib"
echo "ok: a find_package client builds and runs against the package"

libdir=$(PKG_CONFIG_PATH="$root/usr/lib/pkgconfig" pkg-config --variable=libdir generic_lib)
[[ $(realpath "$libdir") == $(realpath "$root/usr/lib") ]] || fail "pkg-config libdir is $libdir"
echo "ok: generic_lib.pc points into the package's tree"

imported=$(PYTHONPATH="$root/usr/$python_dir" PYTHONDONTWRITEBYTECODE=1 "$python" -c '
import krel
print(krel.__file__)
print(krel.HostSet("node[1-3]") - krel.HostSet("node2"))')
[[ $imported == "$root/usr/$python_dir/krel/__init__.py"$'\n'"node[1,3]" ]] ||
  fail "the Python module from the package gave: $imported"
echo "ok: the Python module from the package imports and works"

page=$(find "$root/usr/share/man/man1" -name 'krel.1*' 2>/dev/null | head -n 1)
[[ -n $page ]] || fail "the package lacks the man page krel(1)"
zcat -f "$page" | grep -q '^\.TH' || fail "$page is no man page"
if command -v man >/dev/null; then
  rendered=$(MANWIDTH=80 man -l "$page" 2>/dev/null | col -b)
  [[ $rendered == *"krel"*"--version"* ]] || fail "man -l $page shows no usable page"
fi
echo "ok: the man page renders"
completion="$root/usr/share/bash-completion/completions/krel"
[[ -f $completion ]] || fail "the package lacks the bash completion"
bash -c "source '$completion' && complete -p krel" >/dev/null || fail "the completion defines none"
echo "ok: the bash completion defines krel's"
echo "package check passed"

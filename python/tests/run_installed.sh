#!/usr/bin/env bash
# Installs the built project into a temporary prefix and runs the Python
# tests against the module found there, with nothing but that prefix on the
# module path and no LD_LIBRARY_PATH: the module must find libgeneric_lib
# through its own RPATH.
# Arguments: the project's build folder, the Python interpreter, the package
# folder relative to the prefix, the project version.
set -euo pipefail
build_dir=$1
python=$2
package_dir=$3
export KREL_EXPECTED_VERSION=$4
tests_dir=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"

cmake --install "$build_dir" --prefix "$prefix" >/dev/null
export PYTHONPATH="$prefix/$package_dir"
export PYTHONDONTWRITEBYTECODE=1
export KREL_EXPECTED_MODULE_DIR="$prefix/$package_dir/krel"
unset LD_LIBRARY_PATH
cd "$work"
"$python" -m pytest -p no:cacheprovider -q "$tests_dir"

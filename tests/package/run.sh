#!/usr/bin/env bash
# run.sh BUILD_DIR [shared CMAKE_ARGUMENT...]: installs the library that was built there into a scratch
# prefix and lets an outside project build on it and run, by find_package and by pkg-config. With
# "shared" it first builds the shared library there.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build_dir=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/prefix

if [[ ${2:-} == shared ]]; then
  cmake -S "$here/../.." -B "$build_dir" -G Ninja -DBUILD_SHARED_LIBS=ON \
    -DZARN_BUILD_{TESTS,BENCHMARKS,COLLECTOR,EXAMPLES}=OFF "${@:3}" >/dev/null
  cmake --build "$build_dir" -- --quiet
fi
cmake --install "$build_dir" --prefix "$prefix" >/dev/null

echo "find_package"
cmake -S "$here" -B "$scratch/host" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$scratch/host" -- --quiet
for host in host host_without_exceptions; do
  mkdir "$scratch/$host.data"
  "$scratch/host/$host" "$scratch/$host.data"
done

echo "pkg-config"
pc=$(find "$prefix" -name zarn.pc)
libdir=$(dirname "$(dirname "$pc")")
read -ra flags < <(PKG_CONFIG_PATH=${pc%/*} pkg-config --cflags --libs zarn)
c++ -std=c++20 "$here/host.cc" "${flags[@]}" -Wl,-rpath,"$libdir" -o "$scratch/by_pkg_config"
mkdir "$scratch/by_pkg_config.data"
"$scratch/by_pkg_config" "$scratch/by_pkg_config.data"

[[ -f $libdir/pkgconfig/zarn-qt.pc ]] || exit 0 # built without Qt
echo "find_package, with the component Qt"
cmake -S "$here/qt" -B "$scratch/qt_host" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$scratch/qt_host" -- --quiet
mkdir "$scratch/qt_host.data"
"$scratch/qt_host/qt_host" "$scratch/qt_host.data"

echo "pkg-config, with Qt"
read -ra flags < <(PKG_CONFIG_PATH=$libdir/pkgconfig pkg-config --cflags --libs zarn-qt Qt6Gui)
c++ -std=c++20 -fPIC "$here/qt/qt_host.cc" "${flags[@]}" -Wl,-rpath,"$libdir" -o "$scratch/qt_by_pkg_config"
mkdir "$scratch/qt_by_pkg_config.data"
"$scratch/qt_by_pkg_config" "$scratch/qt_by_pkg_config.data"

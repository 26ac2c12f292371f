#!/usr/bin/env bash
# Installs the build tree into a temporary prefix, builds the sample component against the
# installed platform with the CMake package and with pkg-config, and checks what came out.
# Usage: check_install.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build_dir=$1
source_dir=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build_dir" --prefix "$prefix" >/dev/null
for file in bin/tarn-cec-sim lib/libtarn_av_plugin.so lib/libtarn_base.so lib/libtarn_runtime.so \
            include/tarn/base/values.h include/tarn/runtime/component.h \
            lib/cmake/TarnPlatform/TarnPlatformConfig.cmake; do
  [ -e "$prefix/$file" ] || { echo "missing after install: $file"; exit 1; }
done

cmake -S "$source_dir/examples/sample_component" -B "$work/sample" -G Ninja \
  -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/sample" >/dev/null

# The same component built with pkg-config alone, every symbol resolved at link time.
pc() {
  PKG_CONFIG_PATH="$prefix/lib/pkgconfig" pkg-config "$@" tarn-platform
}
componentdir=$(pc --variable=componentdir)
# shellcheck disable=SC2046  # pkg-config's flags are words
c++ -std=c++17 -shared -fPIC -fvisibility=hidden -o "$work/libsample_pc.so" \
  "$source_dir/examples/sample_component/sample_component.cc" "$componentdir"/*.cc \
  $(pc --cflags --libs) -Wl,--no-undefined -Wl,--version-script="$componentdir/component.map"

for library in "$work/sample/libsample_component.so" "$work/libsample_pc.so"; do
  exports=$(readelf --dyn-syms --wide "$library" |
    awk '$7 != "UND" && ($5 == "GLOBAL" || $5 == "WEAK") { print $8 }')
  [ "$exports" = "GetComponent" ] || { echo "$library exports: $exports"; exit 1; }
  # Components record the platform libraries' SONAMEs, which carry the major version.
  readelf -d "$library" | grep -q 'NEEDED.*\[libtarn_base\.so\.0\]' ||
    { echo "$library does not need libtarn_base.so.0"; readelf -d "$library"; exit 1; }
done

# The installed programs find their libraries beside them.
"$prefix/bin/tarn-cec-sim" --help >/dev/null
echo "install tree and sample component OK"

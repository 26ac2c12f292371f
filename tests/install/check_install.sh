#!/usr/bin/env bash
# Installs the build tree into a temporary prefix, builds the sample component against the
# installed platform package, and checks what came out.
# Usage: check_install.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build_dir=$1
source_dir=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build_dir" --prefix "$work/prefix" >/dev/null
for file in bin/tarn-cec-sim lib/libtarn_av_plugin.so lib/libtarn_base.so lib/libtarn_runtime.so \
            include/tarn/base/values.h include/tarn/runtime/component.h \
            lib/cmake/TarnPlatform/TarnPlatformConfig.cmake; do
  [ -e "$work/prefix/$file" ] || { echo "missing after install: $file"; exit 1; }
done

cmake -S "$source_dir/examples/sample_component" -B "$work/sample" -G Ninja \
  -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/sample" >/dev/null
exports=$(readelf --dyn-syms --wide "$work/sample/libsample_component.so" |
  awk '$7 != "UND" && ($5 == "GLOBAL" || $5 == "WEAK") { print $8 }')
[ "$exports" = "GetComponent" ] || { echo "sample component exports: $exports"; exit 1; }

# The installed programs find their libraries beside them.
"$work/prefix/bin/tarn-cec-sim" --help >/dev/null
echo "install tree and sample component OK"

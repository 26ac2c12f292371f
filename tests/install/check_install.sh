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
            include/tarn/plugin/device/device_plugin_manager_interface.h \
            lib/cmake/TarnPlatform/TarnPlatformConfig.cmake; do
  [ -e "$prefix/$file" ] || { echo "missing after install: $file"; exit 1; }
done

cmake -S "$source_dir/examples/sample_component" -B "$work/sample" -G Ninja \
  -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/sample" >/dev/null
# The same source as a device plugin, the manager interface compiled in.
mkdir "$work/device"
cat >"$work/device/CMakeLists.txt" <<EOF
cmake_minimum_required(VERSION 3.25)
project(device_sample LANGUAGES CXX)
find_package(TarnPlatform REQUIRED)
tarn_add_component(device_sample SOURCES $source_dir/examples/sample_component/sample_component.cc
                   LIBS Tarn::tarn_device_plugin)
EOF
cmake -S "$work/device" -B "$work/device/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/device/build" >/dev/null
nm -C "$work/device/build/libdevice_sample.so" >"$work/device/symbols"
grep -q 'DevicePluginManagerItf::ManualRescanDevices' "$work/device/symbols" ||
  { echo "the device plugin lacks the manager interface's source"; exit 1; }

# The same component built with pkg-config alone, every symbol resolved at link time.
pc() {
  PKG_CONFIG_PATH="$prefix/lib/pkgconfig" pkg-config "$@" tarn-platform
}
componentdir=$(pc --variable=componentdir)
# shellcheck disable=SC2046  # pkg-config's flags are words
c++ -std=c++17 -shared -fPIC -fvisibility=hidden -o "$work/libsample_pc.so" \
  "$source_dir/examples/sample_component/sample_component.cc" "$componentdir"/*.cc \
  $(pc --cflags --libs) -Wl,--no-undefined -Wl,--version-script="$componentdir/component.map"

for library in "$work/sample/libsample_component.so" "$work/libsample_pc.so" \
               "$work/device/build/libdevice_sample.so"; do
  exports=$(readelf --dyn-syms --wide "$library" |
    awk '$7 != "UND" && ($5 == "GLOBAL" || $5 == "WEAK") { print $8 }')
  [ "$exports" = "GetComponent" ] || { echo "$library exports: $exports"; exit 1; }
  # Components record the platform libraries' SONAMEs, which carry the major version.
  readelf -d "$library" | grep -q 'NEEDED.*\[libtarn_base\.so\.0\]' ||
    { echo "$library does not need libtarn_base.so.0"; readelf -d "$library"; exit 1; }
done

# The example configuration is the default one, the plugin named for the dynamic loader.
host=$prefix/bin/tarn-host
diff <("$host" --config "$prefix/share/tarn/examples/config.xml" --print-config) \
     <(XDG_RUNTIME_DIR=/run/user/1000 "$host" --print-config |
       sed "s|library=\"$prefix/lib/|library=\"|") ||
  { echo "share/tarn/examples/config.xml differs from tarn-host's default configuration"; exit 1; }
# The systemd unit runs the program of this prefix.
grep -qx "ExecStart=$host" "$prefix/lib/systemd/user/tarn-host.service" ||
  { echo "the unit does not run $host"; exit 1; }

# The installed programs find their libraries beside them.
"$prefix/bin/tarn-cec-sim" --help >/dev/null
echo "install tree and sample component OK"

#!/usr/bin/env bash
# Makes the Debian package of the build tree with cpack, unpacks it into a scratch root with
# dpkg -x, and runs the unpacked programs with no help from the environment: tarn-host with
# its default configuration serves the plugin installed beside it, avctl invokes a method
# through it, and SIGTERM stops it cleanly.
# Usage: check_deb.sh BUILD_DIR VERSION MAN_PAGES(ON|OFF)
set -euo pipefail
build_dir=$1
version=$2
man_pages=$3
work=$(mktemp -d)
host_pid=
cleanup() {
  [ -n "$host_pid" ] && kill -KILL "$host_pid" 2>/dev/null
  rm -rf "$work"
}
trap cleanup EXIT
fail() {
  echo "$*"
  [ -f "$work/host.log" ] && sed 's/^/  tarn-host: /' "$work/host.log"
  exit 1
}

cpack -G DEB --config "$build_dir/CPackConfig.cmake" -B "$work/out" >"$work/cpack.log" 2>&1 ||
  { cat "$work/cpack.log"; exit 1; }
deb=$(echo "$work"/out/tarn-av_"$version"_*.deb)
[ -f "$deb" ] || fail "no package tarn-av_${version}_ARCH.deb: $(ls "$work/out")"

# The dependencies come from dpkg-shlibdeps: the libraries the programs need, none of the
# package's own.
depends=$(dpkg-deb --field "$deb" Depends)
for library in libc6 libstdc++6 libtinyxml2; do
  grep -q "$library" <<<"$depends" || fail "Depends lacks $library: $depends"
done
grep -q tarn <<<"$depends" && fail "Depends names the package's own libraries: $depends"

root=$work/root
dpkg -x "$deb" "$root"
usr=$root/usr
expected=(bin/tarn-host bin/avctl bin/tarn-cec-sim lib/libtarn_av_plugin.so
          "lib/libtarn_base.so.$version" lib/pkgconfig/tarn-platform.pc
          share/bash-completion/completions/avctl share/tarn/examples/config.xml
          lib/systemd/user/tarn-host.service)
[ "$man_pages" = ON ] && expected+=(share/man/man1/tarn-host.1 share/man/man1/avctl.1
                                   share/man/man1/tarn-cec-sim.1)
for file in "${expected[@]}"; do
  [ -e "$usr/$file" ] || fail "missing from the package: /usr/$file"
done
# The unit starts the packaged program.
exec_start=$(sed -n 's/^ExecStart=//p' "$usr/lib/systemd/user/tarn-host.service")
[ "$exec_start" = /usr/bin/tarn-host ] || fail "the unit runs $exec_start"

# The unpacked tree runs as it is: no LD_LIBRARY_PATH, the libraries found through the
# programs' RUNPATH, the plugin through tarn-host's default lookup (bin/../lib).
runtime_dir=$work/run
mkdir -m 0700 "$runtime_dir"
run() {
  env -u LD_LIBRARY_PATH XDG_RUNTIME_DIR="$runtime_dir" "$@"
}
for tool in tarn-host avctl tarn-cec-sim; do
  [ "$(run "$usr/bin/$tool" --version)" = "$tool $version" ] || fail "$tool --version"
done

mkfifo "$work/ready"
# env replaces itself with tarn-host: $! is the host's own process.
env -u LD_LIBRARY_PATH XDG_RUNTIME_DIR="$runtime_dir" "$usr/bin/tarn-host" \
  >"$work/ready" 2>"$work/host.log" &
host_pid=$!
exec 3<"$work/ready"
IFS= read -r -t 30 ready <&3 || fail "tarn-host printed no ready line"
[[ $ready == "tarn-host: serving (link $runtime_dir/tarn/av_plugin.sock,"* ]] ||
  fail "unexpected ready line: $ready"
grep -q "$usr/lib/libtarn_base.so.$version" "/proc/$host_pid/maps" ||
  fail "tarn-host did not map the packaged libtarn_base.so.$version"
grep -q "from $usr/lib/libtarn_av_plugin.so" "$work/host.log" ||
  fail "tarn-host did not load the packaged plugin"

reply=$(run "$usr/bin/avctl" invoke GetSpeakerVolume device_id=x)
[ "$reply" = '{"code":0,"result":{"speaker_volume":0}}' ] || fail "avctl replied: $reply"

kill -TERM "$host_pid"
status=0
wait "$host_pid" || status=$?
host_pid=
[ "$status" -eq 0 ] || fail "tarn-host exited with $status on SIGTERM"
echo "package $(basename "$deb"): unpacked, tarn-host served avctl and stopped cleanly"

# Shared by the project's scripts: package installation and the build.
# Source it; it does nothing by itself.

TARN_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)

# The Debian packages every build needs. help2man makes the manual pages; dpkg-dev gives
# dpkg-shlibdeps, which computes the Debian package's dependencies (cpack -G DEB).
TARN_BUILD_PACKAGES=(cmake ninja-build g++ pkg-config googletest libbenchmark-dev
                     libtinyxml2-dev nlohmann-json3-dev libcli11-dev help2man dpkg-dev)

tarn_log() {
  printf '==> %s\n' "$*" >&2
}

# Installs whichever of the named Debian packages are missing (name or name:arch).
tarn_ensure_packages() {
  local missing=()
  local package
  for package in "$@"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
      missing+=("$package")
    fi
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  tarn_log "installing ${missing[*]}"
  local sudo=()
  [ "$(id -u)" -ne 0 ] && sudo=(sudo)
  # A mirror in the middle of a sync fails one index or another; the install below still
  # succeeds when the lists it needs are there, and says so clearly when they are not.
  "${sudo[@]}" apt-get update -qq || tarn_log "apt-get update reported errors; installing anyway"
  DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -qq --no-install-recommends \
    "${missing[@]}" >/dev/null
}

# Configures (once) and builds a preset: tarn_build PRESET [ninja targets...]
tarn_build() {
  local preset=$1
  shift
  if [ ! -f "$TARN_ROOT/build/$preset/build.ninja" ]; then
    cmake --preset "$preset" -S "$TARN_ROOT" >/dev/null
  fi
  cmake --build --preset "$preset" ${1:+--target "$@"}
}

# shellcheck shell=bash disable=SC2034
# Shared by the scripts that build for the device (ARMv7 hard-float, preset armv7).
# Source it after common.sh; it does nothing by itself.

TARN_ARMV7_PRESET=armv7
TARN_ARMV7_DEB_ARCH=armhf
TARN_ARMV7_TRIPLE=arm-linux-gnueabihf

# The host side of the cross build: compiler and binutils, the emulator, and the sources and
# headers that are the same for every architecture.
TARN_ARMV7_HOST_PACKAGES=(cmake ninja-build googletest g++-arm-linux-gnueabihf
                          binutils-arm-linux-gnueabihf qemu-user)

# Every compiled library the build links (a lib*-dev of TARN_BUILD_PACKAGES that is installed
# per architecture, "Multi-Arch: same") is needed again for the target, from Debian's armhf
# packages. Header-only libraries (Architecture: all) serve both as they are. Benchmarks are
# not built for the target.
tarn_armv7_target_packages() {
  local package
  for package in "${TARN_BUILD_PACKAGES[@]}"; do
    case $package in
      libbenchmark-dev) continue ;;
      lib*-dev) ;;
      *) continue ;;
    esac
    if [ "$(dpkg-query -W -f='${Multi-Arch}' "$package" 2>/dev/null)" = same ]; then
      printf '%s:%s\n' "$package" "$TARN_ARMV7_DEB_ARCH"
    fi
  done
}

# Installs whatever the native and the cross build need, adding armhf to dpkg's
# architectures first (multiarch).
tarn_armv7_ensure_packages() {
  tarn_ensure_packages "${TARN_BUILD_PACKAGES[@]}" "${TARN_ARMV7_HOST_PACKAGES[@]}"
  if ! dpkg --print-foreign-architectures | grep -qx "$TARN_ARMV7_DEB_ARCH"; then
    tarn_log "adding the $TARN_ARMV7_DEB_ARCH architecture to dpkg"
    local sudo=()
    [ "$(id -u)" -ne 0 ] && sudo=(sudo)
    "${sudo[@]}" dpkg --add-architecture "$TARN_ARMV7_DEB_ARCH"
  fi
  local packages
  mapfile -t packages < <(tarn_armv7_target_packages)
  # Installing a missing package updates the package lists, which now include armhf.
  tarn_ensure_packages "${packages[@]}"
}

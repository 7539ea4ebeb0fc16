# What Velto is built from on Debian, and how it is installed. Sourced by prepare.sh.
# shellcheck shell=bash disable=SC2015,SC2034

build_packages="clang-19 libclang-rt-19-dev lld-19 cmake ninja-build pkg-config nlohmann-json3-dev libfmt-dev uuid-dev
    libicu-dev libsystemd-dev libpipewire-0.3-dev libsndfile1-dev libfftw3-dev libeigen3-dev libcli11-dev
    pipewire pipewire-bin wireplumber alsa-utils dbus-daemon
    qt6-base-dev qt6-svg-dev qt6-declarative-dev libxcb1-dev qml6-module-qtqml qml6-module-qtqml-models
    qml6-module-qtqml-workerscript qml6-module-qtquick qml6-module-qtquick-templates qml6-module-qtquick-window
    fonts-inter qt6-wayland"
test_packages="libgtest-dev libgmock-dev libblocksruntime-dev shellcheck xvfb"
benchmark_packages="libbenchmark-dev libxcb-xtest0-dev xvfb pasystray pavucontrol pulseaudio-utils
    libltdl7 liborc-0.4-0 libsoxr0 libspeexdsp1 libtdb1 libwrap0"
package_packages="dpkg-dev file desktop-file-utils appstream"
macos_check_packages="python3 llvm-19 libc++-19-dev"

processor_count() { nproc; }

# install_packages NAME…: the missing ones of them, through apt.
install_packages() {
    command -v dpkg-query >/dev/null && command -v apt-get >/dev/null ||
        fail "this Linux has no apt; use Debian 12, or install the packages named in Tools/prepare-debian.sh by hand."
    local name missing=()
    for name in "$@"; do
        [ "$(dpkg-query -W -f '${db:Status-Status}' "$name" 2>/dev/null)" = installed ] || missing+=("$name")
    done
    [ ${#missing[@]} -gt 0 ] || return 0

    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null ||
            fail "packages are missing and there is no sudo; as root, run: apt-get install ${missing[*]}"
        as_root=(sudo)
    fi
    printf 'Installing: %s\n' "${missing[*]}"
    local log
    log=$(mktemp)
    if ! { "${as_root[@]}" apt-get update -q &&
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends \
            "${missing[@]}"; } >"$log" 2>&1; then
        local reason
        reason=$(grep -E '^(E|W|Err):?' "$log" | tail -n 1)
        rm -f "$log"
        fail "packages could not be installed (${reason:-apt-get failed}); check the network and the package sources, then try again."
    fi
    rm -f "$log"
}

# unpack_pulseaudio: into build/peers, to be measured beside. It is never installed: an installed one would take the
# desktop's sound at the next login. Without it the benchmarks say so.
unpack_pulseaudio() {
    [ ! -d build/peers/pulseaudio ] || return 0
    mkdir -p build/peers
    (cd build/peers && rm -rf fresh && apt-get download -q pulseaudio && dpkg -x pulseaudio_*.deb fresh &&
        mv fresh pulseaudio) >build/peers/log 2>&1 || echo "PulseAudio could not be fetched, and is not measured."
}

# What Velto is built from on macOS, and how it is installed. Sourced by prepare.sh.
# shellcheck shell=bash disable=SC2015,SC2034

build_packages="cmake ninja fmt nlohmann-json eigen cli11 qtbase qtdeclarative qtsvg"
test_packages="googletest"
benchmark_packages="google-benchmark"
package_packages=""

processor_count() { sysctl -n hw.ncpu; }

require_system() {
    local version major minor
    version=$(sw_vers -productVersion)
    IFS=. read -r major minor _ <<<"$version."
    [ "$major" -gt 13 ] || { [ "$major" -eq 13 ] && [ "${minor:-0}" -ge 3 ]; } ||
        fail "Velto needs macOS 13.3 or later, and this is macOS $version."
    [ "$(sysctl -n sysctl.proc_translated 2>/dev/null)" != 1 ] ||
        fail "this terminal runs under Rosetta, and nothing in Velto needs it; use one that doesn't."
    # Before the licence of a full Xcode is accepted, its compiler does nothing but say so.
    xcode-select -p >/dev/null 2>&1 ||
        fail "the Xcode command line tools are missing; run xcode-select --install, then try again."
    clang --version >/dev/null 2>&1 || fail "the compiler doesn't run; accept Xcode's licence with: sudo xcodebuild -license"
}

# Homebrew's own folder differs by processor; one of the other kind has libraries that don't fit.
use_homebrew() {
    local prefix=/usr/local
    [ "$(sysctl -n hw.optional.arm64 2>/dev/null)" != 1 ] || prefix=/opt/homebrew
    [ ! -x "$prefix/bin/brew" ] || PATH=$prefix/bin:$PATH
    command -v brew >/dev/null || fail "Homebrew is missing; install it from https://brew.sh, then try again."
    if [ "$prefix" = /opt/homebrew ] && [ "$(brew --prefix)" = /usr/local ]; then
        fail "this Homebrew is the one for Intel Macs; install the one for Apple silicon from https://brew.sh (nothing in Velto needs Rosetta)."
    fi
}

# install_packages NAME…: the missing ones of them, through Homebrew.
install_packages() {
    require_system
    use_homebrew
    local name installed missing=()
    installed=" $(brew list --formula -1 | tr '\n' ' ')"
    for name in "$@"; do
        case "$installed" in *" $name "*) continue ;; esac
        # The formula of all Qt has been one of everything before it was one of its parts.
        case "$name:$installed" in qt*:*" qt "*) continue ;; esac
        missing+=("$name")
    done
    [ ${#missing[@]} -gt 0 ] || return 0

    printf 'Installing: %s\n' "${missing[*]}"
    mkdir -p build
    brew install --quiet "${missing[@]}" >build/packages.log 2>&1 ||
        fail "packages could not be installed; all that Homebrew said is in build/packages.log."
}

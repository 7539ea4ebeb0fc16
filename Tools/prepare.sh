# Shared by ./run and ./test: installs what is missing and builds. Sourced, not run. Also runs in the bash 3.2 of macOS.
# shellcheck shell=bash

fail() {
    printf 'velto: %s\n' "$1" >&2
    exit 1
}

# Each of these says what packages there are, and has install_packages and processor_count.
system=$(uname -s)
case "$system" in
    Linux) . Tools/prepare-debian.sh ;;
    Darwin) . Tools/prepare-macos.sh ;;
    *) fail "this system is neither Debian nor macOS; use a machine with Debian 12, or a Mac with macOS 13.3 or later." ;;
esac

# build_preset PRESET [CMAKE-OPTION…] [-- TARGET…]: configures and builds those targets, or all; quiet unless it fails.
build_preset() {
    local preset=$1 log options=()
    shift
    while [ $# -gt 0 ] && [ "$1" != -- ]; do
        options+=("$1")
        shift
    done
    mkdir -p build
    log=build/$preset.log
    printf 'Building (%s) …\n' "$preset"
    # "-- NAME…" is what is left of the arguments. An empty list of options is no list to bash 3.2.
    if ! { cmake --preset "$preset" ${options[@]+"${options[@]}"} &&
        cmake --build "build/$preset" ${1:+--target "${@:2}"}; } >"$log" 2>&1; then
        grep -E 'error|Error|FAILED' "$log" | head -n 20 >&2
        fail "the build failed; all it said is in $log."
    fi
}

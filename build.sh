#!/usr/bin/env bash
# The newcomer's entry point. Installs what the build needs (Debian 12 packages), then:
#   ./build.sh run    builds and runs the example host
#   ./build.sh test   builds every preset (native debug and release, Win32 under Wine,
#                     AddressSanitizer + UndefinedBehaviorSanitizer, ThreadSanitizer) and runs
#                     every test in each, then runs each libFuzzer target for FUZZ_SECONDS (20)
set -euo pipefail
cd "$(dirname "$0")"

NATIVE_PACKAGES=(cmake ninja-build g++ pkg-config libboost-dev googletest libbenchmark-dev libssl-dev
    openssl)
CROSS_PACKAGES=(g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 mingw-w64-tools wine wine64)
CHECK_PACKAGES=(clang-format doxygen)
# The NTP client's tests query a chronyd of their own on loopback; the example's job report is
# checked in headless Chromium.
TEST_PACKAGES=(chrony chromium)
# libFuzzer comes with clang's runtime libraries, which clang only recommends.
FUZZ_PACKAGES=(clang libclang-rt-14-dev)
FUZZ_SECONDS=${FUZZ_SECONDS:-20}
JOBS=${JOBS:-$(nproc)}

install_packages() {
    local missing=()
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" ||
            missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "Installing: ${missing[*]}"
    local sudo=()
    [ "$(id -u)" -eq 0 ] || sudo=(sudo)
    "${sudo[@]}" apt-get update -qq
    DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get install -y -qq --no-install-recommends \
        "${missing[@]}" >/dev/null
}

build_preset() {
    cmake --preset "$1" >/dev/null
    cmake --build --preset "$1" -j "$JOBS"
}

test_preset() {
    local preset=$1 runner=()
    # ThreadSanitizer needs a fixed address layout on kernels with wide mmap randomisation.
    if [ "$preset" = tsan ] && setarch "$(uname -m)" -R true 2>/dev/null; then
        runner=(setarch "$(uname -m)" -R)
    fi
    echo "=== $preset: build"
    build_preset "$preset"
    echo "=== $preset: test"
    "${runner[@]}" ctest --preset "$preset" -j "$JOBS"
    if [ "$preset" = debug ]; then
        echo "=== debug: API reference"
        cmake --build --preset debug --target docs
    fi
}

fuzz_preset() {
    echo "=== fuzz: build"
    build_preset fuzz
    # fuzz/corpus/<Name> only seeds a run: what libFuzzer finds goes to the build tree.
    local dir=build/fuzz target name dict
    for target in "$dir"/bin/*Fuzz; do
        name=$(basename "$target" Fuzz)
        echo "=== fuzz: ${name}Fuzz for ${FUZZ_SECONDS}s"
        rm -rf "$dir/corpus/$name" && mkdir -p "$dir/corpus/$name"
        dict=()
        [ -f "fuzz/$name.dict" ] && dict=(-dict="fuzz/$name.dict")
        if ! "$target" -max_total_time="$FUZZ_SECONDS" "${dict[@]}" -artifact_prefix="$dir/$name-" \
            "$dir/corpus/$name" "fuzz/corpus/$name" >"$dir/$name.log" 2>&1; then
            tail -n 40 "$dir/$name.log"
            return 1
        fi
        tail -n 1 "$dir/$name.log"
    done
}

check_format() {
    echo "=== clang-format"
    git ls-files -- '*.h' '*.cpp' | xargs clang-format --dry-run --Werror
}

case "${1:-}" in
run)
    shift
    install_packages "${NATIVE_PACKAGES[@]}"
    build_preset debug
    ./build/debug/bin/quillon-host "$@"
    ;;
test)
    install_packages "${NATIVE_PACKAGES[@]}" "${CROSS_PACKAGES[@]}" "${CHECK_PACKAGES[@]}" \
        "${TEST_PACKAGES[@]}" "${FUZZ_PACKAGES[@]}"
    check_format
    for preset in ${PRESETS:-debug mingw asan tsan release fuzz}; do
        if [ "$preset" = fuzz ]; then
            fuzz_preset
        else
            test_preset "$preset"
        fi
    done
    echo "=== all presets passed"
    ;;
*)
    echo "usage: $0 run | test" >&2
    exit 2
    ;;
esac

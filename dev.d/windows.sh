# shellcheck shell=bash
# ./dev windows: builds everything for x86-64 Windows and runs the tests under Wine, without a display. The
# component then stands on the platform's XML engine, not on ours.

windows_packages=(g++-mingw-w64-x86-64-posix wine wine64 googletest cmake ninja-build pkg-config gettext libcli11-dev
    docbook5-xml)
windows_runner=cmake/windows/run.sh

# A prefix is made once; one that was begun and not finished is none.
prepare_wine() {
    [[ ! -f build-windows/wine/ready ]] || return 0
    say "preparing Wine"
    rm -rf build-windows/wine
    KEL_WINE_SECONDS=300 "$windows_runner" wineboot --init >build-windows/wineboot.log 2>&1 || {
        tail -n 20 build-windows/wineboot.log >&2
        die "Wine could not be started"
    }
    "$windows_runner" --stop  # which writes the registry
    touch build-windows/wine/ready
}

verb_windows() {
    need "${windows_packages[@]}"
    configure windows -DKEL_BUILD_TESTS=ON -DKEL_WERROR="$(warnings_in_ci)"
    build windows
    trap '"$windows_runner" --stop' EXIT  # nothing of it outlives us
    prepare_wine
    say "testing under Wine"
    # One after the other: they share one Wine.
    ctest --preset windows --no-tests=error
    say "tests that were skipped, and why: docs/porting.md"
}

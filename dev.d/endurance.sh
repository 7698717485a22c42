# shellcheck shell=bash
# ./dev sweep, coldstart and soak: what grows beyond proportion, what goes wrong on first use, what piles up.

endurance_packages=("${build_packages[@]}" libgtest-dev libgmock-dev docbook5-xml)

build_endurance() {  # build_endurance TARGET
    need "${endurance_packages[@]}"
    configure release -DKEL_BUILD_TESTS=ON -DKEL_WERROR="$(warnings_in_ci)"
    build release "$1"
}

verb_sweep() {
    local mode=()
    while [[ ${1:-} == --* ]]; do
        mode+=("$1")
        shift
    done
    build_endurance sweep
    say "measuring every operation at two lengths"
    build/tests/sweep/sweep "${mode[@]}" docs/behaviour.md "$@"
}

verb_coldstart() {
    build_endurance coldstart
    say "starting processes"
    build/tests/endurance/coldstart "$@"
}

verb_soak() {
    build_endurance soak
    say "working on four threads"
    build/tests/endurance/soak "$@"
}

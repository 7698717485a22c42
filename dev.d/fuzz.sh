# shellcheck shell=bash
# ./dev fuzz: feeds each fuzz target for a while, from the seeds in the tree. What it finds stays in build-checked/.

fuzz_packages=("${checked_packages[@]}")
fuzz_targets=(datamodelread datamodelwrite reader load transform validate)
fuzz_input_limit=4000  # bytes

verb_fuzz() {
    local seconds=${1:-60} target seeds
    [[ $seconds =~ ^[1-9][0-9]*$ ]] || die "fuzz takes a number of seconds, not '$seconds'"
    need "${fuzz_packages[@]}"
    build_checked "${fuzz_targets[@]/%/_fuzz}"
    for target in "${fuzz_targets[@]}"; do
        say "fuzzing $target for $seconds seconds"
        mkdir -p "build-checked/found/$target"
        seeds=$target
        [[ $target != load ]] || seeds=reader
        # New inputs go to the first folder; the seeds of the tree are read only.
        build-checked/fuzz/"${target}_fuzz" -max_total_time="$seconds" -max_len="$fuzz_input_limit" \
            -rss_limit_mb=6000 -timeout=120 -dict="fuzz/$seeds.dict" \
            -artifact_prefix="build-checked/found/$target-" -verbosity=0 -print_final_stats=1 \
            "build-checked/found/$target" "fuzz/$seeds"
    done
}

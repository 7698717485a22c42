# shellcheck shell=bash
# ./dev bench: the peers and the real documents are packages that only this verb installs.

bench_packages=("${build_packages[@]}" libpugixml-dev libexpat1-dev libxerces-c-dev
    docbook5-xml libvulkan-dev khronos-api libgirepository1.0-dev libxml2-utils xsltproc xmlstarlet)

verb_bench() {
    need "${bench_packages[@]}"
    configure bench
    build bench bench
    mkdir -p build
    say "measuring (--list shows the rows)"
    build-bench/bench/bench --data build-bench/data --json build/bench.json "$@"
}

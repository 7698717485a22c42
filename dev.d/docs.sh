# ./dev docs: the guide with the API reference beside it, in build/docs/html. Sourced by dev.
# shellcheck shell=bash

docs_packages=(doxygen graphviz mkdocs mkdocs-material python3)

# Doxygen ends with a failure if anything public is undocumented.
make_api() {
    rm -rf build/docs/api
    KEL_VERSION=$(project_version) doxygen docs/reference/Doxyfile 2>build/docs/complaints.txt || {
        # It reports an instance of a template, and then the same line again.
        sed "s|^$PWD/||" build/docs/complaints.txt | sort -u >&2
        die "the documentation is incomplete"
    }
}

# The guide links into the reference by Doxygen's list of names; all links are checked on the finished site.
make_docs() {
    need "${docs_packages[@]}"
    mkdir -p build/docs
    make_api
    PYTHONDONTWRITEBYTECODE=1 mkdocs build --strict --config-file docs/site/mkdocs.yml \
        2>build/docs/complaints.txt || {
        grep -av 'INFO  ' build/docs/complaints.txt >&2
        die "the guide could not be made"
    }
    mv build/docs/api build/docs/html/api
    python3 docs/site/links.py build/docs/html || die "the guide has broken links"
}

verb_docs() {
    say "guide and API reference"
    make_docs
    echo "$PWD/build/docs/html/index.html"
}

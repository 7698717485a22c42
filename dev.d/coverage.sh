# shellcheck shell=bash
# ./dev coverage: which lines no test executes, by folder; every line in build-coverage/report/index.html.

coverage_packages=("${test_packages[@]}" gcovr)

verb_coverage() {
    need "${coverage_packages[@]}"
    configure coverage -DKEL_BUILD_TESTS=ON
    build coverage
    find build-coverage -name '*.gcda' -delete
    say "testing"
    # A test that fails is reported and does not prevent the report. Left out is what measures costs, counts failing
    # requests or builds other projects: it takes longer than all others together and executes no further line. Of the
    # rest, processes that end by a signal or _exit count nothing: see docs/testing.md.
    ctest --preset coverage --parallel "$(cores)" --no-tests=error \
        --exclude-regex '^(coldstart|faults|outside_consumer|subproject|sweep)$' || say "not every test passed"
    say "counting"
    mkdir -p build-coverage/report
    gcovr --root . --object-directory build-coverage --exclude-throw-branches --gcov-ignore-parse-errors \
        --exclude-directories '.*/CMakeFiles/[0-9].*' \
        --filter '(engine|framework|host|msxml_parser|src|tools)/' --exclude '.*/_deps/' \
        --csv build-coverage/report/files.csv --html-details build-coverage/report/index.html build-coverage
    awk -F, 'NR > 1 {
            folder = $1
            sub("/[^/]*$", "", folder)
            lines[folder] += $2
            covered[folder] += $3
            lines["all"] += $2
            covered["all"] += $3
        }
        END {
            for (folder in lines)
                printf "%6.1f %%  %6d of %6d lines  %s\n",
                       100 * covered[folder] / lines[folder], covered[folder], lines[folder], folder
        }' build-coverage/report/files.csv | sort -n
    say "every line: build-coverage/report/index.html"
}

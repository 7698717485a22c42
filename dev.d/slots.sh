#!/usr/bin/env bash
# The positions of virtual operations under the C++ ABI of the Windows compilers, read from clang's own layout.
# The standard library is this system's: the target decides on layouts, not on headers.
# shellcheck disable=SC2154  # set by dev

lint_slots() {
    say "slots under the Windows ABI"
    local table=tests/object/slotstable.h dump includes
    dump=$(mktemp)
    mapfile -t includes < <(clang++ -std=c++20 -E -v -x c++ /dev/null 2>&1 >/dev/null |
        sed -n '/#include <...> search starts here/,/End of search list/s/^ \(.*\)/-isystem\n\1/p')
    clang++ -target x86_64-pc-windows-msvc -fno-ms-compatibility -fno-ms-extensions -nostdinc -D_GNU_SOURCE -w \
        -std=c++20 "${includes[@]}" -I. -Isrc -Imsxml_parser/platform/posix \
        -Xclang -fdump-vtable-layouts -S -emit-llvm -o /dev/null tests/object/slots_layout.cpp >"$dump"
    # Of each interface clang lists its own operations: "VFTable indices for 'X'", then "  3 | void X::name(...)".
    awk '
        FNR == NR {
            if (match($0, /KEL_SLOT\([A-Za-z_:]+, [A-Za-z0-9]+, [0-9]+\)/)) {
                split(substr($0, RSTART + 9, RLENGTH - 10), row, /, /)
                expected[row[1] "::" row[2]] = row[3]
                ++count
            }
            next
        }
        /^VFTable indices for/ { split($0, part, "\x27"); interface = part[2]; next }
        /^VFTable for/ { interface = "" }
        interface != "" && match($0, /[A-Za-z0-9_~]+\(/) {
            found[interface "::" substr($0, RSTART, RLENGTH - 1)] = $1
        }
        END {
            for (operation in expected) {
                if (!(operation in found)) { print operation " is not in the layout"; wrong = 1 }
                else if (found[operation] != expected[operation]) {
                    print operation " is at " found[operation] ", not at " expected[operation]; wrong = 1
                }
            }
            if (count < 100) { print "only " count " positions were found in the table"; wrong = 1 }
            exit wrong
        }' "$table" "$dump" || die "slots: see above"
    rm -f "$dump"
}

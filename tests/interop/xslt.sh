#!/usr/bin/env bash
# Transforms through the engine and through xsltproc and lists where the results differ.
#
# usage: xslt.sh ENGINE_TOOL (FOLDER | PAIRS)...
#   FOLDER  every NAME.xsl with a NAME.xml beside it
#   PAIRS   a file with a style sheet and a document on each line, separated by a space
#
# The engine's results are UTF-16 by declaration, so declarations, the META of html and the encodings
# themselves are made alike first. Both rejecting counts as alike; what the engine rejects because it opens no
# door (a DOCTYPE, files of document(), extensions other than node-set and object-type) is counted apart.
# Exit status: 0 all alike, 1 differences.
set -euo pipefail

(($# >= 2)) || {
    sed -n '2,11s/^# \{0,1\}//p' "$0" >&2
    exit 2
}
tool=$(realpath "$1")
shift
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

pairs() {
    local argument style
    for argument; do
        if [[ -d $argument ]]; then
            for style in "$argument"/*.xsl; do
                [[ -f ${style%.xsl}.xml ]] && printf '%s %s\n' "$style" "${style%.xsl}.xml"
            done
        else
            grep -v '^#' "$argument"
        fi
    done
}

# To UTF-8, if the output says that it is something else.
decoded() {
    local encoding
    encoding=$(head -c 300 "$1" | tr -d '\0' | grep -aoiP '(encoding="|charset=)\K[A-Za-z0-9_-]+' | head -1 || true)
    iconv -f "${encoding:-UTF-8}" -t UTF-8 "$1" 2>/dev/null || cat "$1"
}

# Characters that the other side's encoding cannot hold come as references.
alike() {
    sed -E '1s/ encoding="[^"]*"//; s/(charset=)[A-Za-z0-9_-]+/\1X/' |
        perl -CS -pe 's/&#x([0-9A-F]+);/hex($1) > 127 ? chr hex $1 : $&/gie; s/&#([0-9]+);/$1 > 127 ? chr $1 : $&/ge'
}

rejected_on_principle() {
    grep -qE 'DOCTYPE is not allowed|file read for .* refused|only local files are read|(function|extension) .*not found|failed to find extension' "$1"
}

compare() {
    local style=$1 source=$2 ours=0 theirs=0
    "$tool" transform "$style" "$source" >"$scratch/ours" 2>"$scratch/ours.err" || ours=1
    xsltproc --nonet --nowrite "$style" "$source" >"$scratch/theirs" 2>"$scratch/theirs.err" || theirs=1
    if ((ours > theirs)) && rejected_on_principle "$scratch/ours.err"; then
        rejected=$((rejected + 1))
        return 0
    fi
    if ((ours != theirs)); then
        printf 'VERDICT  %s %s: ours %d, xsltproc %d\n' "$style" "$source" "$ours" "$theirs"
        head -3 "$scratch/ours.err" "$scratch/theirs.err" | sed 's/^/    /'
        return 1
    fi
    ((ours == 0)) || return 0
    alike <"$scratch/ours" >"$scratch/a"
    decoded "$scratch/theirs" | alike >"$scratch/b"
    cmp -s "$scratch/a" "$scratch/b" && return 0
    printf 'DIFFERS  %s %s\n' "$style" "$source"
    diff -a "$scratch/b" "$scratch/a" | head -6 | cut -c1-200 | sed 's/^/    /'
    return 1
}

count=0 different=0 rejected=0
while read -r style source; do
    count=$((count + 1))
    compare "$style" "$source" || different=$((different + 1))
done < <(pairs "$@")
printf '%d pairs: %d differ, %d rejected on principle\n' "$count" "$different" "$rejected"
((count > 0 && different == 0))

#!/usr/bin/env bash
# Validates through the engine and through xmllint and lists where the verdicts differ.
#
# usage: schema.sh ENGINE_TOOL (FOLDER | PAIRS)...
#   FOLDER  every NAME.xsd with NAME.xml and NAME-*.xml beside it
#   PAIRS   a file with a schema and a document on each line, separated by a space
#
# A schema that both reject counts as alike; what the engine rejects because it opens no door (a DOCTYPE) is
# counted apart. Exit status: 0 all alike, 1 differences.
set -euo pipefail

(($# >= 2)) || {
    sed -n '2,9s/^# \{0,1\}//p' "$0" >&2
    exit 2
}
tool=$(realpath "$1")
shift
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

pairs() {
    local argument schema document
    for argument; do
        if [[ -d $argument ]]; then
            for schema in "$argument"/*.xsd; do
                for document in "${schema%.xsd}.xml" "${schema%.xsd}"-*.xml; do
                    [[ -f $document ]] && printf '%s %s\n' "$schema" "$document"
                done
            done
        else
            grep -v '^#' "$argument"
        fi
    done
}

target_namespace() {
    # the document element's attribute alone: a schema inside an annotation may have another
    xmllint --nonet --xpath 'string(/*/@targetNamespace)' "$1" 2>/dev/null || true
}

compare() {
    local schema=$1 document=$2 ours=0 theirs=0
    "$tool" validate "$schema" "$(target_namespace "$schema")" "$document" >/dev/null 2>"$scratch/ours" || ours=1
    xmllint --nonet --noout --schema "$schema" "$document" >/dev/null 2>"$scratch/theirs" || theirs=1
    ((ours != theirs)) || return 0
    if ((ours > theirs)) && grep -q 'DOCTYPE is not allowed' "$scratch/ours"; then
        rejected=$((rejected + 1))
        return 0
    fi
    printf 'VERDICT  %s %s: ours %d, xmllint %d\n' "$schema" "$document" "$ours" "$theirs"
    head -3 "$scratch/ours" "$scratch/theirs" | cut -c1-200 | sed 's/^/    /'
    return 1
}

count=0 different=0 rejected=0
while read -r schema document; do
    count=$((count + 1))
    compare "$schema" "$document" || different=$((different + 1))
done < <(pairs "$@")
printf '%d pairs: %d differ, %d rejected on principle\n' "$count" "$different" "$rejected"
((count > 0 && different == 0))

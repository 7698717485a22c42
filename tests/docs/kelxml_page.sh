#!/usr/bin/env bash
# docs/kelxml.md shows what kelxml does: each command of its console blocks runs in a copy of examples/data and must
# print what the page has below it, and every verb must have one. Usage: kelxml_page.sh KELXML SOURCES [--update]
set -euo pipefail
kelxml=$1
page=$2/docs/kelxml.md
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cp -r "$2/examples/data" "$work/data"
cd "$work/data"
export PATH=${kelxml%/*}:$PATH LC_ALL=C.UTF-8
unset LANGUAGE

inside=
while IFS= read -r line; do
    case $inside$line in
        '```console') inside=yes && printf '%s\n' "$line" ;;
        'yes```') inside='' && printf '%s\n' "$line" ;;
        'yes$ '*)
            printf '%s\n' "$line"
            bash -c "${line#'$ '}" </dev/null 2>&1 || true # a status that matters is shown
            ;;
        yes*) ;; # what the page shows
        *) printf '%s\n' "$line" ;;
    esac
done <"$page" >"$work/page"
[[ ${3:-} != --update ]] || cp "$work/page" "$page"
diff -u "$page" "$work/page" || {
    echo "docs/kelxml.md shows other output than kelxml; to accept it: $0 $1 $2 --update" >&2
    exit 1
}

verbs=$("$kelxml" help | awk '/^Verbs/ { inside = 1; next } /^$/ { inside = 0 } inside && /^  [a-z]/ { print $1 }')
[[ $(wc -w <<<"$verbs") -ge 10 ]]
for verb in $verbs; do
    grep -qE "^\\$ (.* \| )?kelxml $verb( |\$)" "$page" || {
        echo "docs/kelxml.md lacks an example of the verb $verb" >&2
        exit 1
    }
done

#!/usr/bin/env bash
# Runs kelxml of this system and kelxml.exe under Wine over the same documents, and compares what they write. The
# one stands on our engine, the other on the platform's.
#
# usage: windows.sh KELXML KELXML_EXE [FOLDER]      FOLDER keeps the outputs; without it they go away
#
# Line ends count as alike, for files have their system's. Beyond that, what docs/porting.md expects to differ is
# made alike by normalised.py, and the table says so. Documents that are not there are named and passed over.
# Exit status: 0 all as expected, 1 other differences.
set -euo pipefail

(($# == 2 || $# == 3)) || {
    sed -n '2,9s/^# \{0,1\}//p' "$0" >&2
    exit 2
}
ours=$(realpath "$1")
theirs=$(realpath "$2")
here=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
if (($# == 3)); then
    mkdir -p "$3"
    kept=$(realpath "$3")
else
    kept=$(mktemp -d)
    trap 'rm -rf "$kept"' EXIT
fi

docbook=/usr/share/xml/docbook/schema/xsd/5.0/docbook.xsd
documents=(
    "$docbook"
    /usr/share/gir-1.0/Gio-2.0.gir
    /usr/share/khronos-api/gl.xml
    /usr/share/vulkan/registry/vk.xml
)

cat >"$kept/report.xsl" <<'XSL'
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
<xsl:output method="text"/>
<xsl:template match="/">elements <xsl:value-of select="count(//*)"/> attributes <xsl:value-of select="count(//@*)"/>
<xsl:text>&#10;</xsl:text>
<xsl:for-each select="//*[count(*) > 20]"><xsl:sort select="count(*)" data-type="number" order="descending"/>
<xsl:value-of select="name()"/>:<xsl:value-of select="count(*)"/>
<xsl:text>:</xsl:text><xsl:value-of select="string-length(translate(., ' &#9;&#10;', ''))"/>
<xsl:text>&#10;</xsl:text>
</xsl:for-each></xsl:template>
</xsl:stylesheet>
XSL
cat >"$kept/good.xml" <<'XML'
<article xmlns="http://docbook.org/ns/docbook" version="5.0"><title>T</title>
<para>One <emphasis>two</emphasis>.</para></article>
XML
sed 's/para>/parra>/g' "$kept/good.xml" >"$kept/bad.xml"

# What is known to differ, and why; see docs/porting.md.
declare -A known=(
    [force Gio-2.0.gir]="Wine fails to list a default namespace declaration"
    [force vk.xml]="Wine has no text for a blank text node, so the writer takes the element for one without text"
)

differences=0
row() { printf '%-12s %-10s %-16s %s\n' "$1" "$2" "$3" "$4"; }

# compare VERB NAME KIND ARGUMENT...: KIND is what normalised.py takes, or "exact".
compare() {
    local verb=$1 name=$2 kind=$3 our_status=0 their_status=0 result
    shift 3
    result=$kept/$verb.$name
    LC_ALL=C.UTF-8 LANGUAGE='' "$ours" "$@" >"$result.ours" 2>"$result.ours.errors" || our_status=$?
    LANGUAGE='' "$here/cmake/windows/run.sh" "$theirs" "$@" >"$result.theirs.raw" 2>"$result.theirs.errors" ||
        their_status=$?
    tr -d '\r' <"$result.theirs.raw" >"$result.theirs"
    if ((our_status != their_status)); then
        differ "$verb" "$name" "status $our_status and $their_status: $(first_words "$result.theirs.errors")"
    elif ((our_status != 0)); then
        row 'both reject' "$verb" "$name" \
            "$(first_words "$result.ours.errors") | $(first_words "$result.theirs.errors")"
    elif cmp -s "$result.ours" "$result.theirs"; then
        row alike "$verb" "$name" "$(stat -c %s "$result.ours") bytes"
    elif [[ $kind != exact ]] && made_alike "$kind" "$result"; then
        row "alike*" "$verb" "$name" "$(stat -c %s "$result.ours") bytes"
    else
        differ "$verb" "$name" "$(diff "$result.ours" "$result.theirs" | grep -c '^[<>]' || true) lines"
    fi
}

differ() {  # differ VERB NAME HOW
    if [[ -n ${known[$1 $2]:-} ]]; then
        row known "$1" "$2" "$3: ${known[$1 $2]}"
    else
        differences=$((differences + 1))
        row DIFFERS "$1" "$2" "$3"
    fi
}

# What the component says, without the program's name and the file's.
first_words() { head -n 1 "$1" | tr -d '\r' | sed -E 's/^kelxml: //; s/^[^ ]*\/[^ ]*: //' | cut -c 1-64; }

made_alike() {  # made_alike KIND RESULT
    local side
    for side in ours theirs; do
        python3 "$here/tests/interop/normalised.py" "$1" <"$2.$side" >"$2.$side.normalised" || return 1
    done
    cmp -s "$2.ours.normalised" "$2.theirs.normalised"
}

for document in "${documents[@]}"; do
    if [[ ! -r $document ]]; then
        row absent - - "$document"
        continue
    fi
    name=$(basename "$document")
    compare save "$name" save save "$document"
    compare force "$name" forced save --force "$document"
    compare format "$name" format format "$document"
    compare events "$name" events events --json "$document"
    compare transform "$name" exact transform "$kept/report.xsl" "$document"
    compare validate "$name" exact validate "$here/examples/demo/schema-documents.xsd" "$document"
done
if [[ -r $docbook ]]; then
    cd "$(dirname "$docbook")"  # where Wine looks for what a schema imports
    for name in good bad; do compare validate "$name.xml" exact validate docbook.xsd "$kept/$name.xml"; done
fi
printf '* but for what normalised.py makes alike\n%d unexpected differences\n' "$differences"
((differences == 0))

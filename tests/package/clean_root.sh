#!/usr/bin/env bash
# Installs the Debian packages of a folder in a system that has nothing else, uses them as their readers would, and
# removes them. Usage (as root): clean_root.sh FOLDER. Needs debootstrap and a Debian mirror.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
packages=$(cd "$1" && pwd)

# Mounts of our own: they are gone with the last process, however the script ends.
[[ ${KEL_CLEAN_ROOT:-} == own ]] || KEL_CLEAN_ROOT=own exec unshare --mount --pid --fork --kill-child "$0" "$packages"

root=$(mktemp -d)
chmod 755 "$root"
finish() {
    umount -q "$root/proc" || true
    rm -rf --one-file-system "$root"
}
trap finish EXIT
step() { printf -- '-- %s\n' "$*"; }
fail() {
    printf 'clean root: %s\n' "$*" >&2
    exit 1
}
inside() {
    chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root DEBIAN_FRONTEND=noninteractive \
        "${proxies[@]}" "$@"
}
as_user() { inside setpriv --reuid=65534 --regid=65534 --clear-groups "$@"; }
apt() {
    inside apt-get -qq -y -o Dpkg::Use-Pty=0 --no-install-recommends "$@" >"$root/apt.log" 2>&1 ||
        fail "$(cat "$root/apt.log")"
}
mapfile -t proxies < <(env | grep -iE '^(https?|no)_proxy=' || true)

expect() {  # expect TEXT COMMAND...: the command ends with 0 and prints the text
    local text=$1 output
    shift
    output=$("$@" 2>&1) || fail "$* ended with $?: $output"
    [[ $output == *"$text"* ]] || fail "$* printed, without \"$text\": $output"
}

# What packages leave on a system; caches and the package manager's own records aside.
files() {
    (cd "$root" && find . -xdev \( -path ./proc -o -path ./tmp -o -path ./apt.log -o -path ./var/cache -o -path ./var/log \
        -o -path ./var/lib/apt -o -path ./var/lib/dpkg -o -path ./trial \) -prune -o -print) | sort
}

step "a bare system"
# shellcheck source=/dev/null
suite=$(. /etc/os-release && echo "$VERSION_CODENAME")
debootstrap --variant=minbase "$suite" "$root" >"$root.log" 2>&1 || fail "$(tail -n 5 "$root.log")"
rm -f "$root.log"
mount -t proc proc "$root/proc"
mkdir -p "$root/trial/run"
chmod 777 "$root/trial" "$root/trial/run"
cp "$packages"/*.deb "$root/trial"
rm -f "$root"/trial/*-dbgsym_*
version=$(dpkg-deb -f "$root"/trial/libmsxml-parser6_*.deb Version)_$(dpkg --print-architecture)
cp -r "$here/consumer" "$root/trial"
files >"$root/trial/before"

step "the command line, without development files"
apt install "/trial/libmsxml-parser6_$version.deb" "/trial/msxml-parser-tools_$version.deb"
printf '<shelf><book year="1815">Emma</book></shelf>\n' >"$root/trial/shelf.xml"
printf '<shelf><book></shelf>\n' >"$root/trial/bad.xml"
expect "${version%%_*}" as_user kelxml --version
expect "book" as_user kelxml tree /trial/shelf.xml
expect "bad.xml:1:14: Fehler: " as_user sh -c 'LANGUAGE=de LANG=C.UTF-8 kelxml tree /trial/bad.xml; test $? = 1'
for file in man/{,de/,fr/,ja/}man1/kelxml.1.gz bash-completion/completions/kelxml zsh/vendor-completions/_kelxml \
    fish/vendor_completions.d/kelxml.fish locale/{de,fr,ja}/LC_MESSAGES/{msxml_parser,kelxml}.mo; do
    [[ -s $root/usr/share/$file ]] || fail "there is no /usr/share/$file"
done

step "all of it removed again"
apt purge --autoremove msxml-parser-tools libmsxml-parser6
files >"$root/trial/after"
left=$(diff "$root/trial/before" "$root/trial/after") || fail "files come or go: $left"
! inside ldconfig -p | grep msxml || fail "the linker's cache remembers the library"

step "programs of others, built with the development files"
apt install "/trial/libmsxml-parser6_$version.deb" "/trial/libmsxml-parser-dev_$version.deb" cmake make g++ pkg-config
examples=/usr/share/doc/libmsxml-parser-dev/examples
library=/usr/lib/$(dpkg-architecture -q DEB_HOST_MULTIARCH)/libmsxml_parser.so.6
expect "" as_user cmake -S /trial/consumer -B /trial/build
expect "" as_user cmake --build /trial/build
expect "" as_user cmake -S $examples -B /trial/examples
expect "" as_user cmake --build /trial/examples
expect "" as_user sh -c 'cd /trial/run && ../build/direct'
expect "" as_user sh -c "cd /trial/run && ../build/dynamic $library"
expect "Emma, 1815" as_user sh -c 'cd /trial/run && ../examples/direct'
expect "read <shelf>" as_user /trial/examples/embed "$library" /trial/run/shelf.xml
expect "Shelf/Width is 80 now" as_user /trial/examples/services "$library" $examples/data/app.settings
expect "6 words" as_user /trial/examples/wordcount/words "$library" /trial/examples/wordcount/libwordcount.so $examples/data/orders.xml
expect "" as_user sh -c "cd /trial/run && g++ -std=c++20 $examples/direct.cpp \$(pkg-config --cflags --libs msxml_parser) -o by_pkg_config"
expect "Emma, 1815" as_user sh -c 'cd /trial/run && ./by_pkg_config'
expect "" as_user sh -c "cd /trial/run && g++ -std=c++20 $examples/embed.cpp \$(pkg-config --cflags --libs msxml_parser-host) -o host"
expect "read <shelf>" as_user /trial/run/host "$library" /trial/run/shelf.xml
apt purge libmsxml-parser-dev libmsxml-parser6
left=$(cd "$root" && find . -xdev -path ./proc -prune -o -path ./trial -prune -o \( -iname '*msxml*' -o -iname '*kelxml*' \) -print)
[[ -z $left ]] || fail "left behind: $left"
step "clean root: everything in place, nothing left behind"

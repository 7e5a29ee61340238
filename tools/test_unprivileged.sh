#!/bin/sh
# Runs the tests whose suites are named ...Unprivileged as a user whom file modes stop. For root only.
#
# Usage: test_unprivileged.sh SOURCE BUILD
#
# That user need not be able to reach SOURCE or BUILD (a clone below /root, say): what the tests use is copied to a
# temporary folder that it can read, and the tests learn of the copy through BRINDLE_TEST_RESOURCES and
# BRINDLE_TEST_BINARY_DIR.
#
# Exit 1 when a test fails or is skipped, when a program cannot tell its tests, and when there is no such suite at all.
# Where no unprivileged user can be had nothing runs: exit 0 after saying so, but 1 when CI is set.
set -eu

source=$1
build=$2
nobody=65534
filter='*Unprivileged*'

say() { printf 'test_unprivileged: %s\n' "$*"; }
die() { say "$@"; exit 1; }
cannot() {
    say "NOT RUN: $*"
    say "The tests about permissions were skipped: as root nothing is ever forbidden."
    if [ -n "${CI:-}" ]; then exit 1; fi
    exit 0
}
as_nobody() {
    setpriv --reuid="$nobody" --regid="$nobody" --clear-groups \
        env HOME="$copy/home" TMPDIR="$copy/home" USER=nobody \
        BRINDLE_TEST_RESOURCES="$copy/resources" BRINDLE_TEST_BINARY_DIR="$copy" "$@"
}

[ "$(id -u)" -eq 0 ] || { say "is for root"; exit 2; }
command -v setpriv >/dev/null || cannot "there is no setpriv here"

copy=$(mktemp -d "${TMPDIR:-/tmp}/brindle-unprivileged.XXXXXX")
trap 'rm -rf "$copy"' EXIT
trap 'exit 1' HUP INT TERM
mkdir "$copy/home" "$copy/tests" "$copy/share"
cd "$build"
for program in $(find . -type f -name 'test_*' -perm -u+x | sort); do
    "$program" --gtest_list_tests --gtest_filter="$filter" >"$copy/list" || die "$program cannot list its tests"
    if grep -q Unprivileged "$copy/list"; then cp "$program" "$copy/tests/"; fi
done
[ -n "$(ls "$copy/tests")" ] || die "no test program in $build holds a suite named $filter"
[ ! -d "$source/resources" ] || cp -R "$source/resources" "$copy/resources"
[ ! -d "$build/bin" ] || cp -R "$build/bin" "$copy/bin"
ln -s ../resources "$copy/share/brindle"
chmod -R u+rwX,go+rX "$copy"
chown -R "$nobody:$nobody" "$copy/home"
as_nobody test -x "$copy/tests" -a -w "$copy/home" || cannot "an unprivileged user cannot reach $copy"

failed=
for program in "$copy"/tests/*; do
    name=$(basename "$program")
    say "$name as user $nobody"
    (cd "$copy/home" && as_nobody "$program" --gtest_filter="$filter") >"$copy/log" 2>&1 ||
        failed="$failed $name"
    cat "$copy/log"
    if grep -qF '[  SKIPPED ]' "$copy/log"; then failed="$failed $name(skipped)"; fi
done
[ -z "$failed" ] || die "failed:$failed"

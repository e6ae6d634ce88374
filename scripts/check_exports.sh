#!/usr/bin/env bash
# Compares the names that a library exports with golden lists.
#   check_exports.sh <library> <list>...             fails and prints the differences if there are any
#   check_exports.sh --self-test <library> <list>... fails unless a missing, an extra and a changed name are found
# To accept a changed interface, put the printed lines into the lists under cmake/exports/.
set -euo pipefail
export LC_ALL=C

exported_names() { nm -DC --defined-only "$1" | cut -d' ' -f3- | sort -u; }

expected_names() { cat "$@" | sort -u; }

compare() { diff <(expected_names "${@:2}") <(exported_names "$1"); }

self_test() {
    local library=$1 edit
    shift
    wrong=$(mktemp)  # not local: the trap outlives this function
    trap 'rm -f "$wrong"' EXIT
    for edit in '1d' '$a not_exported' '1s/.$/?/'; do
        expected_names "$@" | sed "$edit" >"$wrong"
        if compare "$library" "$wrong" >/dev/null; then
            echo "a list edited by '$edit' passed" >&2
            return 1
        fi
    done
}

if [[ $1 == --self-test ]]; then
    self_test "${@:2}"
elif compare "$@"; then
    echo "$(exported_names "$1" | wc -l) exported names, as listed"
else
    echo "exported names differ from the list ('<' listed, not exported; '>' exported, not listed)" >&2
    exit 1
fi

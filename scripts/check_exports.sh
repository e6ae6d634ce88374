#!/usr/bin/env bash
# Compares the names that a library exports with golden lists.
#   check_exports.sh all|sample <library> <list>...    fails and prints the differences if there are any
#   check_exports.sh --self-test all|sample <library> <list>...
#                                                      fails unless a missing, an extra and a changed name are found
# A list has a name in each line, behind a mark of two characters: "* " where builds for a sample of the element types
# export it, too, else blanks. To accept a changed interface, put the printed lines into the lists under cmake/exports/.
set -euo pipefail
export LC_ALL=C

exported_names() { nm -DC --defined-only "$1" | cut -d' ' -f3- | sort -u; }

# expected_names <instances> <list>...
expected_names() {
    case $1 in
    all) cat "${@:2}" ;;
    sample) cat "${@:2}" | grep '^\*' ;;
    esac | cut -c3- | sort -u
}

# compare <instances> <library> <list>...
compare() { diff <(expected_names "$1" "${@:3}") <(exported_names "$2"); }

# self_test <instances> <library> <list>...
self_test() {
    local edit
    wrong=$(mktemp)  # not local: the trap outlives this function
    trap 'rm -f "$wrong"' EXIT
    for edit in '1d' '$a * not_exported' '1s/.$/?/'; do
        expected_names "$1" "${@:3}" | sed 's/^/* /' | sed "$edit" >"$wrong"
        if compare "$1" "$2" "$wrong" >/dev/null; then
            echo "a list edited by '$edit' passed" >&2
            return 1
        fi
    done
}

if [[ $1 == --self-test ]]; then
    self_test "${@:2}"
elif compare "$@"; then
    echo "$(exported_names "$2" | wc -l) exported names, as listed"
else
    echo "exported names differ from the list ('<' listed, not exported; '>' exported, not listed)" >&2
    exit 1
fi

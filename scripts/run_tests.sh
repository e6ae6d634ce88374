#!/usr/bin/env bash
# Runs the tests of build trees and counts them: each GoogleTest case, and each other test of ctest, is one.
#   run_tests.sh [<build folder>[:<ctest option>...]]...    e.g. run_tests.sh build/host "build/cuda:-LE gpu"
# The last line is "<n> passed, <m> failed"; skipped cases are told before it and counted as neither.
set -uo pipefail

# The value of the first attribute $1 of the element <testsuites> in the results $2.
attribute() { sed -n "s/.*<testsuites[^>]* $1=\"\([0-9]*\)\".*/\1/p;T;q" "$2"; }

passed=0 failed=0 skipped=0

# Adds what one build tree's ctest run told.
count() {
    local folder=$1 name status results bad
    while read -r name status; do
        results=$folder/test_results/$name.xml
        if [[ -f $results ]]; then
            bad=$(($(attribute failures "$results") + $(attribute errors "$results")))
            local left_out
            left_out=$(grep -cE '<testcase.* (status="notrun"|result="skipped")' "$results")
            passed=$((passed + $(attribute tests "$results") - bad - left_out))
            skipped=$((skipped + left_out))
            failed=$((failed + bad))
            # A program can fail after its last case, in a destructor or a leak check.
            [[ $status == run || $bad -gt 0 ]] || failed=$((failed + 1))
        elif [[ $status == run ]]; then
            passed=$((passed + 1))
        else
            failed=$((failed + 1))
        fi
    done < <(sed -nE 's/.*<testcase name="([^"]*)".* status="([^"]*)".*/\1 \2/p' "$folder/ctest.xml")
}

for tree in "$@"; do
    folder=${tree%%:*}
    options=${tree#"$folder"}
    rm -rf "$folder/test_results" "$folder/ctest.xml"
    # shellcheck disable=SC2086  # the options are words
    ctest --test-dir "$folder" --output-on-failure --output-junit "$(realpath "$folder")/ctest.xml" ${options#:} </dev/null
    if [[ -f $folder/ctest.xml ]]; then
        count "$folder"
    else
        failed=$((failed + 1))
    fi
done

[[ $skipped -eq 0 ]] || echo "$skipped skipped"
echo "$passed passed, $failed failed"
[[ $failed -eq 0 && $passed -gt 0 ]]

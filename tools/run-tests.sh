#!/usr/bin/env bash
# Runs the tests of a built preset and closes with their counts, as the runner reports them.
#   tools/run-tests.sh PRESET [CTEST-OPTION...]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
preset=$1
shift

report=$PWD/build/$preset/tests.xml
rm -f "$report"
status=0
ctest --preset "$preset" --output-junit "$report" "$@" </dev/null || status=$?

count() { sed -n "/<testsuite /,/>/s/.*$1=\"\([0-9]*\)\".*/\1/p" "$report" | head -n 1; }

if [ ! -f "$report" ] || [ "$(count tests)" = 0 ]; then
  echo "No test has run." >&2
  exit 1
fi
failed=$(count failures)
skipped=$(($(count skipped) + $(count disabled)))
# A program that is missing shows up as "not run" as a skipped test does; it is a failure.
if [ "$status" != 0 ] && [ "$failed" = 0 ]; then
  failed=$skipped
  skipped=0
fi
passed=$(($(count tests) - failed - skipped))
[ "$skipped" = 0 ] && skipped="" || skipped=", $skipped skipped"
echo "$passed passed, $failed failed$skipped"
[ "$status" = 0 ] && [ "$failed" = 0 ]

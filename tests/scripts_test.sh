#!/bin/bash
# Tries the scripts that build and test: scripts_test.sh SOURCE.
source=$1 failures=0
work=$(mktemp -d) && trap 'rm -rf "$work"' EXIT
fail() { failures=$((failures + 1)); echo "$*" >&2; }

# A test preset takes no option over from what its folder was used for before.
presets=$(sed -n "s/.*presets='\(.*\)'.*/\1/p" "$source/test")
options=$(cd "$source" && sed -En 's/^ *(option|set)\((IMGCTL_\w+).*/\2/p' CMakeLists.txt ./*/CMakeLists.txt \
    ./*/*/CMakeLists.txt | sort -u)
[ -n "$presets" ] && [ -n "$options" ] || fail 'no presets or no options found'
for preset in $presets; do
    named=$(cd "$source" && cmake -N --preset "$preset" -B "$work/none")
    for option in $options; do
        [[ $named == *" $option="* ]] || fail "preset $preset does not say what $option is"
    done
    [[ $named == *' IMGCTL_TESTS="ON"'* ]] || fail "preset $preset has no tests"
done

# A folder without tests is no success.
mkdir -p "$work/tree/scripts"
cp "$source/test" "$work/tree"
printf '#!/bin/sh\nmkdir -p "build/$1"\n' >"$work/tree/scripts/build" && chmod +x "$work/tree/scripts/build"
(cd "$work/tree" && ./test) >/dev/null 2>&1 && fail './test passes without tests'

exit $((failures > 0))

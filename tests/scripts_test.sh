#!/bin/bash
# Tries the scripts that build and test: scripts_test.sh SOURCE. Package tools are replaced by ones that
# only note how they were called.
source=$1 failures=0
work=$(mktemp -d) && trap 'rm -rf "$work"' EXIT
fail() { failures=$((failures + 1)); echo "$*" >&2; }

# A test preset takes no option over from what its folder was used for before.
presets=
for stage in $(sed -n "s/^budgets='\(.*\)'/\1/p" "$source/test"); do
    ! grep -q "\"name\": \"${stage%:*}\"" "$source/CMakePresets.json" || presets="$presets ${stage%:*}"
done
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
mkdir -p "$work/tree/scripts" "$work/bin"
cp "$source/test" "$work/tree"
printf '#!/bin/sh\nmkdir -p "build/$1"\n' >"$work/tree/scripts/build" && chmod +x "$work/tree/scripts/build"
(cd "$work/tree" && ./test) >/dev/null 2>&1 && fail './test passes without tests'

# The boards' libraries come from an apt of their own: once, whole, and past what is installed here.
cp "$source"/scripts/* "$work/tree/scripts"
mkdir -p "$work/deb/DEBIAN" "$work/deb/usr/lib"
printf 'Package: x\nVersion: 1\nArchitecture: all\nMaintainer: x <x@x>\nDescription: x\n' >"$work/deb/DEBIAN/control"
dpkg-deb -b "$work/deb" "$work/x.deb" >/dev/null
cat >"$work/bin/apt-get" <<'STUB'
#!/bin/sh
echo "apt-get ${APT_CONFIG:-of this machine} $*" >>"$WORK/calls"
[ "$1" = install ] || exit 0
cp "$WORK/x.deb" "$(sed -n 's/^Dir::Cache::archives "\(.*\)";/\1/p' "$APT_CONFIG")"
[ ! -e "$WORK/kill" ] || kill -9 $PPID
STUB
printf '#!/bin/sh\necho "installed $(dpkg --print-architecture)"\n' >"$work/bin/dpkg-query"
cat >"$work/bin/dpkg" <<'STUB'
#!/bin/sh
echo "dpkg $*" >>"$WORK/calls"
echo here
STUB
printf '#!/bin/sh\n' >"$work/bin/cmake"
chmod +x "$work/bin/"*
sysroot=$work/tree/build/armel-sysroot
build() { WORK=$work PATH=$work/bin:$PATH "$work/tree/scripts/build" armel >/dev/null 2>&1; }
touch "$work/kill"
build && fail 'a killed download passes'
[ ! -e "$sysroot" ] || fail 'a killed download leaves half a sysroot'
rm "$work/kill"
build || fail 'no second try after a killed download'
[ -e "$sysroot/lib" ] || fail 'the sysroot holds nothing'
grep -q "^apt-get $sysroot.new/" "$work/calls" || fail 'nothing was fetched'
grep -E 'add-architecture|of this machine' "$work/calls" && fail 'this machine is changed'
: >"$work/calls"
build
grep apt-get "$work/calls" && fail 'the libraries are fetched again'
exit $((failures > 0))

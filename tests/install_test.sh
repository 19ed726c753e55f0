#!/bin/bash
# Installs a build and uses what was installed, from outside of the source: install_test.sh SOURCE BUILD. The hosts
# are the guide's, built as it says. Works in the current folder.
source=$1 build=$2 failures=0
work=$PWD/install && rm -rf "$work" && mkdir -p "$work"
fail() { failures=$((failures + 1)); echo "$*" >&2; }
# run WHAT COMMAND...; its output is of interest when it fails
run() { "${@:2}" >"$work/log" 2>&1 || { fail "$1:"; tail -n 20 "$work/log" >&2; }; }

# A packager's folder first, then moved: nothing in it may know where it was.
run 'cmake --install' env DESTDIR="$work/staged" cmake --install "$build" --prefix /opt/imgctl
mv "$work/staged/opt/imgctl" "$work/prefix"
prefix=$work/prefix
grep -rlE "$source|$build|$work/staged" "$prefix" --include='*.cmake' --include='*.pc' --include='*.service' &&
    fail 'an installed file names a folder of this machine'
grep -q '^ExecStart=/opt/imgctl/bin/imgctld ' "$prefix/lib/systemd/system/imgctld@.service" ||
    fail 'the unit does not start the program that was installed'
unset IMGCTL_DEVICE PKG_CONFIG_PATH LD_LIBRARY_PATH

# What stands as commands below a heading of the guide.
guide() { sed -n "/^### $1\$/,/^##/s/^    //p" "$source/docs/guide.md" | sed "s|/opt/imgctl|$prefix|"; }
outside() { rm -rf "$work/outside" && mkdir -p "$work/outside" && cp -r "$source/docs" "$work/outside" && cd "$work/outside" || exit 1; }
tree() { rm -rf "$work/tree" && cp -r "$prefix/share/imgctl/device" "$work/tree"; }
for heading in 'With g++ alone' 'With pkg-config'; do
    outside && tree
    guide "$heading" >commands
    run "$heading" sh -eu commands
    run "$heading: the host" ./host "$work/tree"
done
outside && guide 'With CMake' >CMakeLists.txt
run 'With CMake' cmake -B build -G Ninja -DCMAKE_PREFIX_PATH="$prefix"
run 'With CMake: build' cmake --build build
for program in host camera; do
    tree
    run "With CMake: $program" build/$program "$work/tree"
done

# A newcomer's first start makes the device tree; the second finds what the first saved.
export XDG_STATE_HOME=$work/state
run 'the first start' "$prefix/bin/imgctl" --speed 50 -c 'mode 0' -c 'scheme 0' -c 'set brightness=61 --save'
grep -q "made a device tree for a simulated sensor: $work/state/imgctl/device-root" "$work/log" || fail 'no tree is made'
run 'the second start' "$prefix/bin/imgctl" --speed 50 -c 'mode 0' -c 'scheme 0' -c 'get brightness'
grep -q '^get (34,61)' "$work/log" || fail 'what was saved is not found again'
run 'a named tree' "$prefix/bin/imgctl" --device "$work/yard/" --make-device --speed 50 status
[ -e "$work/yard/hd1" ] || fail 'a named tree is not made'
mkdir "$work/here" && cd "$work/here" && umask 077
run 'a tree in the current folder' "$prefix/bin/imgctl" --device . --make-device --speed 50 status
[ -z "$(find "$work/here" -mindepth 1 ! -name .owner -perm /077)" ] || fail 'modes are not by the umask'
cd "$OLDPWD" && umask 022
run 'ia-compliance' "$prefix/bin/ia-compliance" KEY_BRIGHTNESS
if [ -x "$prefix/bin/imgctld" ]; then
    run 'the first user' "$prefix/bin/imgctl" user add anna <<<'a long password'
    [ -e "$work/state/imgctl/device-root/users.cfg" ] || fail 'the first user is not where the camera is'
fi
! ldd "$prefix/bin/imgctl" | grep -E 'curl|gnutls' || fail 'every command waits for what asks cameras elsewhere'
if [ -n "$(find "$prefix/lib" -name imgctl-away.so)" ]; then
    run 'what is loaded' "$prefix/bin/imgctl" tls new --cert "$work/cert.pem" --key "$work/key.pem"
fi

# Completion as a shell loads it by the command's name.
PATH=$prefix/bin:$PATH bash -c '
    . "'"$prefix"'/share/bash-completion/completions/imgctl"
    COMP_LINE="imgctl expl" COMP_POINT=11 COMP_WORDS=(imgctl expl) COMP_CWORD=1
    _imgctl && [ "${COMPREPLY[*]}" = explain ]' || fail 'no completion'

# The manual pages tell all that the programs tell themselves.
plain() { sed -E '/^\.[A-Z]{2}/d; s/\\f[A-Z]//g; s/\\\(([ht][ia])/\1/g; s/\\[&-]?//g; s/^\.[A-Z]+ //' "$1" | tr -d '[:space:]'; }
for page in imgctl:1:--help imgctl:1:user:--help imgctld:8:--help ia-compliance:1:--help; do
    IFS=: read -r program section arguments <<<"$page"
    file=$prefix/share/man/man$section/$program.$section
    [ -e "$file" ] || { command -v scdoc >/dev/null && [ -x "$prefix/bin/$program" ] && fail "no $file"; continue; }
    text=$(plain "$file")
    # Words of a line, however far apart the page has them.
    "$prefix/bin/$program" ${arguments//:/ } | sed 's/^Usage: *//; /^[A-Z].*:$/d; s/^ *//' | grep . |
        while IFS= read -r line; do
            for part in "${line:0:22}" "${line:23}"; do
                part=$(tr -d '[:space:]' <<<"$part")
                [[ $text == *"$part"* ]] || echo "$file lacks: $line"
            done
        done >"$work/lacks"
    [ ! -s "$work/lacks" ] || fail "$(cat "$work/lacks")"
done
exit $((failures > 0))

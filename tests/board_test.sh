#!/bin/bash
# Unpacks the tarball for boards and uses it as a board would, in an emulator with nothing beside it but the C and
# C++ runtimes: board_test.sh SOURCE TARBALL.
source=$1 failures=0
work=$(mktemp -d)
trap 'kill "$daemon" 2>/dev/null; wait 2>/dev/null; rm -rf "$work"' EXIT
daemon=
expect() { # WHAT GOT PATTERN
    [[ $2 == $3 ]] || { failures=$((failures + 1)); printf '%s: got "%s", expected "%s"\n' "$@" >&2; }
}

# The runtimes are all that it may find: the emulator's root has no other libraries.
runtimes=$work/root
mkdir -p "$runtimes/lib"
for library in ld-linux.so.3 libc.so.6 libm.so.6 libgcc_s.so.1 libstdc++.so.6; do
    cp -L "$(find "$source/build/armel-sysroot" -path "*/arm-linux-gnueabi/$library")" "$runtimes/lib" || exit 1
done
tar -C "$work" -xJf "$2"
board=$(echo "$work"/imgctl-*)
tree=$work/tree
: >"$work/out"
emulator=(qemu-arm -cpu arm926 -L "$runtimes")
board() { "${emulator[@]}" "$board/bin/$1" "${@:2}"; }

"$source/tests/exports_test.sh" "$source/build/board-tarball/sensor/libimgctl.so" "$source/tests/data" || expect 'the exports' other same
size=$(stat -c %s "$board/lib/libimgctl.so")
expect 'the library' "$((size <= 65536))" 1
listed=$(awk '$2 == "together" { print $1 }' "$board/SIZES")
expect 'the list of sizes' "$listed" "$(cd "$board" && find bin lib share -type f -printf '%s\n' | awk '{ sum += $1 } END { print sum }')"
expect 'the tarball' "$(($(stat -c %s "$2") <= 700000))" 1

expect 'a value' "$(board imgctl --device "$tree" --make-device set brightness=61 --save 2>/dev/null)" 'set done*'
expect 'the value' "$(board imgctl --device "$tree" get brightness)" 'get (34,61)'
expect 'a user' "$(board imgctl user add anna --device "$tree" 2>&1 <<<'a long password')" '*'
expect 'the password here and there' \
    "$(perl -ne 'print "same" if /(\$y\$\S+?)("|\s|,|$)/ && crypt("a long password", $1) eq $1' "$tree/users.cfg")" same

"${emulator[@]}" "$board/bin/imgctld" --device "$tree" --listen 127.0.0.1:0 >"$work/out" 2>"$work/err" &
daemon=$!
for ((i = 0; i < 300; i++)); do
    url=$(sed -n 's/^imgctld: serving at //p' "$work/out")
    [ -z "$url" ] || break
    sleep 0.1
done
[ -n "$url" ] || { cat "$work/err" >&2; exit 1; }
ask() { curl -sS -m 30 -b "$work/cookies" -c "$work/cookies" -H 'Content-Type: application/json' "${@:2}" "${url%/}$1"; }
api=/api/v1
expect 'nobody' "$(ask $api/parameters/brightness -o /dev/null -w '%{http_code}')" 401
expect 'a wrong password' "$(ask $api/login -d '{"name": "anna", "password": "another one"}')" '*401*'
expect 'the password' "$(ask $api/login -d '{"name": "anna", "password": "a long password"}')" '*administrator*'
expect 'health' "$(ask /health)" '*"healthy":true*'
expect 'a PUT' "$(ask $api/parameters/brightness -X PUT -d '{"value": 62}' -o /dev/null -w '%{http_code}')" 200
expect 'its GET' "$(ask $api/parameters/brightness)" '*"value":62*'
expect 'the page' "$(ask / --compressed)" '*<script*'
# Before the first one the simulated sensor paints a whole street, which takes an emulator its time.
for ((i = 0; i < 20; i++)); do
    ask /picture.jpg >"$work/picture"
    [ "$(head -c 3 "$work/picture" | od -An -tx1)" != ' ff d8 ff' ] || break
done
expect 'the picture' "$(head -c 3 "$work/picture" | od -An -tx1)" ' ff d8 ff'
expect 'through the service' "$(board imgctl --device "$tree" get brightness)" 'get (34,62)'
kill "$daemon" && wait "$daemon"
expect 'its end' "$?" 0
daemon=
exit $((failures > 0))

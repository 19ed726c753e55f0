#!/bin/sh
# The library exports what its headers promise and nothing else, and needs nothing but TinyXML and the
# C and C++ runtimes; nor 64-bit atomic operations, which the boards lack. Arguments: the library, the
# list of names.
set -eu
export LC_ALL=C
names=$(nm -D --defined-only -C "$1" | sed 's/^[0-9a-f]* [A-Z] //; s/[[(].*//' | sort -u)
if [ "$names" != "$(cat "$2")" ]; then
    printf '%s\n' "$names" | diff "$2" - >&2
    exit 1
fi
readelf -d "$1" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' |
    while read -r needed; do
        case $needed in
        libtinyxml.so* | libstdc++.so* | libgcc_s.so* | libc.so* | libm.so* | ld-linux*) ;;
        *) echo "needs $needed" >&2 && exit 1 ;;
        esac
    done
# The compiler's runtime brings lock_release in every size.
if nm "$1" | grep -v lock_release | grep -E '__(atomic|sync)_[a-z_]+_8$' >&2; then
    exit 1
fi

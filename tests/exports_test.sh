#!/bin/sh
# The library exports what its headers promise, takes from the process what frameworks and layers have
# (w: it does without), and needs nothing else but TinyXML and the C and C++ runtimes; nor 64-bit atomic
# operations, which the boards lack. Arguments: the library, the folder of the lists of names.
set -eu
export LC_ALL=C
compare() {
    sed 's/[[(].*//' | sort -u | diff "$1" - >&2
}
nm -D --defined-only -C "$1" | sed 's/^[0-9a-f]* [A-Z] //' | compare "$2/exports.txt"
# The runtimes' names carry a version.
nm -D --undefined-only -C "$1" | sed 's/^ *//' | grep -vE '@|TiXml|_ITM_|__gmon_start__' |
    compare "$2/imports.txt"
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

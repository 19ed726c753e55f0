#!/bin/sh
# Builds the library with another maker's headers in place of ours, installs it, and runs it in a process
# that has nothing of ours: vendor_test.sh SOURCE COMPILER. Works in the current folder.
set -eu
source=$1 compiler=$2 work=$PWD/vendor
rm -rf "$work/headers" "$work/installed"
mkdir -p "$work/headers"
cp "$source/tests/vendor/Vendor.h" "$work/headers"
for header in "$source"/framework/include/*.h "$source"/imageadjust/include/*.h; do
    echo '#include "Vendor.h"' >"$work/headers/${header##*/}"
done
if ! {
    cmake -S "$source" -B "$work/build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
        -DCMAKE_INSTALL_LIBDIR=lib -DIMGCTL_HOST=OFF -DIMGCTL_TESTS=OFF \
        -DIMGCTL_FRAMEWORK_INCLUDE_DIR="$work/headers" \
        -DIMGCTL_IMAGEADJUST_INCLUDE_DIR="$work/headers" &&
        cmake --build "$work/build" &&
        cmake --install "$work/build" --prefix "$work/installed" &&
        "$compiler" -std=c++17 -rdynamic -I "$work/installed/include/imgctl" -I "$work/headers" \
            -o "$work/host" "$source/tests/vendor/host.cpp" \
            -L "$work/installed/lib" -limgctl -Wl,-rpath,"$work/installed/lib" &&
        "$work/host"
} >"$work/log" 2>&1; then
    cat "$work/log"
    exit 1
fi
for header in "$work/headers"/*; do
    [ ! -e "$work/installed/include/imgctl/${header##*/}" ] || { echo "installs ours: $header"; exit 1; }
done

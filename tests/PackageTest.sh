#!/usr/bin/env bash
# The installed package: the decoder component built outside the tree with find_package alone, and a small
# program with find_package, by clang too where it is installed, and with pkg-config. The package asks
# for C++17 itself, with a compiler that starts out from an older one.
# PackageTest.sh <build folder> <source folder> <sanitizer flags>
set -euo pipefail
build=$1
source=$2
flags=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# What a step prints is of interest when it fails.
quiet() { "$@" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }; }

quiet cmake --install "$build" --prefix "$work/prefix"
cp -r "$source/examples" "$work/examples"

quiet cmake -S "$work/examples/decoder" -B "$work/decoder" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" \
    -DCMAKE_CXX_FLAGS="-std=gnu++14 $flags"
quiet cmake --build "$work/decoder"
client=$work/prefix/bin/lx2_client
"$client" --component "$work/decoder/liblx2_decoder.so" "$work/examples/samples/vp9.ivf" |
    grep "nothing is left open"
"$client" | grep "frames shown  *72$"  # its own component and sample

# The three files of the page on components, as they stand there.
mkdir "$work/invert"
awk -v folder="$work/invert/" '/^### / { file = folder $2 } /^```/ { inside = /^```c/; next } inside { print > file }' \
    "$source/docs/writing-a-component.md"
quiet cmake -S "$work/invert" -B "$work/invert/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" \
    -DCMAKE_CXX_FLAGS="$flags"
quiet cmake --build "$work/invert/build"
quiet ctest --test-dir "$work/invert/build" --output-on-failure

cat >"$work/pool.cpp" <<'TXT'
#include <C2PlatformSupport.h>
#include <lx2/LX2BufferPool.h>

#include <cstdio>

int main() {
    std::shared_ptr<C2BlockPool> blocks;
    android::GetCodec2BlockPool(C2BlockPool::BASIC_LINEAR, nullptr, &blocks);
    lx2::LX2LinearBufferPool pool(blocks, 0);
    std::shared_ptr<lx2::LX2Buffer> buffer;
    const bool good = pool.allocate(&buffer) == C2_OK && buffer->linear()->map()->data() != nullptr;
    char text[64];
    puts(lx2::LX2Buffer::AsString(buffer, text, sizeof(text)));
    return good ? 0 : 1;
}
TXT
export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$(find "$work/prefix" -name lxcodec2_utils.pc)")
# shellcheck disable=SC2046,SC2086 # flags are words
g++ -std=c++17 $flags "$work/pool.cpp" -o "$work/pool" $(pkg-config --cflags --libs lxcodec2_utils) \
    -Wl,-rpath,"$(pkg-config --variable=libdir lxcodec2_utils)"
"$work/pool"

# What clang makes can't use what was instrumented by another compiler.
if [ -z "$flags" ] && command -v clang++ >/dev/null; then
    cat >"$work/CMakeLists.txt" <<'TXT'
cmake_minimum_required(VERSION 3.25)
project(pool LANGUAGES CXX)
find_package(lxcodec2_utils REQUIRED)
add_executable(pool pool.cpp)
target_link_libraries(pool PRIVATE lx2::utils)
TXT
    quiet cmake -S "$work" -B "$work/clang" -G Ninja \
        -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_CXX_COMPILER=clang++
    quiet cmake --build "$work/clang"
    "$work/clang/pool"
fi

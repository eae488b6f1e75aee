#!/usr/bin/env bash
# The installed package: the decoder built outside the tree with find_package alone, and a small
# program with pkg-config.
# PackageTest.sh <build folder> <source folder> <compiler flags>
set -euo pipefail
build=$1
source=$2
flags=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" >/dev/null
cp -r "$source/examples" "$work/examples"

CXXFLAGS=$flags cmake -S "$work/examples/decoder" -B "$work/decoder" -G Ninja \
    -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/decoder" >/dev/null
"$work/decoder/lx2_decoder" "$work/examples/samples/vp9.ivf" 2>/dev/null | grep "nothing is left open"

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

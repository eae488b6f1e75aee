// What a component does with its input: cuts raw H.264 and H.265 streams into access units, puts
// each into a linear buffer with its values, finds the codec headers in it, shares it as a C2Buffer
// and reads it back through a second wrapper, as the other side of the framework would.
//
//     lx2_bitstream [FILE...]      without a file: the sample streams
#include <C2PlatformSupport.h>
#include <lx2/BufFlag.h>
#include <lx2/LX2Buffer.h>
#include <lx2/LX2BufferPool.h>
#include <lx2/LX2StreamParser.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <map>

#include "../common/AnnexB.h"

namespace lx2::example {
namespace {

constexpr uint64_t kFramesPerSecond = 24;  // raw streams seldom say; the samples are made so
constexpr uint64_t kUsage = C2MemoryUsage::CPU_READ | C2MemoryUsage::CPU_WRITE;
constexpr uint32_t kPageSize = 4096;

uint64_t TimestampOf(size_t frame) {
    return frame * 1'000'000 / kFramesPerSecond;  // microseconds
}

// Fills a buffer with an access unit and sets its values. Null if there is no memory for it.
std::shared_ptr<LX2Buffer> Fill(LX2LinearBufferPool& pool, const ByteStream& stream, size_t index) {
    const AccessUnit& unit = stream.accessUnits[index];
    pool.setBufferSize(unit.size);
    std::shared_ptr<LX2Buffer> buffer;
    if (pool.allocate(&buffer) != C2_OK)
        return nullptr;
    const auto mapping = buffer->linear()->map();
    if (!LX2Buffer::Mapping::IsUsable(mapping))
        return nullptr;
    memcpy(mapping->data(), stream.bytes.data() + unit.offset, unit.size);

    const bool last = index + 1 == stream.accessUnits.size();
    buffer->linear()->setRange(0, unit.size);
    buffer->setTimestamp(TimestampOf(index));
    buffer->setInputIndex(index);
    buffer->setFlags((unit.keyFrame ? BufFlag::SYNC_FRAME : 0) |
                     (last ? BufFlag::END_OF_STREAM : 0));
    return buffer;
}

// The bytes of codec configuration that a buffer begins with; 0 without any.
uint32_t HeaderSize(VideoCodec codec, LX2Buffer& buffer) {
    const auto mapping = buffer.linear()->mapReadOnly();
    const auto bytes = buffer.linear()->bytes(mapping);
    const auto find = codec == VideoCodec::Avc ? LX2AVCStreamParser::FindCodecConfig
                                               : LX2HEVCStreamParser::FindCodecConfig;
    uint32_t size = 0;
    return find(bytes.data, bytes.size, &size) == C2_OK ? size : 0;
}

// Whether the framework's side of a buffer holds just these bytes.
bool ReadsBackAs(LX2Buffer& buffer, const uint8_t* bytes, uint32_t size) {
    const auto wrapped = LX2Buffer::CreateFromC2Buffer(buffer.getSharedBuffer());
    const LX2Buffer::Linear& view = *wrapped->linear();
    const auto mapping = view.mapReadOnly();
    const auto read = view.bytes(mapping);
    return read && read.size == size && memcmp(read.data, bytes, size) == 0;
}

std::string UnitList(VideoCodec codec, const AccessUnit& unit) {
    std::string list;
    for (const NalUnit& nal : unit.units)
        list += (list.empty() ? "" : ", ") + std::string(NalTypeName(codec, nal.type)) + " " +
                std::to_string(nal.size);
    return list;
}

struct Totals {
    uint64_t bytes = 0, units = 0, keyFrames = 0, headerBytes = 0;
    std::map<std::string, uint64_t> byType;
};

void PrintTotals(const ByteStream& stream, const Totals& totals) {
    printf("\n%zu access units, %" PRIu64 " of them key frames; %" PRIu64 " bytes, %" PRIu64
           " of them codec headers\n",
           stream.accessUnits.size(), totals.keyFrames, totals.bytes, totals.headerBytes);
    printf("%" PRIu64 " units:", totals.units);
    const char* separator = " ";
    for (const auto& [name, count] : totals.byType) {
        printf("%s%" PRIu64 " %s", separator, count, name.c_str());
        separator = ", ";
    }
    if (stream.widened > 0)
        printf("\n%u start codes had three bytes in the file", stream.widened);
    if (!stream.note.empty())
        printf("\nNote: %s", stream.note.c_str());
    printf("\nEvery buffer read back as the stream's bytes\n\n");
}

// Runs one stream through the component. Returns what is wrong in a few words, or an empty string.
std::string Run(const std::string& path) {
    ByteStream stream;
    std::string offence = ReadByteStream(path, &stream);
    if (!offence.empty())
        return offence;
    std::shared_ptr<C2BlockPool> blocks;
    if (android::GetCodec2BlockPool(C2BlockPool::BASIC_LINEAR, nullptr, &blocks) != C2_OK)
        return "cannot be buffered: there is no block pool";
    LX2LinearBufferPool pool(blocks, kUsage);
    pool.setAlignment(kPageSize);

    printf("%s: %s, %u bytes\n\n", path.c_str(), CodecName(stream.codec), stream.size);
    printf("%5s %8s %9s %7s %7s  %-14s %s\n", "frame", "seconds", "offset", "bytes", "headers",
           "flags", "units");
    Totals totals;
    for (size_t i = 0; i < stream.accessUnits.size(); ++i) {
        const AccessUnit& unit = stream.accessUnits[i];
        const std::shared_ptr<LX2Buffer> buffer = Fill(pool, stream, i);
        if (buffer == nullptr)
            return "cannot be buffered: no memory for access unit " + std::to_string(i);
        const uint32_t headerSize = HeaderSize(stream.codec, *buffer);
        if (!ReadsBackAs(*buffer, stream.bytes.data() + unit.offset, unit.size))
            return "came back from its buffer changed in access unit " + std::to_string(i);
        printf("%5" PRIu64 " %8.3f %9zu %7u %7u  %-14s %s\n", buffer->inputIndex(),
               static_cast<double>(buffer->timestamp()) / 1e6, unit.offset,
               buffer->linear()->size(), headerSize,
               buffer->flags() == 0 ? "" : BufFlag::Str(buffer->flags()).c_str(),
               UnitList(stream.codec, unit).c_str());
        totals.bytes += buffer->linear()->size();
        totals.headerBytes += headerSize;
        totals.keyFrames += unit.keyFrame;
        totals.units += unit.units.size();
        for (const NalUnit& nal : unit.units)
            ++totals.byType[NalTypeName(stream.codec, nal.type)];
    }
    if (totals.bytes != stream.size)
        return "was not cut without a gap";
    PrintTotals(stream, totals);
    return "";
}

}  // namespace
}  // namespace lx2::example

int main(int argc, char** argv) {
    std::vector<std::string> paths(argv + 1, argv + argc);
    if (paths.empty())
        paths = {LX2_SAMPLES_DIR "/avc.264", LX2_SAMPLES_DIR "/hevc.265"};
    int result = 0;
    for (const std::string& path : paths) {
        const std::string offence = lx2::example::Run(path);
        if (offence.empty())
            continue;
        fflush(stdout);
        fprintf(stderr, "%s %s\n", path.c_str(), offence.c_str());
        result = 1;
    }
    return result;
}

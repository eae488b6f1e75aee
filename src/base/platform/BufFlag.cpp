#include <lx2/BufFlag.h>

#include <cinttypes>
#include <cstdio>

namespace lx2 {

namespace {

struct FlagName {
    uint64_t flag;
    const char* name;
};

constexpr FlagName kFlagNames[] = {
    {BufFlag::DROP_FRAME, "DROP_FRAME"},       {BufFlag::END_OF_STREAM, "EOS"},
    {BufFlag::DISCARD_FRAME, "DISCARD_FRAME"}, {BufFlag::INCOMPLETE, "INCOMPLETE"},
    {BufFlag::SYNC_FRAME, "SYNC_FRAME"},       {BufFlag::CORRUPTED, "CORRUPTED"},
    {BufFlag::CODEC_CONFIG, "CODEC_CONFIG"},
};

void Append(std::string* text, const char* name) {
    if (!text->empty())
        *text += '|';
    *text += name;
}

}  // namespace

std::string BufFlag::Str(uint64_t flags) {
    std::string text;
    for (const FlagName& row : kFlagNames) {
        if ((flags & row.flag) != 0)
            Append(&text, row.name);
        flags &= ~row.flag;
    }
    if (flags != 0) {
        char unknown[24];
        snprintf(unknown, sizeof(unknown), "0x%" PRIx64, flags);
        Append(&text, unknown);
    }
    return text.empty() ? "NONE" : text;
}

}  // namespace lx2

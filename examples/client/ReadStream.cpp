#include "ReadStream.h"

#include "../component/ParameterSets.h"
#include "Input.h"

namespace lx2::example {

std::optional<host::TestStream> ReadStream(const std::string& path, size_t most,
                                           std::string* error) {
    const auto input = Input::Open(path, error);
    if (input == nullptr)
        return std::nullopt;
    host::TestStream stream;
    stream.mediaType = input->mediaType();
    while (stream.units.size() < most) {
        const Packet packet = input->read();
        if (packet == nullptr)
            break;
        const auto size = static_cast<uint32_t>(packet->size);
        const uint32_t config =
            stream.units.empty() ? ParameterSetSize(stream.mediaType, packet->data, size) : 0;
        const auto time = static_cast<uint64_t>(packet->pts);
        if (config > 0)
            stream.units.push_back({{packet->data, packet->data + config}, true, false, time});
        stream.units.push_back({{packet->data + config, packet->data + size},
                                false,
                                (packet->flags & AV_PKT_FLAG_KEY) != 0,
                                time});
    }
    return stream;
}

}  // namespace lx2::example

#include <lx2/LX2FileDump.h>

#include "FileDumpImpl.h"

namespace lx2 {

LX2Status LX2FileDump::Create(const std::string& mime, uint32_t id, const std::string& prefix,
                              std::unique_ptr<LX2FileDump>* out, bool forceLinear) {
    if (out == nullptr)
        return LX2_BAD_ARG;
    *out = std::make_unique<LX2FileDump>(mime, id, true, prefix, "", forceLinear);
    return C2_OK;
}

LX2Status LX2FileDump::Create(const std::string& mime, const std::string& path,
                              std::unique_ptr<LX2FileDump>* out) {
    return Create(mime, path, out, false);
}

LX2Status LX2FileDump::Create(const std::string& mime, const std::string& path,
                              std::unique_ptr<LX2FileDump>* out, bool forceLinear) {
    if (out == nullptr)
        return LX2_BAD_ARG;
    *out = std::make_unique<LX2FileDump>(mime, 0, false, "", path, forceLinear);
    return C2_OK;
}

LX2FileDump::LX2FileDump(const std::string& mime, uint32_t id, bool generateName,
                         const std::string& prefix, const std::string& path, bool forceLinear)
    : mImpl(std::make_shared<Impl>(mime, id, generateName, prefix, path, forceLinear)) {}

LX2FileDump::~LX2FileDump() = default;
LX2FileDump::LX2FileDump(LX2FileDump&&) noexcept = default;
LX2FileDump& LX2FileDump::operator=(LX2FileDump&&) noexcept = default;

LX2Status LX2FileDump::write(std::shared_ptr<LX2Buffer> buffer) {
    return mImpl != nullptr ? mImpl->write(buffer) : LX2Status{C2_NO_INIT};
}

LX2Status LX2FileDump::write(std::shared_ptr<C2Buffer> buffer) {
    return mImpl != nullptr ? mImpl->write(buffer) : LX2Status{C2_NO_INIT};
}

std::string LX2FileDump::path() const {
    return mImpl != nullptr ? mImpl->filePath() : "";
}

}  // namespace lx2

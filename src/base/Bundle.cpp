#include <lx2/Bundle.h>
#include <lx2/Log.h>

namespace lx2 {

namespace {
constexpr LogModule kLog = kBufferLog;
}

void Bundle::LogEmplaceFailure(const std::string& key) {
    LX2_LOGE("failed to emplace : %s", key.c_str());
}

}  // namespace lx2

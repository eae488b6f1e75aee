#include <lx2/LX2GrallocBuffer.h>

#include "GrallocLog.h"

namespace lx2 {

// There is no display-metadata library to ask yet.

LX2Status LX2GrallocBuffer::getMetadata(const std::vector<C2Param::Type>&,
                                        std::vector<std::unique_ptr<C2Param>>*) {
    LX2_LOGW("interface getMetadata in invalid");
    return LX2_ERROR;
}

LX2Status LX2GrallocBuffer::getMetadata(std::vector<std::unique_ptr<C2Param>>*,
                                        std::vector<std::unique_ptr<C2Param>>*) {
    LX2_LOGW("interface getMetadata in invalid");
    return LX2_ERROR;
}

LX2Status LX2GrallocBuffer::setMetadata(const std::vector<std::shared_ptr<C2Info>>&) {
    LX2_LOGW("interface setMetadata in invalid");
    return LX2_ERROR;
}

}  // namespace lx2

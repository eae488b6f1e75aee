#include <lx2/Log.h>

namespace lx2 {

uint32_t gC2LogLevel = 0;
uint32_t gC2FileLogLevel = 0;

}  // namespace lx2

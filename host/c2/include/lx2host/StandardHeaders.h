// The published Codec 2.0 headers leave the standard headers that they use to whoever includes
// them. The stand-ins are kinder, unless this is said: so the library's sources show that they
// don't lean on it.
#pragma once

#ifndef LX2_HOST_BARE_C2_HEADERS
#include <cstring>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>
#endif

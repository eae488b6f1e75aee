// The standard headers that the platform's published Codec 2.0 headers use and leave to whoever
// includes them. Comes before any of those.
#pragma once

#include <cstring>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

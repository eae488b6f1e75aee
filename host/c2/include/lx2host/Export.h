// What liblx2host.so shows.
#pragma once

#define LX2_HOST_API __attribute__((visibility("default")))

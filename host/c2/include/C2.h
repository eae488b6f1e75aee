// Stand-in for the Codec 2.0 support library's <C2.h>: status codes and text.
#pragma once

#include <errno.h>
#include <lx2host/StandardHeaders.h>

enum c2_status_t : int {
    C2_OK = 0,
    C2_BAD_VALUE = EINVAL,
    C2_BAD_INDEX = ENXIO,
    C2_CANNOT_DO = ENOTSUP,
    C2_DUPLICATE = EEXIST,
    C2_NOT_FOUND = ENOENT,
    C2_BAD_STATE = EPERM,
    C2_BLOCKING = EWOULDBLOCK,
    C2_CANCELED = EINTR,
    C2_NO_MEMORY = ENOMEM,
    C2_REFUSED = EACCES,
    C2_TIMED_OUT = ETIMEDOUT,
    C2_OMITTED = ENOSYS,
    C2_CORRUPTED = EFAULT,
    C2_NO_INIT = ENODEV,
};

using C2String = std::string;

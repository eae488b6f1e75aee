#include <cutils/native_handle.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

bool IsRecord(const native_handle_t* handle) {
    return handle != nullptr && handle->version == static_cast<int>(sizeof(native_handle_t));
}

}  // namespace

native_handle_t* native_handle_create(int numFds, int numInts) {
    if (numFds < 0 || numInts < 0 || numFds > NATIVE_HANDLE_MAX_FDS ||
        numInts > NATIVE_HANDLE_MAX_INTS)
        return nullptr;
    const size_t size =
        sizeof(native_handle_t) + static_cast<size_t>(numFds + numInts) * sizeof(int);
    auto* handle = static_cast<native_handle_t*>(calloc(1, size));
    if (handle != nullptr) {
        handle->version = sizeof(native_handle_t);
        handle->numFds = numFds;
        handle->numInts = numInts;
    }
    return handle;
}

native_handle_t* native_handle_clone(const native_handle_t* handle) {
    if (!IsRecord(handle))
        return nullptr;
    native_handle_t* copy = native_handle_create(handle->numFds, handle->numInts);
    if (copy == nullptr)
        return nullptr;
    for (int i = 0; i < handle->numFds; ++i) {
        copy->data[i] = fcntl(handle->data[i], F_DUPFD_CLOEXEC, 0);
        if (copy->data[i] < 0) {
            copy->numFds = i;
            native_handle_close(copy);
            native_handle_delete(copy);
            return nullptr;
        }
    }
    memcpy(&copy->data[copy->numFds], &handle->data[handle->numFds],
           static_cast<size_t>(handle->numInts) * sizeof(int));
    return copy;
}

int native_handle_close(const native_handle_t* h) {
    if (!IsRecord(h))
        return -EINVAL;
    for (int i = 0; i < h->numFds; ++i)
        close(h->data[i]);
    return 0;
}

int native_handle_delete(native_handle_t* h) {
    if (!IsRecord(h))
        return -EINVAL;
    free(h);
    return 0;
}

// Stand-in for libcutils' native handles, with the platform's layout: a header of three words, then
// the descriptors, then the integers.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

#define LX2_HOST_EXPORT __attribute__((visibility("default")))

typedef struct native_handle {
    int version;  // sizeof(native_handle_t)
    int numFds;
    int numInts;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
    int data[0];  // numFds descriptors, then numInts integers
#pragma GCC diagnostic pop
} native_handle_t;

#define NATIVE_HANDLE_MAX_FDS 1024
#define NATIVE_HANDLE_MAX_INTS 1024

// A zeroed record with room for the given counts; null when a count is out of range.
LX2_HOST_EXPORT native_handle_t* native_handle_create(int numFds, int numInts);

// A copy with duplicated descriptors; null on failure.
LX2_HOST_EXPORT native_handle_t* native_handle_clone(const native_handle_t* handle);

// Closes the descriptors; the record stays. 0, or -22 for a record that is none.
LX2_HOST_EXPORT int native_handle_close(const native_handle_t* h);

// Frees the record; the descriptors stay open. 0, or -22 for a record that is none.
LX2_HOST_EXPORT int native_handle_delete(native_handle_t* h);

#ifdef __cplusplus
}
#endif

// Bundles of descriptors.
#include <cutils/native_handle.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

native_handle_t* native_handle_create(int numFds, int numInts) {
    if (numFds < 0 || numInts < 0 || numFds > NATIVE_HANDLE_MAX_FDS ||
        numInts > NATIVE_HANDLE_MAX_INTS) {
        errno = EINVAL;
        return nullptr;
    }
    const size_t size =
        sizeof(native_handle_t) + sizeof(int) * static_cast<size_t>(numFds + numInts);
    auto* handle = static_cast<native_handle_t*>(calloc(1, size));
    if (handle == nullptr) return nullptr;
    handle->version = sizeof(native_handle_t);
    handle->numFds = numFds;
    handle->numInts = numInts;
    return handle;
}

native_handle_t* native_handle_clone(const native_handle_t* handle) {
    if (handle == nullptr || handle->version != sizeof(native_handle_t)) {
        errno = EINVAL;
        return nullptr;
    }
    native_handle_t* clone = native_handle_create(handle->numFds, handle->numInts);
    if (clone == nullptr) return nullptr;
    for (int i = 0; i < handle->numFds; ++i) {
        clone->data[i] = fcntl(handle->data[i], F_DUPFD_CLOEXEC, 0);
        if (clone->data[i] < 0) {
            const int error = errno;
            clone->numFds = i;
            native_handle_close(clone);
            native_handle_delete(clone);
            errno = error;
            return nullptr;
        }
    }
    memcpy(clone->data + handle->numFds, handle->data + handle->numFds,
           sizeof(int) * static_cast<size_t>(handle->numInts));
    return clone;
}

int native_handle_close(const native_handle_t* handle) {
    if (handle == nullptr || handle->version != sizeof(native_handle_t)) return -EINVAL;
    for (int i = 0; i < handle->numFds; ++i) close(handle->data[i]);
    return 0;
}

int native_handle_delete(native_handle_t* handle) {
    if (handle == nullptr || handle->version != sizeof(native_handle_t)) return -EINVAL;
    free(handle);
    return 0;
}

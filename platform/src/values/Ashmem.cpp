// Shared memory on sealed memfds.
#include <cutils/ashmem.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

int ashmem_create_region(const char* name, size_t size) {
    if (size == 0 || size > INT_MAX) {
        errno = EINVAL;
        return -1;
    }
    const int fd = memfd_create(name == nullptr ? "ashmem" : name, MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (fd < 0) return -1;
    if (ftruncate(fd, static_cast<off_t>(size)) != 0 ||
        fcntl(fd, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0) {
        const int error = errno;
        close(fd);
        errno = error;
        return -1;
    }
    return fd;
}

int ashmem_valid(int fd) {
    const int seals = fcntl(fd, F_GET_SEALS);
    if (seals < 0 || (seals & F_SEAL_SHRINK) == 0) return 0;
    // Huge pages can only be mapped as a whole.
    struct statfs system {};
    return fstatfs(fd, &system) == 0 && system.f_type != HUGETLBFS_MAGIC ? 1 : 0;
}

int ashmem_get_size_region(int fd) {
    struct stat status {};
    if (ashmem_valid(fd) == 0 || fstat(fd, &status) != 0) {
        errno = ENOTTY;
        return -1;
    }
    if (status.st_size > INT_MAX) {
        errno = EOVERFLOW;
        return -1;
    }
    return static_cast<int>(status.st_size);
}

#include "platform/wayland/WaylandMemory.h"

#include "core/FileDescriptor.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

namespace companion {
namespace {

constexpr int kLongestSide = 1 << 15; // Device pixels.

// Room that is reserved now: a full memory is told here, and not by a signal when it is written to.
bool reserve(int file, std::size_t bytes) {
    int failed = 0;
    do {
        failed = posix_fallocate(file, 0, static_cast<off_t>(bytes));
    } while (failed == EINTR);
    if (failed != EINVAL && failed != EOPNOTSUPP)
        return failed == 0;
    return ftruncate(file, static_cast<off_t>(bytes)) == 0;
}

} // namespace

std::unique_ptr<WaylandMemory> WaylandMemory::make(wl_shm *shm, const QSize &size, int stride,
                                                   std::uint32_t format) {
    if (size.isEmpty() || size.width() > kLongestSide || size.height() > kLongestSide ||
        stride / 4 < size.width())
        return nullptr;
    const std::size_t bytes = static_cast<std::size_t>(stride) * static_cast<std::size_t>(size.height());
    const FileDescriptor file(memfd_create("overlay", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (bytes > INT32_MAX || !file || !reserve(file.get(), bytes))
        return nullptr;
    void *data = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (data == MAP_FAILED)
        return nullptr;
    std::unique_ptr<WaylandMemory> memory(
        new WaylandMemory({static_cast<std::byte *>(data), bytes}, size, stride));
    const WaylandPtr<wl_shm_pool> pool(wl_shm_create_pool(shm, file.get(), static_cast<std::int32_t>(bytes)));
    memory->m_buffer.reset(
        wl_shm_pool_create_buffer(pool.get(), 0, size.width(), size.height(), stride, format));
    return memory;
}

WaylandMemory::~WaylandMemory() {
    munmap(m_bytes.data(), m_bytes.size());
}

} // namespace companion

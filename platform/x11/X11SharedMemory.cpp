#include "platform/x11/X11SharedMemory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace companion {

std::shared_ptr<X11SharedMemory> X11SharedMemory::create(const X11Connection &connection, std::size_t size) {
    if (!connection.extensions().sharedMemory || size == 0)
        return nullptr;
    const int file = memfd_create("presenter-companion", MFD_CLOEXEC);
    if (file < 0)
        return nullptr;
    void *data = MAP_FAILED;
    if (ftruncate(file, static_cast<off_t>(size)) == 0)
        data = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (data == MAP_FAILED) {
        close(file);
        return nullptr;
    }
    auto *xcb = connection.xcb();
    const auto id = xcb_generate_id(xcb);
    // Sending the descriptor closes ours.
    const X11Reply<xcb_generic_error_t> refused(
        xcb_request_check(xcb, xcb_shm_attach_fd_checked(xcb, id, file, 0)));
    if (refused) {
        munmap(data, size);
        return nullptr;
    }
    return std::shared_ptr<X11SharedMemory>(
        new X11SharedMemory(connection.shared(), id, static_cast<std::byte *>(data), size));
}

X11SharedMemory::~X11SharedMemory() {
    xcb_shm_detach(m_xcb.get(), m_id);
    xcb_flush(m_xcb.get());
    munmap(m_data, m_size);
}

} // namespace companion

// The panel's framebuffer: a file, mapped like the device.
#include "panel_file.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace sim {
namespace {

static_assert(std::endian::native == std::endian::little);

// Swaps red and blue of each pixel; by whole words, which the compiler can vectorise.
void copy_line(const std::uint8_t* from, std::uint8_t* to, std::size_t pixels) {
    for (std::size_t i = 0; i < pixels; ++i) {
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, from + i * PANEL_PIXEL_BYTES, sizeof pixel);
        pixel = (pixel & 0xff00ff00U) | ((pixel & 0xffU) << 16U) | ((pixel >> 16U) & 0xffU);
        std::memcpy(to + i * PANEL_PIXEL_BYTES, &pixel, sizeof pixel);
    }
}

// Start of a side in the picture and on the panel, and its visible length.
struct span_on_panel {
    int from;
    int to;
    int length;
};

span_on_panel place(int picture, int panel) {
    const int length = std::min(picture, panel);
    return {(picture - length) / 2, (panel - length) / 2, length};
}

} // namespace

bool panel_file::open(const std::string& path) {
    close();
    fd_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (fd_ < 0) {
        return false;
    }
    if (!ensure_size()) {
        close();
        return false;
    }
    void* const mapping = mmap(nullptr, PANEL_BYTES, PROT_READ | PROT_WRITE, MAP_SHARED, fd_, 0);
    if (mapping == MAP_FAILED) {
        close();
        return false;
    }
    mapping_ = static_cast<std::uint8_t*>(mapping);
    return true;
}

void panel_file::close() {
    if (mapping_ != nullptr) {
        munmap(mapping_, PANEL_BYTES);
        mapping_ = nullptr;
    }
    if (fd_ >= 0) {
        ::close(fd_);
        fd_ = -1;
    }
}

// Waits for readers, but with a time limit: a reader stopped while holding the lock would keep the
// pipe from ending.
bool panel_file::lock() const {
    using namespace std::chrono_literals;
    for (int tries = 0; tries < 20; ++tries) {
        if (flock(fd_, LOCK_EX | LOCK_NB) == 0) {
            return true;
        }
        std::this_thread::sleep_for(1ms);
    }
    return false;
}

// Restores the size of an ordinary file that was truncated: writing to the mapping beyond the end
// would kill the process.
bool panel_file::ensure_size() const {
    struct stat status {};
    if (fstat(fd_, &status) != 0) {
        return false;
    }
    return !S_ISREG(status.st_mode) || status.st_size == static_cast<off_t>(PANEL_BYTES) ||
           ftruncate(fd_, static_cast<off_t>(PANEL_BYTES)) == 0;
}

bool panel_file::show(const rgba_picture& picture) {
    const span_on_panel across = place(picture.width, PANEL_WIDTH);
    const span_on_panel down = place(picture.height, PANEL_HEIGHT);
    if (!lock()) {
        return false;
    }
    const bool whole = ensure_size();
    for (int line = 0; whole && line < down.length; ++line) {
        const std::ptrdiff_t from = std::ptrdiff_t{down.from + line} * picture.stride +
                                    std::ptrdiff_t{across.from} * PANEL_PIXEL_BYTES;
        const std::ptrdiff_t to =
            (std::ptrdiff_t{down.to + line} * PANEL_WIDTH + across.to) * PANEL_PIXEL_BYTES;
        copy_line(picture.pixels + from, mapping_ + to, static_cast<std::size_t>(across.length));
    }
    flock(fd_, LOCK_UN);
    // Writing through a mapping causes no event; touch the file for those who watch it.
    futimens(fd_, nullptr);
    return whole;
}

} // namespace sim

// Reads the simulated panel's framebuffer file.
#include "panel_reader.h"

#include "util/fd_owned.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

bool read_panel(const char* path, std::span<std::uint8_t> pixels) {
    const fd_owned panel(open(path, O_RDONLY | O_CLOEXEC));
    if (!panel || flock(panel.get(), LOCK_SH) != 0) {
        return false;
    }
    return pread(panel.get(), pixels.data(), pixels.size(), 0) ==
           static_cast<ssize_t>(pixels.size());
}

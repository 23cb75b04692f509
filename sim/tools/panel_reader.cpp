// Reads the simulated panel's framebuffer file.
#include "panel_reader.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

bool read_panel(const char* path, std::span<std::uint8_t> pixels) {
    const int panel = open(path, O_RDONLY | O_CLOEXEC);
    if (panel < 0) {
        return false;
    }
    const ssize_t count =
        flock(panel, LOCK_SH) == 0 ? pread(panel, pixels.data(), pixels.size(), 0) : -1;
    close(panel);
    return count == static_cast<ssize_t>(pixels.size());
}

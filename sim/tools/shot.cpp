// Takes a picture of the simulated panel: its framebuffer file as PNG.
#include <QFile>
#include <QImage>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <unistd.h>
#include <vector>

namespace {

// The panel: 32 bits a pixel, blue first in memory, as framebuffers have them.
constexpr int PANEL_WIDTH = 1024;
constexpr int PANEL_HEIGHT = 768;
constexpr std::size_t PANEL_BYTES = std::size_t{PANEL_WIDTH} * PANEL_HEIGHT * 4;

// The whole picture, never one that is half rewritten: the writer locks the file for each frame.
bool read_panel(const char* path, std::vector<uchar>& pixels) {
    const int panel = open(path, O_RDONLY | O_CLOEXEC);
    if (panel < 0 || flock(panel, LOCK_SH) != 0) {
        return false;
    }
    const ssize_t count = pread(panel, pixels.data(), pixels.size(), 0);
    close(panel);
    return count == static_cast<ssize_t>(pixels.size());
}

} // namespace

int main(int argc, char* argv[]) {
    if (argc != 3) {
        std::fputs("usage: vtrdc-sim-shot FRAMEBUFFER FILE.png\n", stderr);
        return 2;
    }
    std::vector<uchar> pixels(PANEL_BYTES);
    if (!read_panel(argv[1], pixels)) {
        std::fprintf(stderr, "shot: %s holds no picture of the panel\n", argv[1]);
        return 1;
    }
    const QImage image{pixels.data(), PANEL_WIDTH, PANEL_HEIGHT, QImage::Format_RGB32};
    // Always PNG, whatever the name ends in.
    if (!image.save(QFile::decodeName(argv[2]), "PNG")) {
        std::fprintf(stderr, "shot: can't write %s\n", argv[2]);
        return 1;
    }
    return 0;
}

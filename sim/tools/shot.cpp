// Saves the simulated panel's picture, a framebuffer file, as PNG.
#include "panel_reader.h"

#include <QFile>
#include <QImage>
#include <cstdio>
#include <vector>

int main(int argc, char* argv[]) {
    if (argc != 3) {
        std::fputs("usage: vtrdc-sim-shot FRAMEBUFFER FILE.png\n", stderr);
        return 2;
    }
    std::vector<std::uint8_t> pixels(sim::PANEL_BYTES);
    if (!read_panel(argv[1], pixels)) {
        std::fprintf(stderr, "shot: %s has no picture of the panel\n", argv[1]);
        return 1;
    }
    const QImage image{pixels.data(), sim::PANEL_WIDTH, sim::PANEL_HEIGHT, QImage::Format_RGB32};
    // Always PNG, whatever the file name's extension.
    if (!image.save(QFile::decodeName(argv[2]), "PNG")) {
        std::fprintf(stderr, "shot: can't write %s\n", argv[2]);
        return 1;
    }
    return 0;
}

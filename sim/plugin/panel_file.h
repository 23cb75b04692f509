// The panel's framebuffer: a file, mapped as a program would map the device.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace sim {

inline constexpr int PANEL_WIDTH = 1024;
inline constexpr int PANEL_HEIGHT = 768;
inline constexpr int PANEL_PIXEL_BYTES = 4; // blue, green, red and one unused, in memory order
inline constexpr std::size_t PANEL_BYTES =
    std::size_t{PANEL_WIDTH} * PANEL_HEIGHT * PANEL_PIXEL_BYTES;

// A borrowed picture with red, green, blue and one more byte a pixel.
struct rgba_picture {
    const std::uint8_t* pixels;
    int width;
    int height;
    int stride; // bytes from line to line
};

class panel_file {
public:
    panel_file() = default;
    panel_file(const panel_file&) = delete;
    panel_file& operator=(const panel_file&) = delete;
    ~panel_file() { close(); }

    // Maps the file, which gets the panel's size if it is an ordinary one. False with errno set.
    [[nodiscard]] bool open(const std::string& path);
    void close();

    // Replaces what the panel shows; a picture of another size is centred or cropped. The file is
    // locked meanwhile (flock), so that who reads it under a shared lock sees whole pictures. False
    // when the picture was left out: a reader held the lock too long, or the file can't be kept at
    // the panel's size.
    bool show(const rgba_picture& picture);

private:
    [[nodiscard]] bool lock() const;
    [[nodiscard]] bool ensure_size() const;

    int fd_ = -1;
    std::uint8_t* mapping_ = nullptr;
};

} // namespace sim

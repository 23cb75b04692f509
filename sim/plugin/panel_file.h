// The panel's framebuffer: a file, mapped like the device.
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

// A borrowed picture: red, green, blue and an unused byte per pixel.
struct rgba_picture {
    const std::uint8_t* pixels;
    int width;
    int height;
    int stride; // bytes per line
};

class panel_file {
public:
    panel_file() = default;
    panel_file(const panel_file&) = delete;
    panel_file& operator=(const panel_file&) = delete;
    ~panel_file() { close(); }

    // Maps the file and gives an ordinary file the panel's size. Returns false with errno set on
    // failure.
    [[nodiscard]] bool open(const std::string& path);
    void close();

    // Shows a picture, centring or cropping other sizes. Locks the file meanwhile (flock), so that
    // readers with a shared lock see complete pictures. Returns false if the picture was dropped: a
    // reader held the lock too long, or the file can't be kept at the panel's size.
    bool show(const rgba_picture& picture);

private:
    [[nodiscard]] bool lock() const;
    [[nodiscard]] bool ensure_size() const;

    int fd_ = -1;
    std::uint8_t* mapping_ = nullptr;
};

} // namespace sim

// A picture of the panel, to examine pixels and areas.
#pragma once

#include <QImage>
#include <filesystem>

struct area {
    int x;
    int y;
    int width;
    int height;
};

// Centre of the pixels of a kind, in continuous coordinates, and their number.
struct spot {
    double x = 0.0;
    double y = 0.0;
    int pixels = 0;
};

class picture {
public:
    explicit picture(const std::filesystem::path& file);

    [[nodiscard]] int width() const { return image_.width(); }
    [[nodiscard]] int height() const { return image_.height(); }

    // Mean grey value 0..255 of an area, and its variation.
    [[nodiscard]] double mean(const area& where) const;
    [[nodiscard]] double deviation(const area& where) const;

    // Number of clearly red pixels in an area, as in the red dot.
    [[nodiscard]] int red_pixels(const area& where) const;

    // Centre of the clearly red pixels, and of those brighter than half.
    [[nodiscard]] spot red_spot(const area& where) const;
    [[nodiscard]] spot bright_spot(const area& where) const;

    // Mean absolute difference of grey values from a picture of the same size.
    [[nodiscard]] double difference(const picture& other) const;

private:
    QImage image_;
};

// A picture of the panel, to examine pixels and areas.
#include "support/picture.h"

#include <cmath>

namespace {

// Calls `look` for each pixel of the area.
template <class Look> void for_each_pixel(const QImage& image, const area& where, Look look) {
    for (int y = where.y; y < where.y + where.height; ++y) {
        for (int x = where.x; x < where.x + where.width; ++x) {
            look(image.pixel(x, y));
        }
    }
}

// The centre of the pixels of a kind.
template <class Kind> spot find_spot(const QImage& image, const area& where, Kind is_of_kind) {
    spot found;
    for (int y = where.y; y < where.y + where.height; ++y) {
        for (int x = where.x; x < where.x + where.width; ++x) {
            if (is_of_kind(image.pixel(x, y))) {
                found = {found.x + x + 0.5, found.y + y + 0.5, found.pixels + 1};
            }
        }
    }
    const int count = found.pixels > 0 ? found.pixels : 1;
    return {found.x / count, found.y / count, found.pixels};
}

} // namespace

picture::picture(const std::filesystem::path& file) : image_{QString::fromStdString(file)} {}

double picture::mean(const area& where) const {
    double sum = 0.0;
    for_each_pixel(image_, where, [&sum](QRgb pixel) { sum += qGray(pixel); });
    return sum / (where.width * where.height);
}

double picture::deviation(const area& where) const {
    const double middle = mean(where);
    double sum = 0.0;
    for_each_pixel(image_, where, [&](QRgb pixel) { sum += std::pow(qGray(pixel) - middle, 2.0); });
    return std::sqrt(sum / (where.width * where.height));
}

int picture::red_pixels(const area& where) const {
    return red_spot(where).pixels;
}

spot picture::red_spot(const area& where) const {
    return find_spot(image_, where, [](QRgb pixel) {
        return qRed(pixel) > 150 && qGreen(pixel) < 90 && qBlue(pixel) < 90;
    });
}

spot picture::bright_spot(const area& where) const {
    return find_spot(image_, where, [](QRgb pixel) { return qGray(pixel) > 128; });
}

double picture::difference(const picture& other) const {
    double sum = 0.0;
    for (int y = 0; y < height(); ++y) {
        for (int x = 0; x < width(); ++x) {
            sum += std::abs(qGray(image_.pixel(x, y)) - qGray(other.image_.pixel(x, y)));
        }
    }
    return sum / (width() * height());
}

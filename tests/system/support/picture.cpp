// A picture of the panel, for looking at single pixels and areas.
#include "support/picture.h"

#include <cmath>

namespace {

// Calls `look` with each pixel of the area.
template <class Look> void for_each_pixel(const QImage& image, const area& where, Look look) {
    for (int y = where.y; y < where.y + where.height; ++y) {
        for (int x = where.x; x < where.x + where.width; ++x) {
            look(image.pixel(x, y));
        }
    }
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
    int count = 0;
    for_each_pixel(image_, where, [&count](QRgb pixel) {
        count += qRed(pixel) > 150 && qGreen(pixel) < 90 && qBlue(pixel) < 90 ? 1 : 0;
    });
    return count;
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

// The thermal core's picture: where a target lands, and what the state files do.
#include "thermal_core.h"

#include "support/temp_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

using sim::core_settings;

namespace {

constexpr int width = sim::SENSOR_WIDTH;
constexpr int height = sim::SENSOR_HEIGHT;

struct picture {
    explicit picture(std::uint8_t level)
        : pixels(static_cast<std::size_t>(width) * height, level) {}
    std::uint8_t& at(int x, int y) {
        return pixels[static_cast<std::size_t>(y) * width + static_cast<std::size_t>(x)];
    }
    [[nodiscard]] sim::grey_view view() const { return {pixels.data(), width, width, height}; }
    sim::grey_target target() { return {pixels.data(), width, width, height}; }
    std::vector<std::uint8_t> pixels;
};

picture drawn(const core_settings& settings, const picture& sensor) {
    picture result(77);
    sim::draw_core_picture(settings, sensor.view(), result.target());
    return result;
}

// A lit pixel seen through bilinear scaling, by how far the sample is off its centre.
std::uint8_t lit(double off_x, double off_y) {
    return static_cast<std::uint8_t>(std::lround(255 * (1 - off_x) * (1 - off_y)));
}

struct zoom_case {
    double zoom;
    int x, y;            // origin, and the lit pixel
    int at_x, at_y;      // a picture pixel that shows part of it
    double off_x, off_y; // that pixel's centre from the lit one's, in sensor pixels
};

TEST(ThermalCore, ZoomKeepsTheOriginInPlace) {
    const zoom_case cases[] = {
        {1, 435, 355, 435, 355, 0, 0},
        {2, 300, 200, 300, 200, 0.25, 0.25},
        {2, 300, 200, 301, 200, 0.25, 0.25},
        // 435 - trunc(435 / 2) = 218, so pixel 435 begins at (435 - 218) * 2 = 434.
        {2, 435, 355, 434, 354, 0.25, 0.25},
        {4, 300, 200, 301, 202, 0.125, 0.125},
        {4, 300, 200, 300, 203, 0.375, 0.375},
        // 435 - trunc(435 / 4) = 327 and 355 - 88 = 267.
        {4, 435, 355, 433, 355, 0.125, 0.375},
        // Right in the corner.
        {4, 639, 479, 637, 477, 0.125, 0.125},
    };
    for (const zoom_case& one : cases) {
        picture sensor(0);
        sensor.at(one.x, one.y) = 255;
        picture shown = drawn({.zoom = one.zoom,
                               .origin_x = static_cast<double>(one.x),
                               .origin_y = static_cast<double>(one.y)},
                              sensor);
        EXPECT_EQ(shown.at(one.at_x, one.at_y), lit(one.off_x, one.off_y))
            << "zoom " << one.zoom << " at " << one.at_x << ", " << one.at_y;
    }
}

TEST(ThermalCore, EdgePixelsRepeatBeyondTheBorders) {
    picture sensor(10);
    for (int y = 0; y < height; ++y) {
        sensor.at(0, y) = 200;
        sensor.at(width - 1, y) = 100;
    }
    picture left = drawn({.zoom = 2, .origin_x = -5000, .origin_y = -5000}, sensor);
    EXPECT_EQ(std::ranges::count(left.pixels, 200), width * height);
    picture right = drawn({.zoom = 2, .origin_x = 9000, .origin_y = 9000}, sensor);
    EXPECT_EQ(std::ranges::count(right.pixels, 100), width * height);
}

TEST(ThermalCore, InsetShowsTheOriginInItsMiddle) {
    picture sensor(0);
    sensor.at(500, 400) = 255;
    picture shown = drawn({.pip = 2, .origin_x = 500, .origin_y = 400}, sensor);
    const int middle_x = sim::INSET_X + sim::INSET_WIDTH / 2;
    const int middle_y = sim::INSET_Y + sim::INSET_HEIGHT / 2;
    EXPECT_EQ(shown.at(middle_x, middle_y), lit(0.25, 0.25));
    EXPECT_EQ(shown.at(middle_x + 1, middle_y + 1), lit(0.25, 0.25));
    EXPECT_EQ(shown.at(middle_x + 3, middle_y), 0);
    EXPECT_EQ(shown.at(500, 400), 255) << "around the inset the picture stays";
    for (const int x : {sim::INSET_X - 1, sim::INSET_X + sim::INSET_WIDTH}) {
        EXPECT_EQ(shown.at(x, middle_y), 255) << "border";
    }
    EXPECT_EQ(shown.at(sim::INSET_X - 4, middle_y), 0);
}

TEST(ThermalCore, StateFilesThatMakeNoSenseAreDefaults) {
    const temp_folder folder;
    const std::string path = folder.path();
    const auto is_default = [&] {
        const core_settings read = sim::read_core_settings(path);
        return read.zoom == 1 && read.pip == 0 && read.origin_x == 320 && read.origin_y == 240;
    };
    EXPECT_TRUE(is_default()) << "no files";
    for (const char* bad : {"", "x", "0", "-3", "nan", "inf", "1e999"}) {
        folder.write("zoom", bad);
        folder.write("origin", bad);
        EXPECT_TRUE(is_default()) << bad;
    }
    for (const char* name : {"zoom", "pip", "origin", "nuc"}) {
        std::filesystem::remove(folder.path() / name);
        std::filesystem::create_directory(folder.path() / name);
    }
    EXPECT_TRUE(is_default()) << "folders";
    for (const char* name : {"zoom", "pip", "origin"}) {
        std::filesystem::remove(folder.path() / name);
    }
    folder.write("zoom", "4\n");
    folder.write("pip", " 2");
    folder.write("origin", "435 355\n");
    const core_settings read = sim::read_core_settings(path);
    EXPECT_EQ(read.zoom, 4);
    EXPECT_EQ(read.pip, 2);
    EXPECT_EQ(read.origin_x, 435);
    EXPECT_EQ(read.origin_y, 355);
}

struct ThermalCoreFolder : testing::Test {
    ThermalCoreFolder() { sensor.at(0, 0) = 255; }
    picture deliver() {
        picture shown(0);
        core.deliver(sensor.view(), frame++, shown.target());
        return shown;
    }
    bool is_uniform() {
        const picture shown = deliver();
        return std::ranges::count(shown.pixels, shown.pixels.front()) == width * height;
    }
    temp_folder folder;
    picture sensor{50};
    sim::thermal_core core{folder.path() / "core"};
    std::uint64_t frame = 0;
};

TEST_F(ThermalCoreFolder, ChangesHoldFromTheNextPictureAlsoInALateFolder) {
    EXPECT_FALSE(is_uniform());
    folder.write("core/zoom", "1");
    folder.write("core/zoom", "2"); // in a folder that was not there
    EXPECT_TRUE(is_uniform()) << "the lit corner is out of view";
    std::filesystem::remove(folder.path() / "core/zoom");
    EXPECT_FALSE(is_uniform());
}

TEST_F(ThermalCoreFolder, EachCorrectionClosesTheShutterForFivePictures) {
    folder.write("core/nuc", "1");
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(is_uniform());
    }
    EXPECT_FALSE(is_uniform());
    folder.write("core/nuc", "1");
    EXPECT_FALSE(is_uniform()) << "the same count again asks for nothing";
    folder.write("core/nuc", "2");
    EXPECT_TRUE(is_uniform());
}

// How much the pixels of a picture differ: their standard deviation.
double deviation(const picture& shown) {
    double sum = 0;
    double squares = 0;
    for (const double level : shown.pixels) {
        sum += level;
        squares += level * level;
    }
    const auto count = static_cast<double>(shown.pixels.size());
    return std::sqrt(squares / count - sum * sum / (count * count));
}

// A core whose sensor is not ideal, before an even scene.
struct ThermalSensor : ThermalCoreFolder {
    ThermalSensor() { sensor = picture(100); }
    void set_sensor(const char* text) const { folder.write("core/sensor", text); }
};

TEST_F(ThermalSensor, SameSeedGivesTheSamePicturesAndAnotherDoesNot) {
    set_sensor("seed 7\nnoise 2\npattern 5\n");
    const std::vector<picture> first{deliver(), deliver(), deliver()};
    EXPECT_NE(first[0].pixels, first[1].pixels) << "noise changes from picture to picture";
    sim::thermal_core again{folder.path() / "core"};
    for (const std::uint64_t number :
         std::initializer_list<std::uint64_t>{2, 0, 1}) { // the number counts, not what came before
        picture shown(0);
        again.deliver(sensor.view(), number, shown.target());
        EXPECT_EQ(shown.pixels, first[number].pixels) << number;
    }
    set_sensor("seed 8\nnoise 2\npattern 5\n");
    frame = 0;
    EXPECT_NE(deliver().pixels, first[0].pixels);
}

TEST_F(ThermalSensor, NoiseAndPatternAreAsStrongAsTheyAreSetAndKeepTheMean) {
    for (const auto& [text, expected] : {std::pair{"noise 3\n", 3.0}, {"pattern 6\n", 6.0}}) {
        set_sensor(text);
        const picture shown = deliver();
        EXPECT_NEAR(deviation(shown), expected, expected / 10) << text;
        EXPECT_NEAR(std::accumulate(shown.pixels.begin(), shown.pixels.end(), 0.0) /
                        static_cast<double>(shown.pixels.size()),
                    100, 0.7)
            << text;
    }
    EXPECT_EQ(deliver().pixels, deliver().pixels) << "a pattern alone stays";
    set_sensor("noise 1e9\npattern -1\nseed x\nshutter 3\nnoise");
    EXPECT_LT(deviation(deliver()), 128);
    std::filesystem::remove(folder.path() / "core/sensor");
    EXPECT_TRUE(is_uniform());
}

TEST_F(ThermalSensor, CorrectionRemovesThePatternAndDriftBringsItBack) {
    set_sensor("noise 0.5\npattern 6\ndrift 2\n");
    EXPECT_GT(deviation(deliver()), 5);
    folder.write("core/nuc", "1");
    for (int i = 0; i < 5; ++i) {
        const picture shutter = deliver();
        EXPECT_NEAR(shutter.pixels[0], 128, 40) << "the shutter, not the scene";
        EXPECT_GT(deviation(shutter), 5) << "as the uncorrected sensor sees it";
    }
    EXPECT_LT(deviation(deliver()), 1);
    frame += sim::SENSOR_RATE; // a second later
    EXPECT_NEAR(deviation(deliver()), 2.1, 0.3);
    frame += std::uint64_t{60} * sim::SENSOR_RATE;
    EXPECT_NEAR(deviation(deliver()), 6, 0.6) << "no more than before";
    // The camera is opened again; the core went on.
    sim::thermal_core again{folder.path() / "core"};
    picture shown(0);
    again.deliver(sensor.view(), 0, shown.target());
    EXPECT_LT(deviation(shown), 1);
}

} // namespace

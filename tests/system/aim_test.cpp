// The aim: at every zoom the red dot stays on the target. This is the sight's purpose.
#include "support/daemon.h"

#include <QImage>
#include <cmath>
#include <fstream>
#include <gtest/gtest.h>

namespace {

struct aim_case {
    int image; // reticle index
    int x;     // target, in thermal pixels
    int y;
};

// Aim points of the drawings, in display pixels from their corner.
constexpr double aim_points[][2] = {
    {185.0, 185.0}, {130.55, 84.55}, {185.55, 140.55}, {130.5, 104.5}, {130.5, 104.5}};

constexpr double display_per_thermal = 1.6;

class AimTest : public testing::TestWithParam<aim_case> {
protected:
    // A cold scene with one hot pixel and its neighbours.
    void place_target() const {
        QImage scene{640, 480, QImage::Format_Grayscale8};
        scene.fill(30);
        for (int y = GetParam().y - 1; y <= GetParam().y + 1; ++y) {
            for (int x = GetParam().x - 1; x <= GetParam().x + 1; ++x) {
                scene.setPixel(x, y, qRgb(255, 255, 255));
            }
        }
        std::filesystem::remove(board_.at("/dev/video0"));
        ASSERT_TRUE(scene.save(QString::fromStdString(board_.at("/dev/video0").string()), "PNG"));
    }

    // Settings that put the aim point on the target's centre.
    void aim() const {
        const auto& center = aim_points[GetParam().image];
        std::ofstream{board_.at("/etc/vtrdc.conf")}
            << "reticle=0\nreticle_source=" << GetParam().image
            << "\norigin_x=" << (GetParam().x + 0.5) * display_per_thermal - center[0]
            << "\norigin_y=" << (GetParam().y + 0.5) * display_per_thermal - center[1] << "\n";
    }

    board board_;
};

constexpr area BELOW_ICONS{0, 90, 1024, 600};

TEST_P(AimTest, DotStaysOnTheTarget) {
    place_target();
    aim();
    vtrdc_daemon daemon{board_};
    ASSERT_TRUE(board_.wait_for_panel([](const picture& panel) {
        return panel.red_pixels(BELOW_ICONS) > 20 && panel.mean(BELOW_ICONS) > 20.0;
    }));
    for (const int zoom : {1, 2, 4}) {
        if (zoom > 1) {
            ASSERT_EQ(daemon.ask("c:kbd_zoom:n:"), "r:kbd_zoom:n:");
        }
        // First only the dot, then only the target: one hides the other.
        spot dot;
        ASSERT_TRUE(board_.wait_for_frames(5));
        ASSERT_TRUE(board_.wait_for_panel([&dot](const picture& panel) {
            dot = panel.red_spot(BELOW_ICONS);
            return dot.pixels > 20;
        }));
        ASSERT_EQ(daemon.ask("c:enable_qml:i:0"), "r:enable_qml:n:");
        spot target;
        ASSERT_TRUE(board_.wait_for_panel([&](const picture& panel) {
            target = panel.bright_spot(BELOW_ICONS);
            return panel.red_pixels(BELOW_ICONS) == 0 && target.pixels > 4 * zoom * zoom;
        }));
        ASSERT_EQ(daemon.ask("c:enable_qml:i:1"), "r:enable_qml:n:");
        const double zoomed_pixel = display_per_thermal * zoom;
        EXPECT_LE(std::abs(dot.x - target.x), zoomed_pixel) << "zoom " << zoom;
        EXPECT_LE(std::abs(dot.y - target.y), zoomed_pixel) << "zoom " << zoom;
    }
    EXPECT_EQ(daemon.stop(), 0);
}

INSTANTIATE_TEST_SUITE_P(Targets, AimTest,
                         testing::Values(aim_case{0, 435, 355}, aim_case{0, 320, 240},
                                         aim_case{1, 401, 292}, aim_case{2, 200, 150},
                                         aim_case{3, 517, 333}, aim_case{4, 121, 99}),
                         [](const testing::TestParamInfo<aim_case>& tested) {
                             return "Image" + std::to_string(tested.param.image) + "At" +
                                    std::to_string(tested.param.x) + "x" +
                                    std::to_string(tested.param.y);
                         });

} // namespace

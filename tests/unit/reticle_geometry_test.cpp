// The reticle's geometry: worked examples to the printed digits, and invariants for any input.
#include "config/cfg.h"
#include "control/reticle_geometry.h"
#include "util/numbers.h"
#include "util/value_tables.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace {

struct worked_case {
    int scale;
    point fine;
    point reticle;
    point red_dot;
    double size;
};

TEST(ReticleGeometry, WorkedValuesOfTheStandardReticle) {
    const worked_case cases[] = {
        {1, {0, 0}, {512, 384}, {697, 569}, 370},
        {2, {-3.6, -1.6}, {323.4, 197.4}, {693.4, 567.4}, 740},
        {4, {-7.8, -3.8}, {-50.8, -174.8}, {689.2, 565.2}, 1480},
    };
    global_config = {};
    for (const worked_case& each : cases) {
        const reticle_geometry geometry = ac_calc_stored_origin(each.scale);
        EXPECT_EQ(geometry.tcore.x, 435);
        EXPECT_EQ(geometry.tcore.y, 355);
        EXPECT_NEAR(geometry.fine.x, each.fine.x, 1e-9) << each.scale;
        EXPECT_NEAR(geometry.fine.y, each.fine.y, 1e-9) << each.scale;
        EXPECT_NEAR(geometry.reticle.x, each.reticle.x, 1e-9) << each.scale;
        EXPECT_NEAR(geometry.reticle.y, each.reticle.y, 1e-9) << each.scale;
        EXPECT_NEAR(geometry.red_dot.x, each.red_dot.x, 1e-9) << each.scale;
        EXPECT_NEAR(geometry.red_dot.y, each.red_dot.y, 1e-9) << each.scale;
        EXPECT_EQ(ac_calc_image_coords(each.scale).x, each.size);
        EXPECT_EQ(ac_calc_image_coords(each.scale).y, each.size);
    }
}

TEST(ReticleGeometry, WorkedValuesOfTheSecondReticle) {
    const reticle_src& image = reticle_srcs[1];
    const reticle_geometry geometry =
        ac_calc_origin(2, {512, 384}, {image.center_x, image.center_y});
    EXPECT_EQ(geometry.tcore.x, 401);
    EXPECT_EQ(geometry.tcore.y, 292);
    EXPECT_NEAR(geometry.fine.x, -3.55, 1e-9);
    EXPECT_NEAR(geometry.fine.y, -0.35, 1e-9);
    global_config.reticle_source = 1;
    EXPECT_EQ(ac_calc_image_coords(2).x, 520);
    EXPECT_EQ(ac_calc_image_coords(2).y, 416);
    global_config = {};
}

TEST(ReticleGeometry, InvariantsHoldForAnyOriginAndImage) {
    std::mt19937 random{20240927};
    std::uniform_real_distribution<double> anywhere{-3000.0, 3000.0};
    for (int round = 0; round < 500; ++round) {
        const point origin{anywhere(random), anywhere(random)};
        const reticle_src& image = reticle_srcs[random() % RETICLE_SRCS_SIZE];
        const point center{image.center_x, image.center_y};
        const reticle_geometry one = ac_calc_origin(1, origin, center);
        EXPECT_EQ(one.red_dot.x, origin.x + center.x);
        EXPECT_NEAR(one.reticle.x, origin.x, 1e-9);
        EXPECT_NEAR(one.reticle.y, origin.y, 1e-9);
        for (const int scale : zoom_values) {
            const reticle_geometry scaled = ac_calc_origin(scale, origin, center);
            EXPECT_EQ(scaled.tcore.x, one.tcore.x);
            EXPECT_EQ(scaled.tcore.y, one.tcore.y);
            // The dot stays on the aim point of the scaled image.
            EXPECT_NEAR(scaled.red_dot.x - scaled.reticle.x, center.x * scale, 1e-6);
            EXPECT_NEAR(scaled.red_dot.y - scaled.reticle.y, center.y * scale, 1e-6);
        }
    }
}

TEST(ReticleGeometry, AcceptsAnyInput) {
    const point center{185.0, 185.0};
    const reticle_geometry off = ac_calc_origin(0, {512, 384}, center);
    EXPECT_EQ(off.tcore.x, 435);
    EXPECT_EQ(off.fine.x, 0.0);
    EXPECT_TRUE(std::isfinite(off.reticle.x) && std::isfinite(off.red_dot.y));
    constexpr double huge = std::numeric_limits<double>::max();
    for (const int scale : {0, 1, 2, 4, -1}) {
        static_cast<void>(ac_calc_origin(scale, {huge, -huge}, center));
    }
    EXPECT_EQ(truncate_to_int(huge), std::numeric_limits<int>::max());
    EXPECT_EQ(truncate_to_int(-huge), std::numeric_limits<int>::min());
    EXPECT_EQ(truncate_to_int(std::nan("")), 0);
    EXPECT_EQ(truncate_to_int(-3.9), -3);
}

} // namespace

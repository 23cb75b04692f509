// The accelerometer, with ordinary files as device and attributes.
#include "core/log.h"
#include "devices/acc.h"
#include "support/temp_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;

namespace {

class AccelerometerTest : public testing::Test {
protected:
    AccelerometerTest() {
        log_open(log_path_.c_str());
        for (const char* file :
             {"scan_elements/in_accel_x_en", "scan_elements/in_accel_y_en",
              "scan_elements/in_accel_z_en", "buffer/enable", "sampling_frequency"}) {
            folder_.write(file, "");
        }
        folder_.write("in_accel_x_scale", "0.009806\n");
    }
    ~AccelerometerTest() override {
        acc_close();
        log_close();
    }

    int open_with(const std::string& samples) {
        return acc_init(folder_.write("device", samples).c_str(), folder_.path().c_str(), 25);
    }
    [[nodiscard]] std::string attribute(const char* name) const {
        return read_text(folder_.path() / name);
    }

    temp_folder folder_;
    std::string log_path_ = folder_.path() / "log";
};

// Three little-endian words.
std::string sample(int x, int y, int z) {
    std::string bytes;
    for (const int word : {x, y, z}) {
        bytes.push_back(static_cast<char>(word & 0xff));
        bytes.push_back(static_cast<char>((word >> 8) & 0xff));
    }
    return bytes;
}

TEST_F(AccelerometerTest, WordsBecomeReadingsAndAngles) {
    ASSERT_GE(open_with(sample(0x0100, 0xff00, 0x4000) + sample(0x4000, 0x7ff0, 0) +
                        sample(0, 0x8000, 0x4000) + "torn"),
              0);
    EXPECT_EQ(attribute("sampling_frequency"), "25");
    EXPECT_EQ(attribute("scan_elements/in_accel_z_en"), "1");
    EXPECT_EQ(attribute("buffer/enable"), "1");
    const auto first = acc_get();
    ASSERT_TRUE(first);
    EXPECT_EQ(first->x_raw, 16);
    EXPECT_EQ(first->y_raw, -16);
    EXPECT_EQ(first->z_raw, 1024);
    EXPECT_NEAR(first->z, 1024 * 0.009806, 1e-9);
    EXPECT_EQ(first->y_tilt_deg, 0); // -0.9 degrees, truncated
    EXPECT_EQ(first->xz_tilt_deg, 0);
    const auto second = acc_get();
    ASSERT_TRUE(second);
    EXPECT_EQ(second->y_tilt_deg, 90); // more than gravity
    EXPECT_EQ(second->xz_tilt_deg, -90);
    const auto third = acc_get();
    ASSERT_TRUE(third);
    EXPECT_EQ(third->y_tilt_deg, -90);
    EXPECT_EQ(third->xz_tilt_deg, 0);
    EXPECT_FALSE(acc_get());
    acc_close();
    EXPECT_EQ(attribute("buffer/enable"), "0");
    EXPECT_EQ(attribute("scan_elements/in_accel_x_en"), "0");
    EXPECT_EQ(conv_to_deg(0.9999), 57);
}

TEST_F(AccelerometerTest, EachFailureClosesTheDeviceWithAWarning) {
    EXPECT_EQ(acc_init("/nonexistent/acc", folder_.path().c_str(), 1), -1);
    EXPECT_THAT(attribute("log"), HasSubstr("[WARN]: Failed to open acc: /nonexistent/acc\n"));
    std::filesystem::remove_all(folder_.path() / "buffer");
    EXPECT_EQ(open_with(sample(1, 2, 3)), -1);
    EXPECT_FALSE(acc_get());
    EXPECT_THAT(attribute("log"), HasSubstr("[WARN]: Failed to write enable to file "
                                            "/buffer/enable\n"));
    EXPECT_EQ(attribute("scan_elements/in_accel_z_en"), "1");
    std::filesystem::remove(folder_.path() / "in_accel_x_scale");
    EXPECT_EQ(open_with(sample(1, 2, 3)), -1);
    EXPECT_FALSE(acc_get());
    const std::string device = folder_.write("device", "");
    EXPECT_EQ(acc_init(device.c_str(), ("/" + std::string(300, 'd')).c_str(), 1), -1);
    EXPECT_FALSE(acc_get());
}

} // namespace

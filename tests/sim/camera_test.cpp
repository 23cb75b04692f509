// The camera's pictures: speed and order of footage, and replacements of the footage.
#include "gst_helpers.h"
#include "pixels.h"
#include "support/temp_folder.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <future>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace {

class CameraTest : public GstTest {
protected:
    [[nodiscard]] static std::string play(const std::string& device) {
        return "imxv4l2videosrc device=" + device +
               " ! appsink name=out sync=false wait-on-eos=false";
    }
    // Writes footage with ten pictures a second, one for each grey level.
    static bool write_footage(const std::string& path, const std::vector<std::uint8_t>& levels,
                              const std::string& container = "avimux", GstClockTime start = 0) {
        test_pipeline writer{"appsrc name=in format=time caps=video/x-raw,format=I420,width=64,"
                             "height=48,framerate=10/1 ! capsfilter ! mux.video_0 " +
                             container + " name=mux ! filesink location=" + path};
        writer.play();
        GstClockTime time = start;
        for (const std::uint8_t level : levels) {
            GstBuffer* const buffer = gst_buffer_new_allocate(nullptr, 64 * 72, nullptr);
            gst_buffer_memset(buffer, 0, level, 64 * 48);
            gst_buffer_memset(buffer, 64 * 48, 128, 64 * 24);
            GST_BUFFER_PTS(buffer) = time;
            GST_BUFFER_DURATION(buffer) = GST_SECOND / 10;
            time += GST_SECOND / 10;
            gst_app_src_push_buffer(GST_APP_SRC(writer["in"]), buffer);
        }
        gst_app_src_end_of_stream(GST_APP_SRC(writer["in"]));
        return writer.wait_for(GST_MESSAGE_EOS) != nullptr;
    }
    // Level of the next picture's first pixel; -1 without one.
    static int next_level(const test_pipeline& camera) {
        const gst_owned<GstSample> sample = camera.pull();
        std::uint8_t level = 0;
        return sample && gst_buffer_extract(gst_sample_get_buffer(sample.get()), 0, &level, 1) == 1
                   ? level
                   : -1;
    }
    // Difference between the darkest and the brightest place of the next picture; -1 without one.
    static int next_contrast(const test_pipeline& camera) {
        const gst_owned<GstSample> sample = camera.pull();
        if (!sample) {
            return -1;
        }
        std::vector<std::uint8_t> luma(std::size_t{sim::SENSOR_WIDTH} * sim::SENSOR_HEIGHT);
        gst_buffer_extract(gst_sample_get_buffer(sample.get()), 0, luma.data(), luma.size());
        const auto [darkest, brightest] = std::ranges::minmax_element(luma);
        return *brightest - *darkest;
    }
    // Atomically points the device to another file.
    void show(const std::string& file) const {
        std::filesystem::create_symlink(file, device + ".new");
        std::filesystem::rename(device + ".new", device);
    }
    temp_folder folder;
    std::string device = folder.path() / "video0";
};

// How many consecutive pictures had a level.
struct run {
    int level;
    int length;
};

TEST_F(CameraTest, PlaysFootageInALoopAtItsOwnSpeed) {
    ASSERT_TRUE(write_footage(device, {40, 80, 120, 160}));
    test_pipeline camera{play(device)};
    camera.play();
    std::vector<run> seen;
    for (int i = 0; seen.size() < 12; ++i) {
        ASSERT_LT(i, 10 * sim::SENSOR_RATE) << "the footage does not go on";
        const int level = next_level(camera);
        if (seen.empty() || seen.back().level != level) {
            seen.push_back({level, 0});
        }
        ++seen.back().length;
    }
    seen.erase(seen.begin()); // before the first decoded picture
    seen.pop_back();          // incomplete at the end of the test
    for (std::size_t i = 1; i < seen.size(); ++i) {
        // Conversion may stretch the range; the order stays, and 40 follows 160.
        EXPECT_TRUE(seen[i].level > seen[i - 1].level || seen[i].level < 60) << "picture " << i;
    }
    std::ranges::nth_element(seen, seen.begin() + 5, {}, &run::length);
    EXPECT_EQ(seen[5].length, 3) << "ten pictures a second, shown thirty times a second";
}

TEST_F(CameraTest, PlaysFootageWithALateFirstStamp) {
    constexpr GstClockTime hour = 3600 * GST_SECOND;
    ASSERT_TRUE(write_footage(device, {40, 40, 200, 200}, "matroskamux", hour));
    test_pipeline camera{play(device)};
    camera.play();
    for (int change = 0; change < 4; ++change) {
        const bool waits_for_bright = change % 2 != 0;
        for (int i = 0; (next_level(camera) > 180) != waits_for_bright; ++i) {
            ASSERT_LT(i, 10 * sim::SENSOR_RATE) << "the footage does not go on";
        }
    }
}

TEST_F(CameraTest, DrawsASceneIfTheDeviceIsNoFile) {
    ASSERT_EQ(mkfifo(device.c_str(), 0600), 0);
    for (const std::string& path : {device, folder.path().string()}) {
        test_pipeline camera{play(path)};
        camera.play();
        EXPECT_GT(next_contrast(camera), 50) << path;
    }
}

// A scene that spans a few hundred of the 65536 counts, as a thermal sensor delivers it.
TEST_F(CameraTest, ShowsFootageOfSixteenBitsWithFullContrast) {
    constexpr std::size_t size = std::size_t{64} * 48;
    std::vector<std::uint16_t> counts(size);
    for (std::size_t i = 0; i < size; ++i) {
        counts[i] = static_cast<std::uint16_t>(20'000 + i % 64 * 5);
    }
    test_pipeline writer{"appsrc name=in format=time caps=video/x-raw,format=GRAY16_LE,width=64,"
                         "height=48,framerate=10/1 ! avenc_ffv1 ! matroskamux ! "
                         "filesink location=" +
                         device};
    writer.play();
    GstBuffer* const buffer =
        gst_buffer_new_memdup(counts.data(), counts.size() * sizeof counts[0]);
    GST_BUFFER_PTS(buffer) = 0;
    gst_app_src_push_buffer(GST_APP_SRC(writer["in"]), buffer);
    gst_app_src_end_of_stream(GST_APP_SRC(writer["in"]));
    ASSERT_TRUE(writer.wait_for(GST_MESSAGE_EOS));
    test_pipeline camera{play(device)};
    camera.play();
    std::vector<std::uint8_t> row(sim::SENSOR_WIDTH);
    do {
        const gst_owned<GstSample> sample = camera.pull();
        ASSERT_TRUE(sample);
        gst_buffer_extract(gst_sample_get_buffer(sample.get()), 0, row.data(), row.size());
    } while (row.front() == row.back()); // before the first picture was decoded
    EXPECT_LT(row.front(), 5);
    EXPECT_GT(row.back(), 250) << "white-hot";
    EXPECT_NEAR(row[sim::SENSOR_WIDTH / 2], 128, 6) << "in proportion";
    EXPECT_TRUE(std::ranges::is_sorted(row));
}

TEST_F(CameraTest, ContinuesWithReplacedFootage) {
    ASSERT_TRUE(write_footage(folder.path() / "dark", {40, 40}));
    ASSERT_TRUE(write_footage(folder.path() / "bright", {200, 200}));
    show("dark");
    test_pipeline camera{play(device)};
    camera.play();
    while (next_level(camera) > 60) {
    }
    show("bright");
    int level = 0;
    while ((level = next_level(camera)) < 180) {
        // Neither an end nor the initial grey.
        ASSERT_TRUE(level >= 0 && level < 60) << level;
    }
    show(folder.write("none", "this is no video"));
    while (next_contrast(camera) < 50) {
        ASSERT_EQ(camera.wait_for(GST_MESSAGE_EOS, 0), nullptr);
    }
    std::filesystem::remove(device);
    EXPECT_TRUE(camera.wait_for(GST_MESSAGE_EOS));
}

// A camera whose driver is controlled by the file beside the device.
class CameraDriverTest : public CameraTest {
protected:
    CameraDriverTest() { folder.write("video0", ""); }
    void drive(const char* mode) const { folder.write("video0.state", mode); }
    // True if pictures come, or none, within one or two.
    static bool comes_to_life(const test_pipeline& camera) { return camera.pull() != nullptr; }
    static bool falls_silent(const test_pipeline& camera) {
        for (int i = 0; i < 5; ++i) {
            if (!gst_owned<GstSample>{
                    gst_app_sink_try_pull_sample(GST_APP_SINK(camera["out"]), 200 * GST_MSECOND)}) {
                return true;
            }
        }
        return false;
    }
};

TEST_F(CameraDriverTest, DeliversNothingWhileSilentOrBlocked) {
    test_pipeline camera{play(device)};
    camera.play();
    for (const char* mode : {"silent", "block\n"}) {
        EXPECT_TRUE(comes_to_life(camera)) << mode;
        drive(mode);
        EXPECT_TRUE(falls_silent(camera)) << mode;
        drive("run");
    }
    EXPECT_TRUE(comes_to_life(camera));
    drive("silent");
    EXPECT_TRUE(falls_silent(camera));
    std::filesystem::remove(device + ".state");
    EXPECT_TRUE(comes_to_life(camera)) << "without a file it runs";
}

TEST_F(CameraDriverTest, SilentCameraEndsOnRequestAndWhenUnplugged) {
    drive("silent");
    for (const bool asked : {true, false}) {
        test_pipeline camera{play(device)};
        camera.play();
        EXPECT_TRUE(falls_silent(camera));
        if (asked) {
            camera.end();
        } else {
            std::filesystem::remove(device);
        }
        EXPECT_TRUE(camera.wait_for(GST_MESSAGE_EOS));
    }
}

TEST_F(CameraDriverTest, BlockedDriverBlocksTheCallerThatEndsIt) {
    test_pipeline camera{play(device)};
    camera.play();
    ASSERT_TRUE(comes_to_life(camera));
    drive("block");
    ASSERT_TRUE(falls_silent(camera));
    std::future<void> asked = std::async(std::launch::async, [&camera] { camera.end(); });
    EXPECT_EQ(asked.wait_for(std::chrono::milliseconds{500}), std::future_status::timeout);
    drive("run");
    EXPECT_EQ(asked.wait_for(std::chrono::seconds{20}), std::future_status::ready);
    EXPECT_TRUE(camera.wait_for(GST_MESSAGE_EOS));
}

TEST_F(CameraDriverTest, OpeningABlockedDriverWaits) {
    drive("block");
    test_pipeline camera{play(device)};
    std::future<void> opened = std::async(std::launch::async, [&camera] { camera.play(); });
    EXPECT_EQ(opened.wait_for(std::chrono::milliseconds{500}), std::future_status::timeout);
    drive("run");
    opened.get();
    EXPECT_TRUE(comes_to_life(camera));
}

} // namespace

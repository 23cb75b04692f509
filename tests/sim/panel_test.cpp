// The panel's file: pictures of other sizes, and misbehaving readers.
#include "gst_helpers.h"
#include "support/temp_folder.h"

#include <array>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/file.h>
#include <unistd.h>

namespace {

constexpr int PANEL_WIDTH = 1024;
constexpr int PANEL_HEIGHT = 768;

class PanelTest : public GstTest {
protected:
    using pixel = std::array<std::uint8_t, 4>;
    static constexpr pixel dark{0, 0, 0, 0};
    static constexpr pixel picture{9, 9, 9, 9};
    static constexpr pixel marked{1, 1, 1, 1};

    // A pipe that shows the test's pictures.
    [[nodiscard]] std::string show(int width, int height) const {
        return "appsrc name=in format=time caps=video/x-raw,format=RGBA,framerate=30/1,width=" +
               std::to_string(width) + ",height=" + std::to_string(height) +
               " ! imxipuvideosink sync=false async=false framebuffer=" + framebuffer;
    }
    // Shows a picture of one level with one marked pixel, and waits until it is on the panel.
    static void show_one(test_pipeline& pipeline, int width, int height, gsize mark = 0) {
        const gsize size = static_cast<gsize>(width) * static_cast<gsize>(height) * 4;
        GstBuffer* const buffer = gst_buffer_new_allocate(nullptr, size, nullptr);
        gst_buffer_memset(buffer, 0, 9, size);
        gst_buffer_memset(buffer, mark * 4, 1, 4);
        pipeline.play();
        gst_app_src_push_buffer(GST_APP_SRC(pipeline["in"]), buffer);
        gst_app_src_end_of_stream(GST_APP_SRC(pipeline["in"]));
        ASSERT_TRUE(pipeline.wait_for(GST_MESSAGE_EOS));
    }
    [[nodiscard]] pixel at(int x, int y) const {
        pixel result{};
        std::ifstream file(framebuffer, std::ios::binary);
        file.seekg((y * PANEL_WIDTH + x) * 4);
        file.read(reinterpret_cast<char*>(result.data()), 4);
        return result;
    }
    temp_folder folder;
    std::string framebuffer = folder.path() / "fb0";
};

TEST_F(PanelTest, CentresSmallPicturesAndCropsLargeOnes) {
    test_pipeline small{show(1000, 700)};
    show_one(small, 1000, 700);
    EXPECT_EQ(at(11, 34), dark);
    EXPECT_EQ(at(12, 34), marked);
    EXPECT_EQ(at(1011, 733), picture);
    EXPECT_EQ(at(1012, 733), dark);

    test_pipeline large{show(1100, 800)};
    show_one(large, 1100, 800, 16 * 1100 + 38);
    EXPECT_EQ(at(0, 0), marked);
    EXPECT_EQ(at(1023, 767), picture);
}

TEST_F(PanelTest, SurvivesReadersThatKeepTheLockOrTruncateTheFile) {
    test_pipeline pipeline{show(PANEL_WIDTH, PANEL_HEIGHT)};
    const int reader = open(framebuffer.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(flock(reader, LOCK_SH), 0);
    show_one(pipeline, PANEL_WIDTH, PANEL_HEIGHT);
    pipeline.stop();
    EXPECT_EQ(at(5, 5), dark) << "a picture was written under a reader";

    flock(reader, LOCK_UN);
    gst_element_set_state(pipeline.get(), GST_STATE_PAUSED);
    ASSERT_EQ(ftruncate(reader, 0), 0);
    show_one(pipeline, PANEL_WIDTH, PANEL_HEIGHT);
    EXPECT_EQ(at(5, 5), picture);
    close(reader);
}

} // namespace

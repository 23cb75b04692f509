// Camera, transform, profiler and panel sink.
#include "gst_helpers.h"
#include "support/temp_folder.h"

#include <algorithm>
#include <fstream>

namespace {

constexpr const char* footage = "/usr/share/doc/opencv-doc/examples/data/vtest.avi";
constexpr std::size_t PANEL_BYTES = std::size_t{1024} * 768 * 4;

class LiveViewElementsTest : public GstTest {
protected:
    // A camera that plays the file into an appsink.
    [[nodiscard]] static std::string camera(const std::string& device) {
        return "imxv4l2videosrc name=camera device=" + device +
               " ! appsink name=out sync=false wait-on-eos=false";
    }
    temp_folder folder_;
};

// Range of a picture's luma.
int luma_range(const gst_owned<GstSample>& sample) {
    GstMapInfo map;
    EXPECT_TRUE(gst_buffer_map(gst_sample_get_buffer(sample.get()), &map, GST_MAP_READ));
    const auto [least, most] = std::minmax_element(map.data, map.data + 640 * 480);
    const int range = *most - *least;
    gst_buffer_unmap(gst_sample_get_buffer(sample.get()), &map);
    return range;
}

TEST_F(LiveViewElementsTest, CameraPacesItsPicturesAndEndsWhenTheCableIsPulled) {
    const std::string device = folder_.path() / "video0";
    std::filesystem::create_symlink(footage, device);
    test_pipeline pipeline{camera(device)};
    pipeline.play();
    GstClockTime previous = GST_CLOCK_TIME_NONE;
    for (int i = 0; i < 10; ++i) {
        const gst_owned<GstSample> sample = pipeline.pull();
        ASSERT_TRUE(sample);
        const GstClockTime pts = GST_BUFFER_PTS(gst_sample_get_buffer(sample.get()));
        if (GST_CLOCK_TIME_IS_VALID(previous)) {
            EXPECT_GE(pts - previous, 33 * GST_MSECOND);
        }
        previous = pts;
    }
    std::filesystem::remove(device);
    EXPECT_TRUE(pipeline.wait_for(GST_MESSAGE_EOS));
}

TEST_F(LiveViewElementsTest, CameraEndsWhenAskedTo) {
    test_pipeline pipeline{camera(folder_.write("video0", "no video"))};
    pipeline.play();
    ASSERT_TRUE(pipeline.pull());
    pipeline.end();
    while (pipeline.pull()) {
    }
    EXPECT_TRUE(pipeline.wait_for(GST_MESSAGE_EOS));
}

TEST_F(LiveViewElementsTest, MissingCameraIsAnError) {
    test_pipeline pipeline{camera("/nonexistent/video0")};
    EXPECT_EQ(pipeline.play(), GST_STATE_CHANGE_FAILURE);
    EXPECT_TRUE(pipeline.wait_for(GST_MESSAGE_ERROR));
}

TEST_F(LiveViewElementsTest, CameraLoopsShortFootageAndDrawsWithoutFootage) {
    const std::string clip = folder_.path() / "clip.avi";
    test_pipeline maker{"videotestsrc num-buffers=3 pattern=smpte ! "
                        "video/x-raw,width=64,height=48,framerate=10/1 ! jpegenc ! avimux ! "
                        "filesink location=" +
                        clip};
    maker.play();
    ASSERT_TRUE(maker.wait_for(GST_MESSAGE_EOS));
    maker.stop();
    for (const std::string& device : {clip, folder_.write("broken", "no video")}) {
        test_pipeline pipeline{camera(device)};
        pipeline.play();
        // The clip ends after nine; before the first is decoded, pictures are grey.
        for (int with_content = 0, all = 0; with_content < 20; ++all) {
            const gst_owned<GstSample> sample = pipeline.pull();
            ASSERT_TRUE(sample && all < 600) << device;
            with_content += luma_range(sample) > 50 ? 1 : 0;
        }
    }
}

TEST_F(LiveViewElementsTest, EndSentToTheTransformItselfGoesDownstream) {
    test_pipeline pipeline{
        "videotestsrc pattern=white ! video/x-raw,format=I420,width=64,height=48,"
        "framerate=30/1 ! imxg2dvideotransform name=g2d ! "
        "video/x-raw,format=RGBA,width=128,height=96,framerate=30/1 ! "
        "queue leaky=2 ! appsink name=out sync=false max-buffers=2"};
    pipeline.play();
    const gst_owned<GstSample> sample = pipeline.pull();
    ASSERT_TRUE(sample);
    EXPECT_EQ(gst_buffer_get_size(gst_sample_get_buffer(sample.get())), 128U * 96U * 4U);
    EXPECT_TRUE(gst_element_send_event(pipeline["g2d"], gst_event_new_eos()));
    while (pipeline.pull()) {
    }
    EXPECT_TRUE(pipeline.wait_for(GST_MESSAGE_EOS));
}

TEST_F(LiveViewElementsTest, PanelHoldsBlueGreenRedInMemory) {
    const std::string panel = folder_.path() / "fb0";
    // Pure red in front.
    test_pipeline pipeline{
        "videotestsrc num-buffers=1 pattern=solid-color foreground-color=0xffff2010 ! "
        "video/x-raw,format=RGBA,width=1024,height=768 ! "
        "imxipuvideosink name=sink use-vsync=true framebuffer=" +
        panel};
    pipeline.play();
    ASSERT_TRUE(pipeline.wait_for(GST_MESSAGE_EOS));
    const std::string pixels = read_text(panel);
    ASSERT_EQ(pixels.size(), PANEL_BYTES);
    for (const std::size_t pixel : {std::size_t{0}, PANEL_BYTES / 2, PANEL_BYTES - 4}) {
        EXPECT_EQ(pixels.substr(pixel, 3), "\x10\x20\xff") << pixel;
    }
    GstSample* last = nullptr;
    g_object_get(pipeline["sink"], "last-sample", &last, nullptr);
    EXPECT_NE(gst_owned<GstSample>{last}, nullptr);
}

TEST_F(LiveViewElementsTest, PanelThatCannotBeOpenedIsAnError) {
    test_pipeline pipeline{"videotestsrc ! video/x-raw,format=RGBA,width=1024,height=768 ! "
                           "imxipuvideosink framebuffer=/nonexistent/fb0"};
    pipeline.play();
    EXPECT_TRUE(pipeline.wait_for(GST_MESSAGE_ERROR));
}

TEST_F(LiveViewElementsTest, PanelIsDrawnAsOftenAsItIsRefreshed) {
    test_pipeline pipeline{"videotestsrc num-buffers=30 ! "
                           "video/x-raw,format=RGBA,width=1024,height=768,framerate=30/1 ! "
                           "imxipuvideosink sync=false use-vsync=true framebuffer=" +
                           (folder_.path() / "fb0").string()};
    const gint64 begin = g_get_monotonic_time();
    pipeline.play();
    ASSERT_TRUE(pipeline.wait_for(GST_MESSAGE_EOS));
    EXPECT_GE(g_get_monotonic_time() - begin, G_USEC_PER_SEC * 28 / 60);
}

TEST_F(LiveViewElementsTest, ProfilerReportsOnceASecondWhateverItsInterval) {
    for (const bool with_load : {false, true}) {
        test_pipeline pipeline{"videotestsrc is-live=true num-buffers=45 ! "
                               "video/x-raw,width=16,height=16,framerate=30/1 ! perf name=perf ! "
                               "fakesink"};
        set(pipeline["perf"], "print-cpu-load", with_load ? "true" : "false");
        pipeline.play();
        int said = 0;
        for (gst_owned<GstMessage> message;
             (message = pipeline.wait_for(
                  static_cast<GstMessageType>(GST_MESSAGE_INFO | GST_MESSAGE_EOS))) &&
             GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_INFO;) {
            gchar* text = nullptr;
            gst_message_parse_info(message.get(), nullptr, &text);
            const g_text owned{text};
            EXPECT_EQ(std::string{text}.find("cpu") != std::string::npos, with_load) << text;
            ++said;
        }
        EXPECT_EQ(said, 2) << "at the start and a second later";
    }
}

} // namespace

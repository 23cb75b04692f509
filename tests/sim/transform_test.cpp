// The 2D unit: conversions, and ends that are sent to it while nothing moves.
#include "gst_helpers.h"

#include <gst/video/video.h>

namespace {

class TransformTest : public GstTest {};

// Caps of this format at the display's size and rate.
std::string for_display(const std::string& from) {
    return "videotestsrc num-buffers=2 pattern=white ! video/x-raw," + from +
           " ! imxg2dvideotransform ! video/x-raw,width=1024,height=768,framerate=30/1,"
           "format=RGBA ! appsink name=out sync=false";
}

TEST_F(TransformTest, ConvertsFormatAndSizeAtOnce) {
    for (const char* from :
         {"format=NV12,width=640,height=480", "format=I420,width=800,height=600",
          "format=RGBA,width=1024,height=768", "format=BGRx,width=333,height=77"}) {
        test_pipeline pipeline{for_display(std::string{from} + ",framerate=30/1")};
        pipeline.play();
        for (int i = 0; i < 2; ++i) {
            const gst_owned<GstSample> sample = pipeline.pull();
            ASSERT_TRUE(sample) << from;
            std::uint8_t level = 0;
            gst_buffer_extract(gst_sample_get_buffer(sample.get()), 0, &level, 1);
            EXPECT_GE(level, 250) << from;
        }
        EXPECT_FALSE(pipeline.pull()) << from;
    }
}

TEST_F(TransformTest, RefusesFormatsThatTheBoardsUnitLacks) {
    for (const char* from : {"format=RGB,width=1024,height=768,framerate=30/1",
                             "format=NV12,width=640,height=480,framerate=25/1"}) {
        EXPECT_TRUE(is_refused(for_display(from))) << from;
    }
}

// A still picture has no clock, and this pipe has none either.
TEST_F(TransformTest, HoldsNothingBack) {
    test_pipeline pipeline{
        "videotestsrc num-buffers=1 ! video/x-raw,format=RGBA,width=16,height=16 ! "
        "imagefreeze num-buffers=3000 ! imxg2dvideotransform ! "
        "video/x-raw,width=32,height=32,framerate=30/1,format=RGBA ! fakesink"};
    pipeline.play();
    EXPECT_TRUE(pipeline.wait_for(GST_MESSAGE_EOS)) << "a hundred seconds' pictures";
}

TEST_F(TransformTest, KeepsWhatNeedNotChange) {
    test_pipeline pipeline{"videotestsrc num-buffers=1 ! "
                           "video/x-raw,format=BGRA,width=640,height=480,framerate=25/1 ! "
                           "imxg2dvideotransform ! video/x-raw,width=320,height=240 ! "
                           "appsink name=out sync=false"};
    pipeline.play();
    const gst_owned<GstSample> sample = pipeline.pull();
    ASSERT_TRUE(sample);
    GstVideoInfo info;
    ASSERT_TRUE(gst_video_info_from_caps(&info, gst_sample_get_caps(sample.get())));
    EXPECT_EQ(GST_VIDEO_INFO_FORMAT(&info), GST_VIDEO_FORMAT_BGRA);
    EXPECT_EQ(GST_VIDEO_INFO_WIDTH(&info), 320);
    EXPECT_EQ(GST_VIDEO_INFO_FPS_N(&info), 25);
}

TEST_F(TransformTest, EndPassesWithNothingUpstream) {
    test_pipeline pipeline{"appsrc ! imxg2dvideotransform name=g2d ! queue ! fakesink async=false"};
    pipeline.play();
    gst_element_send_event(pipeline["g2d"], gst_event_new_eos());
    EXPECT_TRUE(pipeline.wait_for(GST_MESSAGE_EOS));
}

} // namespace

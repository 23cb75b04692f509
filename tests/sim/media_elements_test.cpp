// Stand-ins of the media branches: transform, video and sound encoders, microphone.
#include "gst_helpers.h"

#include <gst/video/video.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace {

class MediaElementsTest : public GstTest {};

constexpr const char* out = " ! appsink name=out sync=false";
constexpr const char* slow_out = " ! appsink name=out sync=false max-buffers=2";

std::string pictures(int count) {
    return "videotestsrc pattern=snow num-buffers=" + std::to_string(count) +
           " ! video/x-raw,width=64,height=48 ! videoscale ! "
           "video/x-raw,format=NV12,width=320,height=240,framerate=30/1 ! ";
}

GstBuffer* buffer_of(const gst_owned<GstSample>& sample) {
    return gst_sample_get_buffer(sample.get());
}

bool is_key(const gst_owned<GstSample>& sample) {
    return !GST_BUFFER_FLAG_IS_SET(buffer_of(sample), GST_BUFFER_FLAG_DELTA_UNIT);
}

template <typename Content> Content content_of(const gst_owned<GstSample>& sample) {
    const gsize bytes = gst_buffer_get_size(buffer_of(sample));
    Content content(bytes / sizeof(content[0]), {});
    gst_buffer_extract(buffer_of(sample), 0, content.data(), bytes);
    return content;
}

// At most `count` samples, all by default.
std::vector<gst_owned<GstSample>> pull_all(const test_pipeline& from,
                                           std::size_t count = SIZE_MAX) {
    std::vector<gst_owned<GstSample>> samples;
    for (gst_owned<GstSample> sample; samples.size() < count && (sample = from.pull());) {
        samples.push_back(std::move(sample));
    }
    return samples;
}

double kilobits_of(const std::vector<gst_owned<GstSample>>& samples) {
    gsize bytes = 0;
    for (const gst_owned<GstSample>& sample : samples) {
        bytes += gst_buffer_get_size(buffer_of(sample));
    }
    return static_cast<double>(bytes) * 8 / 1000;
}

TEST_F(MediaElementsTest, KeyFramesHaveTheConfiguredDistance) {
    struct {
        const char* options;
        guint distance;
    } const cases[] = {{"gop-size=15", 15},
                       {"gop-size=1 idr-interval=120", 1},
                       {"gop-size=30 idr-interval=10", 10},
                       {"gop-size=0", 40}};
    for (const auto& [options, distance] : cases) {
        test_pipeline pipeline{pictures(40) + "imxvpuenc_h264 " + options + out};
        pipeline.play();
        const std::vector<gst_owned<GstSample>> samples = pull_all(pipeline);
        ASSERT_EQ(samples.size(), 40U) << options;
        // Segments don't pass between pipes, so stamps must not depend on them.
        EXPECT_EQ(gst_sample_get_segment(samples[0].get())->start, 0U);
        for (guint i = 0; i < samples.size(); ++i) {
            GstBuffer* const buffer = buffer_of(samples[i]);
            EXPECT_EQ(is_key(samples[i]), i % distance == 0) << options << ", frame " << i;
            EXPECT_NEAR(static_cast<double>(GST_BUFFER_PTS(buffer)), i * 1e9 / 30, 100);
            EXPECT_EQ(GST_BUFFER_DTS(buffer), GST_BUFFER_PTS(buffer));
        }
    }
}

TEST_F(MediaElementsTest, KeyFrameComesOnRequest) {
    test_pipeline pipeline{pictures(60) + "imxvpuenc_h264 gop-size=0" + slow_out};
    pipeline.play();
    ASSERT_TRUE(pipeline.pull());
    gst_element_send_event(
        pipeline["out"], gst_video_event_new_upstream_force_key_unit(GST_CLOCK_TIME_NONE, TRUE, 1));
    EXPECT_EQ(std::ranges::count_if(pull_all(pipeline), is_key), 1);
}

TEST_F(MediaElementsTest, PictureEncoderKeepsToItsBitRateAndToANewOne) {
    test_pipeline pipeline{pictures(240) + "imxvpuenc_h264 name=enc bitrate=800" + slow_out};
    pipeline.play();
    // Skip the first second each time: rate control needs to settle.
    pull_all(pipeline, 30);
    EXPECT_NEAR(kilobits_of(pull_all(pipeline, 90)) / 3, 800, 160);
    g_object_set(pipeline["enc"], "bitrate", 400, nullptr);
    pull_all(pipeline, 30);
    EXPECT_NEAR(kilobits_of(pull_all(pipeline)) / 3, 400, 80);
}

TEST_F(MediaElementsTest, BitRate0IsAConstantQuality) {
    const auto kilobits_with = [](const std::string& options) {
        test_pipeline pipeline{pictures(30) + "imxvpuenc_h264 " + options + out};
        pipeline.play();
        const auto samples = pull_all(pipeline);
        EXPECT_EQ(samples.size(), 30U) << options;
        return kilobits_of(samples);
    };
    // Snow takes as much as it needs.
    EXPECT_GT(kilobits_with("bitrate=0"), 2 * kilobits_with("bitrate=400"));
}

// The board's elements ignore values out of range.
TEST_F(MediaElementsTest, SettingsHaveTheBoardsRange) {
    struct {
        const char* element;
        const char* property;
        gint most;
    } const cases[] = {{"imxvpuenc_h264", "gop-size", 32767},
                       {"imxvpuenc_h264", "me-search-range", 3},
                       {"imxmp3audioenc", "bitrate", 320}};
    for (const auto& [element, property, most] : cases) {
        const auto encoder = own_floating(gst_element_factory_make(element, nullptr));
        GParamSpec* const spec =
            g_object_class_find_property(G_OBJECT_GET_CLASS(encoder.get()), property);
        g_value value{spec->value_type};
        const auto is_taken = [&](gint number) {
            G_VALUE_HOLDS_ENUM(value.get()) ? g_value_set_enum(value.get(), number)
                                            : g_value_set_int(value.get(), number);
            return g_param_value_validate(spec, value.get()) == FALSE;
        };
        EXPECT_TRUE(is_taken(most)) << property;
        EXPECT_FALSE(is_taken(most + 1)) << property;
        EXPECT_FALSE(is_taken(-1)) << property;
    }
}

TEST_F(MediaElementsTest, SearchRangeReachesTheEncoder) {
    test_pipeline pipeline{pictures(1) + "imxvpuenc_h264 me-search-range=1" + out};
    pipeline.play();
    const auto stream = content_of<std::string>(pipeline.pull());
    // x264 writes its configuration into the stream. Other methods don't search that far.
    EXPECT_NE(stream.find("me=umh"), std::string::npos);
    EXPECT_NE(stream.find("me_range=64"), std::string::npos);
}

TEST_F(MediaElementsTest, NoFrameIsLostWhenTheTransformChangesItsFormat) {
    const std::string caps = "video/x-raw,width=1024,height=768,framerate=30/1,format=";
    test_pipeline pipeline{"videotestsrc num-buffers=40 ! " + caps +
                           "RGBA ! imxipuvideotransform ! capsfilter name=caps caps=" + caps +
                           "I420 ! imxvpuenc_h264 ! h264parse ! avdec_h264 ! "
                           "video/x-raw,width=1024,height=768" +
                           slow_out};
    pipeline.play();
    ASSERT_EQ(pull_all(pipeline, 10).size(), 10U);
    set(pipeline["caps"], "caps", caps + "NV12");
    EXPECT_EQ(pull_all(pipeline).size(), 30U);
}

TEST_F(MediaElementsTest, EncoderWithoutItsElementIsAnError) {
    GstRegistry* const registry = gst_registry_get();
    GstPluginFeature* const x264 = gst_registry_lookup_feature(registry, "x264enc");
    ASSERT_NE(x264, nullptr);
    gst_registry_remove_feature(registry, x264);
    {
        test_pipeline pipeline{pictures(1) + "imxvpuenc_h264 bitrate=100" + out};
        EXPECT_EQ(pipeline.play(), GST_STATE_CHANGE_FAILURE);
        EXPECT_TRUE(pipeline.wait_for(GST_MESSAGE_ERROR));
    }
    gst_registry_add_feature(registry, x264);
    gst_object_unref(x264);
}

std::string sound(const std::string& caps) {
    return "audiotestsrc num-buffers=50 samplesperbuffer=960 ! audio/x-raw," + caps +
           " ! imxmp3audioenc bitrate=96 ! mpegaudioparse" + out;
}

TEST_F(MediaElementsTest, SoundIsMp3OfItsBitRate) {
    test_pipeline pipeline{sound("format=S16LE,rate=48000,channels=2")};
    pipeline.play();
    const std::vector<gst_owned<GstSample>> samples = pull_all(pipeline);
    // A frame lasts 24 ms at 48 kHz, so a second has 41 2/3; LAME adds some for its delay.
    const auto frames = static_cast<double>(samples.size());
    EXPECT_NEAR(frames, 43, 1);
    EXPECT_EQ(kilobits_of(samples), frames * 96 * 24 / 1000);
}

TEST_F(MediaElementsTest, UnsupportedSoundIsRefused) {
    for (const char* caps :
         {"format=S16LE,rate=48000,channels=1", "format=S32LE,rate=48000,channels=2",
          "format=S16LE,rate=16000,channels=2"}) {
        EXPECT_TRUE(is_refused(sound(caps))) << caps;
    }
}

TEST_F(MediaElementsTest, MicrophoneHearsASoftToneWithoutGaps) {
    test_pipeline pipeline{std::string{"alsasrc name=mic device=hw:0,0"} + out};
    pipeline.play();
    std::vector<gint16> sound; // left channel
    GstClockTime next = GST_CLOCK_TIME_NONE;
    while (sound.size() < 24000) { // half a second
        const gst_owned<GstSample> sample = pipeline.pull();
        ASSERT_TRUE(sample);
        GstBuffer* const buffer = buffer_of(sample);
        EXPECT_TRUE(sound.empty() || GST_BUFFER_PTS(buffer) == next);
        EXPECT_EQ(GST_BUFFER_OFFSET(buffer), sound.size());
        next = GST_BUFFER_PTS(buffer) + GST_BUFFER_DURATION(buffer);
        // Sound is not delivered before its time.
        EXPECT_LE(next, gst_element_get_current_running_time(pipeline.get()));
        const auto both = content_of<std::vector<gint16>>(sample);
        for (std::size_t i = 0; i < both.size(); i += 2) {
            sound.push_back(both[i]);
            EXPECT_EQ(both[i + 1], both[i]);
        }
    }
    int crossings = 0;
    double power = 0;
    for (std::size_t i = 1; i < sound.size(); ++i) {
        crossings += (sound[i - 1] < 0) != (sound[i] < 0) ? 1 : 0;
        power += sound[i] * sound[i];
    }
    EXPECT_NEAR(crossings, 440, 2);
    // Amplified fifty times, it uses the full range.
    EXPECT_NEAR(50 * std::sqrt(2 * power / 24000), 32767, 300);
}

TEST_F(MediaElementsTest, MicrophoneLosesOnlyWhatItsCardCannotBuffer) {
    test_pipeline pipeline{std::string{"alsasrc name=mic"} + out};
    pipeline.play();
    GstClockTime end = 0;
    // Stalls by setting the clock forward, and listens until the source has caught up.
    const auto lost_in = [&](GstClockTime stall) {
        GstElement* const mic = pipeline["mic"];
        gst_element_set_base_time(mic, gst_element_get_base_time(mic) - stall);
        const GstClockTime now = gst_element_get_current_running_time(mic);
        GstClockTime lost = 0;
        for (gst_owned<GstSample> sample; end < now && (sample = pipeline.pull());) {
            GstBuffer* const buffer = buffer_of(sample);
            const bool gap = end == 0 || GST_BUFFER_PTS(buffer) != end;
            EXPECT_EQ(GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DISCONT), gap);
            lost += GST_BUFFER_PTS(buffer) - end;
            end = GST_BUFFER_PTS(buffer) + GST_BUFFER_DURATION(buffer);
        }
        return lost;
    };
    lost_in(0);
    EXPECT_EQ(lost_in(400 * GST_MSECOND), 0U);
    EXPECT_NEAR(static_cast<double>(lost_in(60 * GST_SECOND)), 59e9, 1e9);
}

TEST_F(MediaElementsTest, SoundBranchEndsWhenItsPipeOrItsMicrophoneIsAskedTo) {
    for (const bool whole : {true, false}) {
        test_pipeline pipeline{"alsasrc name=mic ! audioamplify amplification=50.0 ! "
                               "imxmp3audioenc bitrate=96 ! mpegaudioparse ! queue ! "
                               "interpipesink name=heard sync=false async=false"};
        test_pipeline listener{std::string{"interpipesrc listen-to=heard"} + out};
        listener.play();
        pipeline.play();
        ASSERT_TRUE(listener.pull());
        gst_element_send_event(whole ? pipeline.get() : pipeline["mic"], gst_event_new_eos());
        EXPECT_TRUE(pipeline.wait_for(GST_MESSAGE_EOS));
    }
}

} // namespace

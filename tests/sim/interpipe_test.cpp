// The transport between pipes: by reference, at any order of coming and going.
#include "gst_helpers.h"

#include <gst/video/video.h>

namespace {

class InterpipeTest : public GstTest {};

const std::string small_caps = "video/x-raw,format=GRAY8,width=16,height=16,framerate=100/1";

std::string producer_text(const std::string& name) {
    return "appsrc name=in format=time is-live=true ! interpipesink name=" + name +
           " sync=false async=false";
}

std::string listener_text(const std::string& name) {
    return "interpipesrc name=src listen-to=" + name +
           " stream-sync=1 format=3 ! appsink name=out sync=false async=false wait-on-eos=false";
}

// A producer whose buffers the test pushes itself.
class producer : public test_pipeline {
public:
    explicit producer(const std::string& name) : test_pipeline{producer_text(name)} {
        set_caps(small_caps);
        play();
    }
    void set_caps(const std::string& text) {
        GstCaps* const caps = gst_caps_from_string(text.c_str());
        gst_app_src_set_caps(GST_APP_SRC((*this)["in"]), caps);
        gst_caps_unref(caps);
    }
    // Pushes a buffer of one's own kind; its memory, for comparing only.
    const GstMemory* push(bool delta = false) {
        GstBuffer* const buffer = gst_buffer_new_allocate(nullptr, 256, nullptr);
        gst_buffer_memset(buffer, 0, 0, 256);
        GST_BUFFER_PTS(buffer) = gst_element_get_current_running_time(get());
        if (delta) {
            GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DELTA_UNIT);
        }
        const GstMemory* const memory = gst_buffer_peek_memory(buffer, 0);
        EXPECT_EQ(gst_app_src_push_buffer(GST_APP_SRC((*this)["in"]), buffer), GST_FLOW_OK);
        return memory;
    }
};

const GstMemory* memory_of(const gst_owned<GstSample>& sample) {
    return gst_buffer_peek_memory(gst_sample_get_buffer(sample.get()), 0);
}

int width_of(const gst_owned<GstSample>& sample) {
    int width = 0;
    gst_structure_get_int(gst_caps_get_structure(gst_sample_get_caps(sample.get()), 0), "width",
                          &width);
    return width;
}

TEST_F(InterpipeTest, MemoryIsSharedAndReachesEveryListener) {
    producer from{"shared"};
    test_pipeline first{listener_text("shared")};
    test_pipeline second{listener_text("shared")};
    first.play();
    second.play();
    const GstMemory* const sent = from.push();
    const gst_owned<GstSample> at_first = first.pull();
    const gst_owned<GstSample> at_second = second.pull();
    ASSERT_TRUE(at_first && at_second);
    EXPECT_EQ(memory_of(at_first), sent);
    EXPECT_EQ(memory_of(at_second), sent);
}

TEST_F(InterpipeTest, CapsChangeTravelsWithTheBuffers) {
    producer from{"changing"};
    test_pipeline to{listener_text("changing")};
    to.play();
    for (int i = 0; i < 5; ++i) {
        from.push();
    }
    from.set_caps("video/x-raw,format=GRAY8,width=32,height=8,framerate=100/1");
    for (int i = 0; i < 5; ++i) {
        from.push();
    }
    for (int i = 0; i < 10; ++i) {
        const gst_owned<GstSample> sample = to.pull();
        ASSERT_TRUE(sample);
        EXPECT_EQ(width_of(sample), i < 5 ? 16 : 32) << i;
    }
}

TEST_F(InterpipeTest, LateListenerBeginsAtAKeyUnitAndAsksForOne) {
    producer from{"encoded"};
    gulong asked = 0;
    GstPad* const pad = gst_element_get_static_pad(from["in"], "src");
    gst_pad_add_probe(
        pad, GST_PAD_PROBE_TYPE_EVENT_UPSTREAM,
        [](GstPad*, GstPadProbeInfo* info, gpointer count) {
            if (gst_video_event_is_force_key_unit(GST_PAD_PROBE_INFO_EVENT(info)) != FALSE) {
                ++*static_cast<gulong*>(count);
            }
            return GST_PAD_PROBE_OK;
        },
        &asked, nullptr);
    test_pipeline to{listener_text("encoded")};
    to.play();
    from.push(true);
    from.push(true);
    const GstMemory* const key = from.push();
    const GstMemory* const delta = from.push(true);
    const gst_owned<GstSample> first = to.pull();
    const gst_owned<GstSample> second = to.pull();
    ASSERT_TRUE(first && second);
    EXPECT_EQ(memory_of(first), key);
    EXPECT_EQ(memory_of(second), delta);
    EXPECT_GE(asked, 1U);
    gst_object_unref(pad);
}

TEST_F(InterpipeTest, RequestForAKeyUnitReachesTheProducersPipe) {
    producer from{"requests"};
    test_pipeline to{listener_text("requests")};
    to.play();
    from.push();
    ASSERT_TRUE(to.pull());
    bool reached = false;
    GstPad* const pad = gst_element_get_static_pad(from["in"], "src");
    gst_pad_add_probe(
        pad, GST_PAD_PROBE_TYPE_EVENT_UPSTREAM,
        [](GstPad*, GstPadProbeInfo* info, gpointer flag) {
            *static_cast<bool*>(flag) =
                gst_video_event_is_force_key_unit(GST_PAD_PROBE_INFO_EVENT(info)) != FALSE;
            return GST_PAD_PROBE_OK;
        },
        &reached, nullptr);
    gst_element_send_event(
        to["out"], gst_video_event_new_upstream_force_key_unit(GST_CLOCK_TIME_NONE, FALSE, 1));
    EXPECT_TRUE(reached);
    gst_object_unref(pad);
}

TEST_F(InterpipeTest, EndOfStreamStaysInItsPipeAndAnIdleListenerEndsByItself) {
    producer from{"ending"};
    test_pipeline to{listener_text("ending")};
    to.play();
    from.push();
    ASSERT_TRUE(to.pull());
    from.end();
    ASSERT_TRUE(from.wait_for(GST_MESSAGE_EOS));
    EXPECT_FALSE(to.wait_for(GST_MESSAGE_EOS, 100 * GST_MSECOND));
    to.end();
    EXPECT_TRUE(to.wait_for(GST_MESSAGE_EOS));
}

TEST_F(InterpipeTest, ListenerOutlivesItsProducerAndHearsTheNext) {
    test_pipeline to{listener_text("again")};
    to.play(); // before there is anybody to hear
    for (int round = 0; round < 3; ++round) {
        producer from{"again"};
        from.push();
        ASSERT_TRUE(to.pull()) << round;
    }
}

TEST_F(InterpipeTest, StartingAndStoppingNeverHangs) {
    producer from{"cycles"};
    for (int round = 0; round < 100; ++round) {
        test_pipeline to{listener_text("cycles")};
        ASSERT_NE(to.play(), GST_STATE_CHANGE_FAILURE);
        from.push();
        if (round % 3 == 0) {
            ASSERT_TRUE(to.pull());
        }
        if (round % 2 == 0) {
            to.end();
            ASSERT_TRUE(to.wait_for(GST_MESSAGE_EOS));
        }
        to.stop();
    }
}

} // namespace

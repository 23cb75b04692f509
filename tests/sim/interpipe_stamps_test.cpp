// The transport between pipes: time stamps, full queues and producers that take turns.
#include "gst_helpers.h"

#include <gmock/gmock.h>
#include <gst/video/video.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

using testing::ElementsAre;

namespace {

constexpr GstClockTime one_second = GST_SECOND;

std::string stamps_producer(const std::string& options = "") {
    return "appsrc name=in format=time caps=application/x-test ! "
           "interpipesink name=stamps sync=false async=false " +
           options;
}

std::string stamps_listener(const std::string& options = "") {
    return "interpipesrc name=src listen-to=stamps " + options +
           " ! appsink name=out sync=false async=false";
}

struct packet {
    std::uint8_t value = 0; // the buffer's only byte
    GstClockTime pts = GST_CLOCK_TIME_NONE;
    bool delta = false;
};

GstBuffer* make_buffer(const packet& content) {
    GstBuffer* const buffer = gst_buffer_new_allocate(nullptr, 1, nullptr);
    gst_buffer_fill(buffer, 0, &content.value, 1);
    GST_BUFFER_PTS(buffer) = content.pts;
    if (content.delta) {
        GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DELTA_UNIT);
    }
    return buffer;
}

void push(const test_pipeline& to, const packet& content) {
    gst_app_src_push_buffer(GST_APP_SRC(to["in"]), make_buffer(content));
}

// The values of the next `count` buffers; fewer when no more come.
std::vector<int> pull_values(const test_pipeline& from, std::size_t count) {
    std::vector<int> values;
    while (values.size() < count) {
        const gst_owned<GstSample> sample = from.pull();
        std::uint8_t value = 0;
        if (!sample || gst_buffer_extract(gst_sample_get_buffer(sample.get()), 0, &value, 1) != 1) {
            break;
        }
        values.push_back(value);
    }
    return values;
}

GstClockTime next_pts(const test_pipeline& from) {
    const gst_owned<GstSample> sample = from.pull();
    return sample ? GST_BUFFER_PTS(gst_sample_get_buffer(sample.get())) : GST_CLOCK_TIME_NONE;
}

// The running time that a key-unit request which reaches the producer's pipe asks for.
class request_probe {
public:
    explicit request_probe(GstElement* element) : pad_(gst_element_get_static_pad(element, "src")) {
        id_ = gst_pad_add_probe(pad_, GST_PAD_PROBE_TYPE_EVENT_UPSTREAM, seen, this, nullptr);
    }
    request_probe(const request_probe&) = delete;
    request_probe& operator=(const request_probe&) = delete;
    ~request_probe() {
        gst_pad_remove_probe(pad_, id_);
        gst_object_unref(pad_);
    }
    [[nodiscard]] GstClockTime running_time() const { return running_time_; }

private:
    static GstPadProbeReturn seen(GstPad*, GstPadProbeInfo* info, gpointer data) {
        GstEvent* const event = GST_PAD_PROBE_INFO_EVENT(info);
        GstClockTime time = GST_CLOCK_TIME_NONE;
        if (gst_video_event_parse_upstream_force_key_unit(event, &time, nullptr, nullptr) !=
            FALSE) {
            static_cast<request_probe*>(data)->running_time_ = time;
        }
        return GST_PAD_PROBE_OK;
    }
    GstPad* pad_;
    gulong id_ = 0;
    std::atomic<GstClockTime> running_time_ = GST_CLOCK_TIME_NONE;
};

// Two pipes of which the producer's started two seconds before the listener's.
class InterpipeStampsTest : public GstTest {
protected:
    void start(const std::string& options, const std::string& sink_options = "") {
        producer = std::make_unique<test_pipeline>(stamps_producer(sink_options));
        listener = std::make_unique<test_pipeline>(stamps_listener(options));
        GstClock* const clock = gst_system_clock_obtain();
        const GstClockTime now = gst_clock_get_time(clock);
        gst_object_unref(clock);
        play_from(*listener, now - 2 * one_second);
        play_from(*producer, now - 4 * one_second);
    }
    // Without a start time a pipeline leaves the base time as it is set.
    static void play_from(test_pipeline& pipeline, GstClockTime base_time) {
        gst_element_set_start_time(pipeline.get(), GST_CLOCK_TIME_NONE);
        gst_element_set_base_time(pipeline.get(), base_time);
        pipeline.play();
    }
    // What the producer is asked for when the listening pipe wants a key unit at four seconds.
    GstClockTime requested_time() {
        const request_probe requests((*producer)["in"]);
        gst_element_send_event((*listener)["out"], gst_video_event_new_upstream_force_key_unit(
                                                       4 * one_second, TRUE, 1));
        return requests.running_time();
    }
    std::unique_ptr<test_pipeline> producer;
    std::unique_ptr<test_pipeline> listener;
};

TEST_F(InterpipeStampsTest, PassThroughWithStreamSync0) {
    start("stream-sync=0");
    push(*producer, {.value = 1, .pts = 1 * one_second});
    EXPECT_EQ(next_pts(*listener), 1 * one_second);
    EXPECT_EQ(requested_time(), 4 * one_second);
}

TEST_F(InterpipeStampsTest, AreCompensatedWithStreamSync1AndWhatIsOlderIsDropped) {
    start("stream-sync=1");
    push(*producer, {.value = 1, .pts = 1 * one_second});
    push(*producer, {.value = 2, .pts = 5 * one_second});
    EXPECT_EQ(next_pts(*listener), 3 * one_second);
    EXPECT_EQ(requested_time(), 6 * one_second);
}

TEST_F(InterpipeStampsTest, OfAnotherPipeDoNotStallASynchronisedSink) {
    start("stream-sync=0", "sync=true");
    push(*producer, {.value = 1, .pts = 3600 * one_second});
    EXPECT_EQ(next_pts(*listener), 3600 * one_second);
}

TEST_F(InterpipeStampsTest, ArriveInRunningTime) {
    constexpr GstClockTime far_start = 1000 * 3600 * one_second; // where x264enc begins
    start("stream-sync=0");
    g_object_set((*producer)["in"], "handle-segment-change", TRUE, nullptr);
    GstSegment segment;
    gst_segment_init(&segment, GST_FORMAT_TIME);
    segment.start = segment.time = far_start;
    GstBuffer* const buffer = make_buffer({.value = 1, .pts = far_start + one_second});
    GstCaps* const caps = gst_caps_from_string("application/x-test");
    const gst_owned<GstSample> sent(gst_sample_new(buffer, caps, &segment, nullptr));
    gst_caps_unref(caps);
    gst_buffer_unref(buffer);
    gst_app_src_push_sample(GST_APP_SRC((*producer)["in"]), sent.get());
    EXPECT_EQ(next_pts(*listener), one_second);
}

class InterpipeQueueTest : public GstTest {};

TEST_F(InterpipeQueueTest, FullOneDropsUpToAKeyUnitAndBlocksNobody) {
    test_pipeline producer{stamps_producer("max-buffers=2")};
    test_pipeline stalled{stamps_listener()};
    gst_element_set_state(stalled.get(), GST_STATE_PAUSED); // live: nothing before it plays
    test_pipeline witness{stamps_listener()};
    witness.play();
    producer.play();
    // One at a time, as the witness must not overflow as well. It was added later, so what it has
    // received was offered to the stalled one before.
    const auto send = [&](const packet& content) {
        push(producer, content);
        EXPECT_THAT(pull_values(witness, 1), ElementsAre(content.value));
    };
    send({.value = 0});
    send({.value = 1, .delta = true});
    send({.value = 2, .delta = true});
    send({.value = 3});
    stalled.play();
    EXPECT_THAT(pull_values(stalled, 2), ElementsAre(0, 1));
    send({.value = 4, .delta = true});
    send({.value = 5});
    EXPECT_THAT(pull_values(stalled, 1), ElementsAre(5));
}

TEST_F(InterpipeQueueTest, AnotherProducerTakesOverAtAKeyUnit) {
    test_pipeline listener{stamps_listener()};
    listener.play();
    {
        test_pipeline producer{stamps_producer()};
        producer.play();
        push(producer, {.value = 1});
        ASSERT_THAT(pull_values(listener, 1), ElementsAre(1));
    }
    test_pipeline next{stamps_producer()};
    next.play();
    push(next, {.value = 2, .delta = true});
    push(next, {.value = 3});
    EXPECT_THAT(pull_values(listener, 1), ElementsAre(3));
}

TEST_F(InterpipeQueueTest, PausedListenerEndsOnceItPlaysAndRunsAgainAfterwards) {
    test_pipeline listener{stamps_listener()};
    test_pipeline producer{stamps_producer()};
    producer.play();
    gst_element_set_state(listener.get(), GST_STATE_PAUSED);
    listener.end();
    listener.play();
    ASSERT_TRUE(listener.wait_for(GST_MESSAGE_EOS));
    listener.stop();
    listener.play();
    push(producer, {.value = 4});
    EXPECT_THAT(pull_values(listener, 1), ElementsAre(4));
}

TEST_F(InterpipeQueueTest, IdleListenerEndsWhateverIsDownstream) {
    for (const char* downstream : {"fakesink", "fakesink async=false", "queue ! fakesink"}) {
        test_pipeline listener{std::string{"interpipesrc listen-to=nobody ! "} + downstream};
        listener.play();
        listener.end();
        EXPECT_TRUE(listener.wait_for(GST_MESSAGE_EOS)) << downstream;
    }
}

} // namespace

// Transport between pipes: time stamps, queueing for a pipe that doesn't play, latency and ends.
#include "interpipe_fixture.h"

#include <gmock/gmock.h>

#include <memory>
#include <numeric>

using testing::ElementsAre;

namespace {

// Two pipes; the producer's was started two seconds before the listener's.
class InterpipeStampsTest : public GstTest {
protected:
    void start(const std::string& options) {
        to_ = std::make_unique<listener>("stamps", options);
        const gst_owned<GstClock> clock{gst_system_clock_obtain()};
        const GstClockTime now = gst_clock_get_time(clock.get());
        play_from(*to_, now - 2 * GST_SECOND);
        play_from(from_, now - 4 * GST_SECOND);
    }
    // Without a start time a pipeline keeps its base time.
    static void play_from(test_pipeline& pipeline, GstClockTime base_time) {
        gst_element_set_start_time(pipeline.get(), GST_CLOCK_TIME_NONE);
        gst_element_set_base_time(pipeline.get(), base_time);
        pipeline.play();
    }
    [[nodiscard]] GstClockTime next_pts() const {
        const gst_owned<GstSample> sample = to_->next_sample();
        return sample ? GST_BUFFER_PTS(gst_sample_get_buffer(sample.get())) : GST_CLOCK_TIME_NONE;
    }

    producer from_{"stamps"};
    std::unique_ptr<listener> to_;
};

TEST_F(InterpipeStampsTest, AreArrivalTimesWithStreamSync0) {
    start("stream-sync=0");
    from_.push({.value = 1, .pts = GST_SECOND});
    const GstClockTime stamp = next_pts();
    EXPECT_GE(stamp, 2 * GST_SECOND);
    EXPECT_LE(stamp, gst_element_get_current_running_time(to_->get()));
}

TEST_F(InterpipeStampsTest, PassThroughWithStreamSync1WhateverTheSegment) {
    start("stream-sync=1");
    constexpr GstClockTime far_start = 1000 * 3600 * GST_SECOND; // where x264enc begins
    GstSegment segment;
    gst_segment_init(&segment, GST_FORMAT_TIME);
    segment.start = segment.time = far_start;
    gst_element_send_event(from_["in"], gst_event_new_segment(&segment));
    from_.push({.value = 1, .pts = far_start + GST_SECOND});
    EXPECT_EQ(next_pts(), far_start + GST_SECOND);
}

TEST_F(InterpipeStampsTest, AreCompensatedWithStreamSync2AndWhatIsOlderIsDropped) {
    start("stream-sync=2");
    from_.push({.value = 1, .pts = GST_SECOND});
    from_.push({.value = 2, .pts = 5 * GST_SECOND});
    EXPECT_EQ(next_pts(), 3 * GST_SECOND);
}

// With two pictures queued; the sink gets the first when it pauses and when it plays.
TEST_F(InterpipeStampsTest, PictureOfAPauseComesTwice) {
    producer from{"paused", "async=true"};
    listener to{"paused"};
    to.play();
    gst_element_set_state(from.get(), GST_STATE_PAUSED);
    from.push({.value = 1});
    EXPECT_EQ(to.next(), 1);
    from.push({.value = 2});
    from.open();
    EXPECT_THAT(to.next_ones(2), ElementsAre(1, 2));
}

class InterpipeQueueTest : public GstTest {
protected:
    // Pushes that many buffers to a paused pipe; returns what arrives when it plays.
    static std::vector<int> gathered(const std::string& options, std::uint8_t count) {
        producer from{"gathering"};
        listener paused{"gathering", options};
        listener witness{"gathering"};
        gst_element_set_state(paused.get(), GST_STATE_PAUSED);
        witness.play();
        from.open();
        for (std::uint8_t i = 0; i < count; ++i) {
            from.push({.value = i});
            EXPECT_EQ(witness.next(), i) << "others are not held up";
        }
        paused.play();
        std::vector<int> values;
        for (int value = 0; (value = paused.next(300 * GST_MSECOND)) >= 0;) {
            values.push_back(value);
        }
        return values;
    }
};

TEST_F(InterpipeQueueTest, PausedPipeQueuesBeyondItsLimits) {
    std::vector<int> all(100);
    std::iota(all.begin(), all.end(), 0);
    EXPECT_EQ(gathered("max-bytes=1 max-buffers=2", 100), all);
}

// The streaming thread already has one.
TEST_F(InterpipeQueueTest, DropsTheOldestIfConfigured) {
    EXPECT_THAT(gathered("leaky-type=2 max-bytes=0 max-buffers=3", 100), ElementsAre(97, 98, 99));
}

// With a sink that synchronises to the clock, such a pipe has no time to spare.
TEST_F(InterpipeQueueTest, ReportsZeroLatency) {
    for (const bool has_deadline : {true, false}) {
        const std::string deadline = has_deadline ? "" : " processing-deadline=0";
        listener to{"nobody", "", "fakesink sync=true async=false" + deadline};
        to.play();
        const gst_owned<GstMessage> warning =
            to.wait_for(GST_MESSAGE_WARNING, has_deadline ? patience : 300 * GST_MSECOND);
        EXPECT_EQ(warning != nullptr, has_deadline);
    }
}

TEST_F(InterpipeQueueTest, IdleListenerEndsWhateverIsDownstream) {
    for (const char* downstream : {"fakesink", "fakesink async=false", "queue ! fakesink"}) {
        listener to{"nobody", "", downstream};
        to.play();
        EXPECT_EQ(to.end_by_signal(), GST_FLOW_OK);
        EXPECT_TRUE(to.wait_for(GST_MESSAGE_EOS)) << downstream;
    }
}

// Some versions of appsrc refuse an end while paused, or for a moment after that.
TEST_F(InterpipeQueueTest, PausedListenerEndsOnceItPlaysAndRunsAgainAfterwards) {
    producer from{"restarted"};
    from.open();
    listener to{"restarted"};
    to.play();
    gst_element_set_state(to.get(), GST_STATE_PAUSED);
    static_cast<void>(to.end_by_signal());
    to.play();
    gst_owned<GstMessage> end;
    for (int times = 0; times < 100 && !end; ++times) {
        static_cast<void>(to.end_by_signal());
        end = to.wait_for(GST_MESSAGE_EOS, 100 * GST_MSECOND);
    }
    ASSERT_TRUE(end);
    to.stop();
    to.play();
    from.push({.value = 4});
    EXPECT_EQ(to.next(), 4);
}

} // namespace

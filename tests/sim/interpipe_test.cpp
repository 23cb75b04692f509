// Transport between pipes: by reference, in any order of starting and stopping, under unique names.
#include "interpipe_fixture.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {

class InterpipeTest : public GstTest {};

const GstMemory* memory_of(const gst_owned<GstSample>& sample) {
    return gst_buffer_peek_memory(gst_sample_get_buffer(sample.get()), 0);
}

GstClockTime pts_of(const gst_owned<GstSample>& sample) {
    return GST_BUFFER_PTS(gst_sample_get_buffer(sample.get()));
}

GstEvent* key_unit_request() {
    return gst_video_event_new_upstream_force_key_unit(4 * GST_SECOND, TRUE, 1);
}

TEST_F(InterpipeTest, MemoryIsSharedAndEachListenerHasItsOwnStamps) {
    producer from{"shared"};
    listener arriving{"shared", "stream-sync=0"};
    listener passing{"shared", "stream-sync=1"};
    arriving.play();
    passing.play();
    from.open();
    const GstMemory* const sent = from.push({.pts = 3600 * GST_SECOND});
    const gst_owned<GstSample> at_first = arriving.next_sample();
    const gst_owned<GstSample> at_second = passing.next_sample();
    ASSERT_TRUE(at_first && at_second);
    EXPECT_EQ(memory_of(at_first), sent);
    EXPECT_EQ(memory_of(at_second), sent);
    EXPECT_LT(pts_of(at_first), 60 * GST_SECOND);
    EXPECT_EQ(pts_of(at_second), 3600 * GST_SECOND);
}

TEST_F(InterpipeTest, CapsChangeTravelsWithTheBuffers) {
    producer from{"changing"};
    listener to{"changing"};
    to.play();
    from.open();
    for (int i = 0; i < 10; ++i) {
        from.set_caps("application/x-test,late=(boolean)" + std::string{i < 5 ? "false" : "true"});
        from.push({});
    }
    for (int i = 0; i < 10; ++i) {
        const gst_owned<GstSample> sample = to.next_sample();
        ASSERT_TRUE(sample);
        gboolean late = FALSE;
        gst_structure_get_boolean(gst_caps_get_structure(gst_sample_get_caps(sample.get()), 0),
                                  "late", &late);
        EXPECT_EQ(late != FALSE, i >= 5) << i;
    }
}

TEST_F(InterpipeTest, LateListenerGetsTheNextBuffers) {
    producer from{"encoded"};
    listener witness{"encoded"};
    witness.play();
    from.open();
    from.push({.value = 1});
    ASSERT_EQ(witness.next(), 1);
    const event_probe requests{from["in"], "src", GST_PAD_PROBE_TYPE_EVENT_UPSTREAM};
    listener late{"encoded"};
    late.play();
    from.push({.value = 2, .delta = true});
    from.push({.value = 3});
    EXPECT_THAT(late.next_ones(2), ElementsAre(2, 3)) << "not from a key unit on";
    EXPECT_EQ(requests.count(GST_EVENT_CUSTOM_UPSTREAM), 0) << "and none is asked for";
}

TEST_F(InterpipeTest, KeyUnitRequestPassesFromASingleListener) {
    producer from{"requests"};
    listener only{"requests"};
    only.play();
    from.open();
    from.push({});
    ASSERT_GE(only.next(), 0);
    const event_probe requests{from["in"], "src", GST_PAD_PROBE_TYPE_EVENT_UPSTREAM};
    gst_element_send_event(only["out"], key_unit_request());
    EXPECT_EQ(requests.count(GST_EVENT_CUSTOM_UPSTREAM), 1);
    listener other{"requests"};
    other.play();
    gst_element_send_event(only["out"], key_unit_request());
    EXPECT_EQ(requests.count(GST_EVENT_CUSTOM_UPSTREAM), 1);
}

TEST_F(InterpipeTest, EventsPassInOrderFlushesAtOnceAndSegmentsNever) {
    producer from{"events"};
    listener to{"events"};
    to.play();
    from.open();
    from.push({});
    ASSERT_GE(to.next(), 0);
    const event_probe arrived{to["out"], "sink", GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM};
    GstSegment segment;
    gst_segment_init(&segment, GST_FORMAT_TIME);
    segment.start = GST_SECOND;
    gst_element_send_event(from["in"], gst_event_new_segment(&segment));
    gst_element_send_event(from["in"], gst_event_new_custom(GST_EVENT_CUSTOM_DOWNSTREAM, nullptr));
    from.push({.value = 1});
    ASSERT_EQ(to.next(), 1);
    EXPECT_EQ(arrived.count(GST_EVENT_CUSTOM_DOWNSTREAM), 1);
    EXPECT_EQ(arrived.count(GST_EVENT_SEGMENT), 0);
    const gst_owned<GstPad> out{gst_element_get_static_pad(from["in"], "src")};
    gst_pad_push_event(out.get(), gst_event_new_flush_start());
    EXPECT_EQ(arrived.count(GST_EVENT_FLUSH_START), 1);
    EXPECT_TRUE(GST_PAD_IS_FLUSHING(arrived.pad()));
}

TEST_F(InterpipeTest, EndOfStreamStaysInItsPipe) {
    producer from{"ending"};
    listener to{"ending"};
    to.play();
    from.open();
    from.push({});
    ASSERT_GE(to.next(), 0);
    from.end();
    ASSERT_TRUE(from.wait_for(GST_MESSAGE_EOS));
    EXPECT_FALSE(to.wait_for(GST_MESSAGE_EOS, 100 * GST_MSECOND));
}

TEST_F(InterpipeTest, ListenerOutlivesItsProducerAndHearsTheNext) {
    listener to{"again"};
    to.play(); // before there is a producer
    for (int round = 0; round < 3; ++round) {
        producer from{"again"};
        from.open();
        from.push({});
        ASSERT_GE(to.next(), 0) << round;
    }
}

TEST_F(InterpipeTest, SecondSinkOfANameHasNoListeners) {
    listener to{"taken"};
    to.play();
    auto first = std::make_unique<producer>("taken");
    producer second{"taken"};
    first->open();
    second.open();
    second.push({.value = 2});
    first->push({.value = 1});
    EXPECT_EQ(to.next(), 1);
    first.reset(); // takes the name away
    second.push({.value = 2});
    EXPECT_TRUE(to.hears_nothing());
}

// What the daemon does with a stuck pipe.
TEST_F(InterpipeTest, SinkThatLosesItsNameLeavesItToAnother) {
    listener to{"given"};
    to.play();
    producer stuck{"given"};
    stuck.open();
    const gst_owned<GstElement> sink = own_shared(stuck["given"]);
    gst_bin_remove(GST_BIN(stuck.get()), sink.get());
    g_object_set(sink.get(), "name", nullptr, nullptr);
    producer next{"given"};
    next.open();
    next.push({.value = 2});
    EXPECT_EQ(to.next(), 2);
    gst_element_set_state(sink.get(), GST_STATE_NULL);
}

TEST_F(InterpipeTest, SecondListenerOfANameGetsNothing) {
    producer from{"heard"};
    listener first{"twin", "heard", "", "appsink name=out sync=false async=false"};
    listener second{"twin", "heard", "", "appsink name=out sync=false async=false"};
    first.play();
    second.play();
    from.open();
    from.push({.value = 1});
    EXPECT_EQ(first.next(), 1);
    EXPECT_TRUE(second.hears_nothing());
}

TEST_F(InterpipeTest, SwitchIsRefusedIfTheCapsOfOthersConflict) {
    producer grey{"grey", "async=false"};
    producer green{"green", "async=false"};
    grey.set_caps("video/x-raw,format=GRAY8");
    green.set_caps("video/x-raw,format=RGB");
    listener picky{"grey", "", "capsfilter caps=video/x-raw,format=GRAY8 ! appsink name=out"};
    listener other{"green"};
    picky.play();
    other.play();
    grey.open();
    green.open();
    grey.push({.value = 1});
    green.push({.value = 2});
    ASSERT_EQ(picky.next(), 1);
    ASSERT_EQ(other.next(), 2);
    set(picky.source(), "listen-to", "green");
    gchar* hears = nullptr;
    g_object_get(picky.source(), "listen-to", &hears, nullptr);
    EXPECT_STREQ(g_text{hears}.get(), "grey");
    grey.push({.value = 3});
    EXPECT_EQ(picky.next(), 3);
}

TEST_F(InterpipeTest, IncompatibleListenerIsDropped) {
    test_pipeline from{"videotestsrc is-live=true ! video/x-raw,format=GRAY8 ! "
                       "interpipesink name=negotiating async=false"};
    listener coloured{"negotiating", "",
                      "capsfilter caps=video/x-raw,format=RGB ! appsink name=out async=false"};
    coloured.play();
    from.play();
    EXPECT_TRUE(coloured.hears_nothing());
    EXPECT_FALSE(from.wait_for(GST_MESSAGE_ERROR, 0)) << "the producer goes on";
    listener grey{"negotiating"};
    grey.play();
    EXPECT_GE(grey.next(), 0);
}

TEST_F(InterpipeTest, StartingAndStoppingNeverHangs) {
    producer from{"cycles"};
    from.open();
    for (int round = 0; round < 100; ++round) {
        listener to{"cycles"};
        ASSERT_NE(to.play(), GST_STATE_CHANGE_FAILURE);
        from.push({});
        if (round % 3 == 0) {
            ASSERT_GE(to.next(), 0);
        }
        if (round % 2 == 0) {
            ASSERT_EQ(to.end_by_signal(), GST_FLOW_OK);
            ASSERT_TRUE(to.wait_for(GST_MESSAGE_EOS));
        }
        to.stop();
    }
}

} // namespace

// The registry's rules, with plain elements instead of the sight's.
#include "core/log.h"
#include "support/temp_folder.h"
#include "video/builder.h"
#include "video/slots.h"
#include "video/storage.h"

#include <chrono>
#include <condition_variable>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mutex>
#include <poll.h>

using testing::HasSubstr;

namespace {

class RegistryTest : public testing::Test {
protected:
    static void SetUpTestSuite() { gst_init(nullptr, nullptr); }
    RegistryTest() { log_open(log_path_.c_str()); }
    ~RegistryTest() override {
        gstvideo_stop_pipe(PIPE_HTTP_STREAM);
        if (is_created(PIPE_HTTP_STREAM) != 0) {
            run_until_ended(PIPE_HTTP_STREAM);
        }
        log_close();
    }

    // A pipe with one endless source and one sink.
    static int start(const char* sink_name = "sink") {
        return start(gst_element_factory_make("fakesrc", "source"), sink_name);
    }
    static int start(GstElement* source, const char* sink_name, int pipe = PIPE_HTTP_STREAM) {
        const int fd = create_pipeline(pipe);
        GstElement* const pipeline = pipe_pipeline(pipe);
        GstElement* const sink = gst_element_factory_make("fakesink", sink_name);
        g_object_set(source, "is-live", TRUE, "do-timestamp", TRUE, "format", GST_FORMAT_TIME,
                     nullptr);
        g_object_set(sink, "async", FALSE, nullptr);
        gst_bin_add_many(GST_BIN(pipeline), source, sink, nullptr);
        gst_element_link(source, sink);
        return gstvideo_set_state(pipeline, GST_STATE_PLAYING) == 0 ? fd : -1;
    }

    // Handles messages like the loop; false if none comes for ten seconds.
    static bool run_until_ended(int pipe) {
        for (;;) {
            pollfd bus{create_pipeline(pipe), POLLIN, 0};
            if (poll(&bus, 1, 10'000) != 1) {
                return false;
            }
            if (gstvideo_process_message(pipe) != 0) {
                return true;
            }
        }
    }

    [[nodiscard]] std::string log() const { return read_text(log_path_); }

    temp_folder folder_;
    std::string log_path_ = folder_.path() / "log";
};

TEST_F(RegistryTest, PipeLivesFromStartToItsEndOfStream) {
    EXPECT_EQ(gstvideo_are_pipes_closed(), 1);
    EXPECT_EQ(gstvideo_process_message(PIPE_HTTP_STREAM), 1);
    const int first = start();
    ASSERT_GT(first, 0);
    EXPECT_EQ(gstvideo_is_playing(PIPE_HTTP_STREAM), 1);
    EXPECT_EQ(start_pipe(PIPE_HTTP_STREAM).fd, first);
    EXPECT_EQ(gstvideo_stop_pipe(PIPE_HTTP_STREAM), 0);
    EXPECT_EQ(gstvideo_stop_pipe(PIPE_HTTP_STREAM), 0);
    EXPECT_THAT(log(), HasSubstr("Sending eos on pipe: 7\n"));
    EXPECT_THAT(log(), HasSubstr("EOS to pipe: 7 already sent.\n"));
    EXPECT_TRUE(run_until_ended(PIPE_HTTP_STREAM));
    EXPECT_THAT(log(), HasSubstr("Got EoS event on pipe 7\n"));
    EXPECT_EQ(gstvideo_are_pipes_closed(), 1);
    EXPECT_EQ(gstvideo_pause_pipe(PIPE_HTTP_STREAM), 1);
}

TEST_F(RegistryTest, OutputThatEndsByItselfTakesTheBranchesAlong) {
    ASSERT_GT(start(gst_element_factory_make("fakesrc", "source"), "sink", PIPE_TRANSFORMER), 0);
    GstElement* const ending = gst_element_factory_make("fakesrc", "source");
    g_object_set(ending, "num-buffers", 1, nullptr);
    ASSERT_GT(start(ending, "sink"), 0);
    EXPECT_TRUE(run_until_ended(PIPE_HTTP_STREAM));
    EXPECT_TRUE(is_ending(PIPE_TRANSFORMER));
    EXPECT_TRUE(run_until_ended(PIPE_TRANSFORMER));
    EXPECT_THAT(log(), testing::Not(HasSubstr("by force")));
}

TEST_F(RegistryTest, PausedPipeEndsWhenAsked) {
    ASSERT_GT(start(), 0);
    ASSERT_EQ(gstvideo_pause_pipe(PIPE_HTTP_STREAM), 0);
    gstvideo_stop_pipe(PIPE_HTTP_STREAM);
    EXPECT_TRUE(run_until_ended(PIPE_HTTP_STREAM));
    EXPECT_THAT(log(), testing::Not(HasSubstr("by force")));
}

TEST_F(RegistryTest, EndingPipeIsNotPaused) {
    ASSERT_GT(start(), 0);
    gstvideo_stop_pipe(PIPE_HTTP_STREAM);
    EXPECT_EQ(gstvideo_pause_pipe(PIPE_HTTP_STREAM), 1);
    EXPECT_EQ(gstvideo_pause_all_pipes(), 0);
    EXPECT_TRUE(run_until_ended(PIPE_HTTP_STREAM));
    EXPECT_THAT(log(), testing::Not(HasSubstr("by force")));
}

// A start that failed half-way registers no bus.
TEST_F(RegistryTest, EndOfAPipeWithoutARegisteredBusIsSeenAtTheTick) {
    static int ended = -1;
    ASSERT_GT(start(), 0);
    pollfd bus{create_pipeline(PIPE_HTTP_STREAM), POLLIN, 0};
    gstvideo_stop_pipe(PIPE_HTTP_STREAM);
    while (gstvideo_is_playing(PIPE_HTTP_STREAM) != 0 && poll(&bus, 1, 10'000) == 1) {
        gstvideo_handle_ending_pipes([](bus_handle handle) { ended = handle.pipe; });
    }
    EXPECT_EQ(ended, PIPE_HTTP_STREAM);
}

int refusals = 0;

GstFlowReturn refuse_first(GstElement* source) {
    GstFlowReturn result = GST_FLOW_FLUSHING;
    if (refusals > 0) {
        --refusals;
    } else {
        g_signal_chain_from_overridden_handler(source, &result);
    }
    return result;
}

// An appsrc that refuses to end that many times, as in GStreamer 1.24 after a pause.
GstElement* make_refusing_source(int times) {
    const gst_owned<GstElement> plain = own_floating(gst_element_factory_make("appsrc", nullptr));
    GTypeQuery sizes{};
    g_type_query(G_OBJECT_TYPE(plain.get()), &sizes);
    static const GType type = g_type_register_static_simple(
        sizes.type, "RefusingSource", sizes.class_size,
        [](gpointer klass, gpointer) {
            g_signal_override_class_handler("end-of-stream", G_TYPE_FROM_CLASS(klass),
                                            G_CALLBACK(refuse_first));
        },
        sizes.instance_size, nullptr, G_TYPE_FLAG_NONE);
    refusals = times;
    return GST_ELEMENT(g_object_new(type, nullptr));
}

TEST_F(RegistryTest, SourceThatRefusesToEndIsAskedAgainAtTheTick) {
    constexpr int when_stopped = 2; // before and after it is resumed
    ASSERT_GT(start(make_refusing_source(when_stopped), "sink"), 0);
    gstvideo_stop_pipe(PIPE_HTTP_STREAM);
    ASSERT_EQ(refusals, 0);
    gstvideo_handle_ending_pipes([](bus_handle) {});
    EXPECT_TRUE(is_created(PIPE_HTTP_STREAM) == 0 || run_until_ended(PIPE_HTTP_STREAM));
    EXPECT_THAT(log(), testing::Not(HasSubstr("by force")));
}

TEST_F(RegistryTest, PipeThatNeverPlayedIsEndedByForce) {
    // Nothing in it ever posts end-of-stream.
    ASSERT_GT(create_pipeline(PIPE_HTTP_STREAM), 0);
    ASSERT_EQ(gst_bin_add(GST_BIN(pipe_pipeline(PIPE_HTTP_STREAM)),
                          gst_element_factory_make("fakesrc", nullptr)),
              TRUE);
    gstvideo_stop_pipe(PIPE_HTTP_STREAM);
    EXPECT_TRUE(run_until_ended(PIPE_HTTP_STREAM));
    EXPECT_THAT(log(), HasSubstr("[WARN]: Pipe 7 is ended by force\n"));
}

// Without any input it reports no error and has no file.
TEST_F(RegistryTest, RecordingThatStallsForFiveMinutesIsGivenUp) {
    using namespace std::chrono_literals;
    record_file_set("/media/video/video_1_%02d.mp4");
    const auto now = std::chrono::steady_clock::now();
    EXPECT_FALSE(record_file_stands_still(now));
    EXPECT_FALSE(record_file_stands_still(now + 299s));
    EXPECT_TRUE(record_file_stands_still(now + 300s));
    record_file_finish(false);
    EXPECT_EQ(record_file_name(), nullptr);
}

// Signals when a message of that type is posted, before it is handled.
class post_watch {
public:
    explicit post_watch(GstBus* bus) : bus_{bus} {
        gst_bus_set_sync_handler(bus, on_post, this, nullptr);
    }
    post_watch(const post_watch&) = delete;
    post_watch& operator=(const post_watch&) = delete;
    ~post_watch() { gst_bus_set_sync_handler(bus_, nullptr, nullptr, nullptr); }

    bool wait_for_end() {
        std::unique_lock lock{mutex_};
        return changed_.wait_for(lock, std::chrono::seconds{10}, [this] { return ended_; });
    }

private:
    static GstBusSyncReply on_post(GstBus* /*bus*/, GstMessage* message, gpointer self) {
        if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_EOS) {
            auto* const watch = static_cast<post_watch*>(self);
            const std::scoped_lock lock{watch->mutex_};
            watch->ended_ = true;
            watch->changed_.notify_all();
        }
        return GST_BUS_PASS;
    }

    GstBus* bus_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool ended_ = false;
};

// The restart discards the messages on the bus, including the forced end.
TEST_F(RegistryTest, RestartedEndingPipeStillEnds) {
    ASSERT_GT(start("http-sink"), 0);
    GstElement* const pipeline = pipe_pipeline(PIPE_HTTP_STREAM);
    const gst_owned<GstElement> sink{gst_bin_get_by_name(GST_BIN(pipeline), "http-sink")};
    const gst_owned<GstPad> pad{gst_element_get_static_pad(sink.get(), "sink")};
    gst_pad_add_probe(
        pad.get(), GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM,
        [](GstPad*, GstPadProbeInfo* info, gpointer) {
            const bool is_end = GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)) == GST_EVENT_EOS;
            return is_end ? GST_PAD_PROBE_DROP : GST_PAD_PROBE_OK;
        },
        nullptr, nullptr);
    const gst_owned<GstBus> bus{gst_element_get_bus(pipeline)};
    {
        post_watch watch{bus.get()};
        gstvideo_stop_pipe(PIPE_HTTP_STREAM);
        GST_ELEMENT_ERROR(sink.get(), RESOURCE, WRITE, ("server gone"), (nullptr));
        ASSERT_TRUE(watch.wait_for_end());
    }
    EXPECT_TRUE(run_until_ended(PIPE_HTTP_STREAM));
    EXPECT_THAT(log(), HasSubstr("[INFO]: event detected\n"));
}

TEST_F(RegistryTest, ReportsAreLoggedAndOnlyOneElementRestartsItsPipe) {
    log_verbose = 1;
    ASSERT_GT(start("http-sink"), 0);
    const auto report = [](const char* element) {
        const gst_owned<GstElement> source{
            gst_bin_get_by_name(GST_BIN(pipe_pipeline(PIPE_HTTP_STREAM)), element)};
        const g_error_owned error{
            g_error_new_literal(GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_WRITE, "gone 100%s")};
        const gst_owned<GstMessage> message{
            gst_message_new_warning(GST_OBJECT(source.get()), error.get(), "details %d")};
        return message_handle(message.get(), PIPE_HTTP_STREAM);
    };
    EXPECT_EQ(report("source"), 0);
    EXPECT_THAT(log(),
                HasSubstr("[WARN]: from element /GstPipeline:http-stream-pipe/GstFakeSrc:source:"
                          " gone 100%s\n"));
    EXPECT_THAT(log(), HasSubstr("[WARN]: details %d\n"));
    EXPECT_THAT(log(), testing::Not(HasSubstr("event detected")));
    EXPECT_EQ(report("http-sink"), 0);
    EXPECT_THAT(log(), HasSubstr("[INFO]: event detected\n"));
    EXPECT_THAT(log(), HasSubstr("Changed state of element http-stream-pipe to 1\n"));
    EXPECT_THAT(log(), HasSubstr("Changed state of element http-stream-pipe to 4\n"));
    log_verbose = 0;
}

TEST_F(RegistryTest, UnchangedStateIsNotLogged) {
    log_verbose = 1;
    ASSERT_GT(start(), 0);
    const std::size_t before = log().size();
    EXPECT_EQ(gstvideo_resume_pipe(PIPE_HTTP_STREAM), 0);
    EXPECT_EQ(log().size(), before);
    log_verbose = 0;
}

TEST_F(RegistryTest, PadTemplatesMatchAllThreeCriteria) {
    const gst_owned<GstElement> funnel = own_floating(gst_element_factory_make("funnel", nullptr));
    ASSERT_NE(funnel, nullptr);
    EXPECT_NE(get_pad_template(funnel.get(), GST_PAD_SINK, GST_PAD_REQUEST, "sink_%u"), nullptr);
    EXPECT_NE(get_pad_template(funnel.get(), GST_PAD_SINK, GST_PAD_REQUEST, nullptr), nullptr);
    EXPECT_EQ(get_pad_template(funnel.get(), GST_PAD_SINK, GST_PAD_REQUEST, "video"), nullptr);
    EXPECT_EQ(get_pad_template(funnel.get(), GST_PAD_SINK, GST_PAD_ALWAYS, nullptr), nullptr);
}

} // namespace

// Stuck pipes on the simulated board's inter-pipe elements: the daemon continues without them.
#include "interpipe_fixture.h"
#include "video/ending.h"

#include <condition_variable>
#include <mutex>

namespace {

// A producer whose streaming thread is blocked in its pipe, as in a driver.
class stuck_producer {
public:
    explicit stuck_producer(const std::string& name)
        : pipe_{"fakesrc is-live=true format=time do-timestamp=true ! identity name=driver ! "
                "interpipesink sync=false async=false name=" +
                name} {
        const gst_owned<GstPad> pad{gst_element_get_static_pad(pipe_["driver"], "src")};
        gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER, hold, this, nullptr);
    }
    stuck_producer(const stuck_producer&) = delete;
    stuck_producer& operator=(const stuck_producer&) = delete;
    ~stuck_producer() {
        const std::scoped_lock lock{mutex_};
        is_stuck_ = false;
        changed_.notify_all();
    }

    void play_until_stuck() {
        pipe_.play();
        std::unique_lock lock{mutex_};
        changed_.wait(lock, [this] { return is_held_; });
    }
    [[nodiscard]] GstElement* pipeline() const { return pipe_.get(); }

private:
    static GstPadProbeReturn hold(GstPad* /*pad*/, GstPadProbeInfo* /*info*/, gpointer self) {
        auto* const stuck = static_cast<stuck_producer*>(self);
        std::unique_lock lock{stuck->mutex_};
        stuck->is_held_ = true;
        stuck->changed_.notify_all();
        stuck->changed_.wait(lock, [stuck] { return !stuck->is_stuck_; });
        return GST_PAD_PROBE_OK;
    }

    test_pipeline pipe_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool is_stuck_ = true;
    bool is_held_ = false;
};

class StuckPipeTest : public GstTest, public testing::WithParamInterface<bool> {};

TEST_P(StuckPipeTest, ReleasesItsNameAndFlushesNoOther) {
    listener hears{"taken"};
    hears.play();
    const event_probe arrived{hears["out"], "sink", GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM};
    stuck_producer stuck{"taken"};
    stuck.play_until_stuck();
    EXPECT_FALSE(shut_down(stuck.pipeline(), GetParam()));

    producer next{"taken"};
    next.open();
    next.push({.value = 7, .pts = GST_SECOND});
    EXPECT_EQ(hears.next(), 7);
    EXPECT_EQ(arrived.count(GST_EVENT_FLUSH_START), 0);
}

INSTANTIATE_TEST_SUITE_P(Ends, StuckPipeTest, testing::Bool(), [](const auto& test) {
    return std::string{test.param ? "Forced" : "Asked"};
});

} // namespace

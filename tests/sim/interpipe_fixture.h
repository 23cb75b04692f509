// Pipes connected by inter-pipe elements: producers fed by a test, and listeners.
#pragma once

#include "gst_helpers.h"

#include <gst/video/video.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// Value of the first buffer. Sinks may pass it on up to three times, so it is skipped.
inline constexpr std::uint8_t OPENING = 255;

// The value of a one-byte buffer.
struct packet {
    std::uint8_t value = 0;
    GstClockTime pts = GST_CLOCK_TIME_NONE;
    bool delta = false;
};

// A pipe that publishes the test's buffers.
class producer : public test_pipeline {
public:
    explicit producer(const std::string& name, const std::string& options = "async=false")
        : test_pipeline{"appsrc name=in format=time caps=application/x-test ! "
                        "interpipesink name=" +
                        name + " " + options} {}

    // Starts playing, with the opening buffer queued.
    void open() {
        play();
        push({.value = OPENING});
    }

    [[nodiscard]] GstAppSrc* in() const { return GST_APP_SRC((*this)["in"]); }

    void set_caps(const std::string& text) const {
        gst_app_src_set_caps(in(), gst_owned<GstCaps>{gst_caps_from_string(text.c_str())}.get());
    }

    // Address of the buffer's memory, for comparison only.
    const GstMemory* push(const packet& content) const {
        GstBuffer* const buffer = gst_buffer_new_allocate(nullptr, 1, nullptr);
        gst_buffer_fill(buffer, 0, &content.value, 1);
        GST_BUFFER_PTS(buffer) = content.pts;
        if (content.delta) {
            GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DELTA_UNIT);
        }
        const GstMemory* const memory = gst_buffer_peek_memory(buffer, 0);
        EXPECT_EQ(gst_app_src_push_buffer(in(), buffer), GST_FLOW_OK);
        return memory;
    }
};

// A pipe with a named listening source.
class listener : public test_pipeline {
public:
    explicit listener(const std::string& to, const std::string& options = "",
                      const std::string& sink = "appsink name=out sync=false async=false "
                                                "wait-on-eos=false")
        : listener{next_name(), to, options, sink} {}

    // `name` is the source's.
    listener(const std::string& name, const std::string& to, const std::string& options,
             const std::string& sink)
        : test_pipeline{"interpipesrc name=" + name + " listen-to=" + to +
                        " format=time is-live=true " + options + " ! " + sink},
          name_{name} {}

    [[nodiscard]] GstElement* source() const { return (*this)[name_.c_str()]; }

    // Next buffer after the opening one; none on timeout.
    [[nodiscard]] gst_owned<GstSample> next_sample(GstClockTime timeout = patience) const {
        gst_owned<GstSample> sample;
        do {
            sample.reset(gst_app_sink_try_pull_sample(GST_APP_SINK((*this)["out"]), timeout));
        } while (value_of(sample) == OPENING);
        return sample;
    }
    // Its value; -1 for none.
    [[nodiscard]] int next(GstClockTime timeout = patience) const {
        return value_of(next_sample(timeout));
    }
    [[nodiscard]] std::vector<int> next_ones(std::size_t count) const {
        std::vector<int> values(count);
        std::ranges::generate(values, [this] { return next(); });
        return values;
    }
    [[nodiscard]] bool hears_nothing() const { return next(200 * GST_MSECOND) < 0; }

    GstFlowReturn end_by_signal() const { return gst_app_src_end_of_stream(GST_APP_SRC(source())); }

private:
    static int value_of(const gst_owned<GstSample>& sample) {
        std::uint8_t value = 0;
        const bool is_there =
            sample && gst_buffer_extract(gst_sample_get_buffer(sample.get()), 0, &value, 1) == 1;
        return is_there ? value : -1;
    }
    static std::string next_name() {
        static int number = 0;
        return "listener" + std::to_string(number++);
    }

    std::string name_;
};

// Records the events that arrive at an element's pad.
class event_probe {
public:
    event_probe(GstElement* element, const char* pad, GstPadProbeType direction)
        : pad_{gst_element_get_static_pad(element, pad)},
          id_{gst_pad_add_probe(
              pad_.get(), static_cast<GstPadProbeType>(direction | GST_PAD_PROBE_TYPE_EVENT_FLUSH),
              seen, this, nullptr)} {}
    event_probe(const event_probe&) = delete;
    event_probe& operator=(const event_probe&) = delete;
    ~event_probe() { gst_pad_remove_probe(pad_.get(), id_); }

    [[nodiscard]] int count(GstEventType type) const {
        return static_cast<int>(std::ranges::count(types_, type));
    }
    [[nodiscard]] GstPad* pad() const { return pad_.get(); }

private:
    static GstPadProbeReturn seen(GstPad*, GstPadProbeInfo* info, gpointer self) {
        static_cast<event_probe*>(self)->types_.push_back(
            GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)));
        return GST_PAD_PROBE_OK;
    }

    gst_owned<GstPad> pad_;
    gulong id_;
    std::vector<GstEventType> types_;
};

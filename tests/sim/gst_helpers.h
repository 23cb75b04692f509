// Short forms for tests of elements: pipelines from text, properties, messages, samples.
#pragma once

#include "support/stand_ins.h"
#include <gst/app/gstappsink.h>
#include <gst/app/gstappsrc.h>

#include <gst/gst.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>

struct sample_deleter {
    void operator()(GstSample* sample) const noexcept { gst_sample_unref(sample); }
    void operator()(GstMessage* message) const noexcept { gst_message_unref(message); }
};
using sample_owner = std::unique_ptr<GstSample, sample_deleter>;
using message_owner = std::unique_ptr<GstMessage, sample_deleter>;

// Time that anything a test waits for may take.
inline constexpr GstClockTime patience = 20 * GST_SECOND;

// A pipeline made from a gst-launch text, stopped with its scope.
class test_pipeline {
public:
    explicit test_pipeline(const std::string& description) {
        GError* error = nullptr;
        pipeline_ = gst_parse_launch(description.c_str(), &error);
        EXPECT_EQ(error, nullptr) << (error != nullptr ? error->message : "");
        if (GST_IS_PIPELINE(pipeline_) == FALSE) {
            GstElement* const only = pipeline_;
            pipeline_ = gst_pipeline_new(nullptr);
            gst_bin_add(GST_BIN(pipeline_), only);
        }
        gst_object_ref_sink(pipeline_);
    }
    test_pipeline(const test_pipeline&) = delete;
    test_pipeline& operator=(const test_pipeline&) = delete;
    ~test_pipeline() {
        gst_element_set_state(pipeline_, GST_STATE_NULL);
        gst_object_unref(pipeline_);
    }

    GstStateChangeReturn play() { return gst_element_set_state(pipeline_, GST_STATE_PLAYING); }
    void stop() { gst_element_set_state(pipeline_, GST_STATE_NULL); }
    void end() { gst_element_send_event(pipeline_, gst_event_new_eos()); }

    // An element by name, borrowed from the pipeline.
    [[nodiscard]] GstElement* operator[](const char* name) const {
        GstElement* const element = gst_bin_get_by_name(GST_BIN(pipeline_), name);
        EXPECT_NE(element, nullptr) << name;
        gst_object_unref(element);
        return element;
    }

    // The next sample of the appsink called "out"; none when the stream has ended.
    [[nodiscard]] sample_owner pull() const {
        return sample_owner{gst_app_sink_try_pull_sample(GST_APP_SINK((*this)["out"]), patience)};
    }

    // The next message of these types; none when there is none in time.
    [[nodiscard]] message_owner wait_for(GstMessageType types,
                                         GstClockTime timeout = patience) const {
        GstBus* const bus = gst_element_get_bus(pipeline_);
        message_owner message{gst_bus_timed_pop_filtered(bus, timeout, types)};
        gst_object_unref(bus);
        return message;
    }

    [[nodiscard]] GstElement* get() const { return pipeline_; }

private:
    GstElement* pipeline_ = nullptr;
};

inline void set(GstElement* element, const char* property, const std::string& value) {
    gst_util_set_object_arg(G_OBJECT(element), property, value.c_str());
}

// A test with GStreamer up.
class GstTest : public testing::Test {
protected:
    static void SetUpTestSuite() { init_with_stand_ins(); }
};

// Helpers for tests of elements: pipelines from text, properties, messages, samples.
#pragma once

#include "support/stand_ins.h"
#include "util/gst_owned.h"
#include <gst/app/gstappsink.h>
#include <gst/app/gstappsrc.h>

#include <gtest/gtest.h>
#include <string>

// Time limit for anything that a test waits for.
inline constexpr GstClockTime patience = 20 * GST_SECOND;

// A pipeline from a gst-launch text, stopped at the end of its scope.
class test_pipeline {
public:
    explicit test_pipeline(const std::string& description) {
        GError* error = nullptr;
        pipeline_ = own_floating(gst_parse_launch(description.c_str(), &error));
        const g_error_owned owned_error{error};
        EXPECT_EQ(error, nullptr) << (error != nullptr ? error->message : "");
        if (GST_IS_PIPELINE(get()) == FALSE) {
            const gst_owned<GstElement> only = std::move(pipeline_);
            pipeline_ = own_floating(gst_pipeline_new(nullptr));
            gst_bin_add(GST_BIN(get()), only.get());
        }
    }
    test_pipeline(const test_pipeline&) = delete;
    test_pipeline& operator=(const test_pipeline&) = delete;
    ~test_pipeline() { stop(); }

    GstStateChangeReturn play() { return gst_element_set_state(get(), GST_STATE_PLAYING); }
    void stop() { gst_element_set_state(get(), GST_STATE_NULL); }
    void end() { gst_element_send_event(get(), gst_event_new_eos()); }

    // An element by name, borrowed from the pipeline.
    [[nodiscard]] GstElement* operator[](const char* name) const {
        GstElement* const element = gst_bin_get_by_name(GST_BIN(get()), name);
        const gst_owned<GstElement> reference{element};
        EXPECT_NE(element, nullptr) << name;
        return element;
    }

    // Next sample of the appsink "out"; none at end of stream.
    [[nodiscard]] gst_owned<GstSample> pull() const {
        return gst_owned<GstSample>{
            gst_app_sink_try_pull_sample(GST_APP_SINK((*this)["out"]), patience)};
    }

    // Next message of these types; none on timeout.
    [[nodiscard]] gst_owned<GstMessage> wait_for(GstMessageType types,
                                                 GstClockTime timeout = patience) const {
        const gst_owned<GstBus> bus{gst_element_get_bus(get())};
        return gst_owned<GstMessage>{gst_bus_timed_pop_filtered(bus.get(), timeout, types)};
    }

    [[nodiscard]] GstElement* get() const { return pipeline_.get(); }

private:
    gst_owned<GstElement> pipeline_;
};

// True if the elements refuse each other's streams, when linked or when playing.
inline bool is_refused(const std::string& description) {
    GError* error = nullptr;
    const gst_owned<GstElement> pipeline = own_floating(
        gst_parse_launch_full(description.c_str(), nullptr, GST_PARSE_FLAG_FATAL_ERRORS, &error));
    const g_error_owned owned_error{error};
    if (!pipeline) {
        return true;
    }
    gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
    const gst_owned<GstBus> bus{gst_element_get_bus(pipeline.get())};
    const gst_owned<GstMessage> end{gst_bus_timed_pop_filtered(
        bus.get(), patience, static_cast<GstMessageType>(GST_MESSAGE_ERROR | GST_MESSAGE_EOS))};
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    return end && GST_MESSAGE_TYPE(end.get()) == GST_MESSAGE_ERROR;
}

inline void set(GstElement* element, const char* property, const std::string& value) {
    gst_util_set_object_arg(G_OBJECT(element), property, value.c_str());
}

// Initialises GStreamer.
class GstTest : public testing::Test {
protected:
    static void SetUpTestSuite() { init_with_stand_ins(); }
};

// alsasrc: a microphone with a steady tone, for machines without a sound card. The plug-in's file
// has the same name as the system's, so GStreamer loads it instead.
#include "element_class.h"
#include "source_wait.h"
#include "stand_in.h"

#include <cmath>
#include <memory>
#include <mutex>
#include <numbers>
#include <span>
#include <string>

namespace {

enum property : guint { prop_device = 1 };

constexpr const char* CAPS_TEXT = "audio/x-raw, format=S16LE, layout=interleaved, "
                                  "rate={48000, 44100}, channels=2";
constexpr guint CHANNELS = 2;

constexpr guint TONE_HZ = 440;
// Quiet, like a microphone: amplified fifty times, it just uses the full range of a sample.
constexpr double AMPLITUDE = 32767.0 / 50;

// A buffer is one period of the card. The card's memory keeps one second of unread periods; older
// ones are lost.
constexpr guint PERIODS_A_SECOND = 50;
constexpr GstClockTime PERIOD_TIME = GST_SECOND / PERIODS_A_SECOND;
constexpr guint64 CARD_PERIODS = 50;

struct source_state {
    std::mutex mutex; // protects the property
    std::string device = "default";
    sim::source_wait wait;
    // Used by the streaming thread, and by state changes while it is stopped.
    guint rate = 0;
    guint64 period = 0;                            // number of the next period
    GstClockTime first_time = GST_CLOCK_TIME_NONE; // running time of period 0
};

struct SimMicrophone {
    GstPushSrc parent;
    source_state state;
};

struct SimMicrophoneClass {
    GstPushSrcClass parent_class;
};

} // namespace

G_DEFINE_TYPE(SimMicrophone, sim_alsasrc, GST_TYPE_PUSH_SRC)

namespace {

SimMicrophone* self_of(gpointer object) {
    return static_cast<SimMicrophone*>(object);
}

gboolean start(GstBaseSrc* base) noexcept {
    source_state& state = self_of(base)->state;
    state.period = 0;
    state.first_time = GST_CLOCK_TIME_NONE;
    return TRUE;
}

GstCaps* fixate(GstBaseSrc*, GstCaps* caps) noexcept {
    GstCaps* const one = gst_caps_make_writable(gst_caps_truncate(caps));
    GstStructure* const open = gst_caps_get_structure(one, 0);
    gst_structure_fixate_field_nearest_int(open, "rate", 48000);
    return gst_caps_fixate(one);
}

guint samples_a_period(const source_state& state) {
    return state.rate / PERIODS_A_SECOND;
}

gboolean set_caps(GstBaseSrc* base, GstCaps* caps) noexcept {
    source_state& state = self_of(base)->state;
    gint rate = 0;
    gst_structure_get_int(gst_caps_get_structure(caps, 0), "rate", &rate);
    state.rate = static_cast<guint>(rate);
    gst_base_src_set_blocksize(base, samples_a_period(state) * CHANNELS * guint{sizeof(gint16)});
    return TRUE;
}

gboolean query(GstBaseSrc* base, GstQuery* what) noexcept {
    if (GST_QUERY_TYPE(what) != GST_QUERY_LATENCY) {
        return GST_BASE_SRC_CLASS(sim_alsasrc_parent_class)->query(base, what);
    }
    gst_query_set_latency(what, TRUE, PERIOD_TIME, CARD_PERIODS * PERIOD_TIME);
    return TRUE;
}

// Waits until the next period is recorded. Sets `lost` if unread periods were overrun.
sim::waited wait_for_period(SimMicrophone* self, bool& lost) {
    source_state& state = self->state;
    const GstClockTime now = gst_element_get_current_running_time(GST_ELEMENT(self));
    if (!GST_CLOCK_TIME_IS_VALID(state.first_time)) {
        state.first_time = now;
    }
    const guint64 recorded = (now - state.first_time) / PERIOD_TIME;
    lost = recorded > state.period + CARD_PERIODS;
    if (lost) {
        state.period = recorded - CARD_PERIODS;
    }
    const GstClockTime due = state.first_time + (state.period + 1) * PERIOD_TIME;
    return state.wait.wait(due > now ? due - now : 0);
}

// The tone has a whole number of cycles per second, so periods join seamlessly.
gint16 tone_at(guint64 sample, guint rate) {
    const auto turn = static_cast<double>(sample % rate * TONE_HZ % rate) / rate;
    return static_cast<gint16>(std::lround(AMPLITUDE * std::sin(2 * std::numbers::pi * turn)));
}

void record(const source_state& state, guint64 sample, std::span<gint16> to) {
    for (std::size_t i = 0; i < to.size(); ++i) {
        to[i] = tone_at(sample + i / CHANNELS, state.rate);
    }
}

GstFlowReturn fill(GstPushSrc* push, GstBuffer* buffer) noexcept {
    SimMicrophone* self = self_of(push);
    source_state& state = self->state;
    bool lost = false;
    if (wait_for_period(self, lost) == sim::waited::flushing) {
        return GST_FLOW_FLUSHING;
    }
    GstMapInfo map;
    if (gst_buffer_map(buffer, &map, GST_MAP_WRITE) == FALSE) {
        return GST_FLOW_ERROR;
    }
    const guint64 sample = state.period * samples_a_period(state);
    record(state, sample, {reinterpret_cast<gint16*>(map.data), map.size / sizeof(gint16)});
    gst_buffer_unmap(buffer, &map);
    GST_BUFFER_PTS(buffer) = state.first_time + state.period * PERIOD_TIME;
    GST_BUFFER_DURATION(buffer) = PERIOD_TIME;
    GST_BUFFER_OFFSET(buffer) = sample;
    GST_BUFFER_OFFSET_END(buffer) = sample + samples_a_period(state);
    if (lost) {
        GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DISCONT);
    }
    ++state.period;
    return GST_FLOW_OK;
}

// The only property.
void set_property(GObject* object, guint, const GValue* value, GParamSpec*) noexcept {
    source_state& state = self_of(object)->state;
    const std::scoped_lock lock(state.mutex);
    state.device = sim::text_of(value);
}

void get_property(GObject* object, guint, GValue* value, GParamSpec*) noexcept {
    source_state& state = self_of(object)->state;
    const std::scoped_lock lock(state.mutex);
    g_value_set_string(value, state.device.c_str());
}

void finalize(GObject* object) noexcept {
    std::destroy_at(&self_of(object)->state);
    G_OBJECT_CLASS(sim_alsasrc_parent_class)->finalize(object);
}

gboolean plugin_init(GstPlugin* plugin) {
    return sim::register_stand_in(plugin, "alsasrc", GST_RANK_PRIMARY, sim_alsasrc_get_type());
}

} // namespace

static void sim_alsasrc_init(SimMicrophone* self) {
    std::construct_at(&self->state);
    sim::make_live(self);
}

static void sim_alsasrc_class_init(SimMicrophoneClass* klass) {
    auto* object = G_OBJECT_CLASS(klass);
    object->set_property = set_property;
    object->get_property = get_property;
    object->finalize = finalize;
    g_object_class_install_property(object, prop_device,
                                    g_param_spec_string("device", "Device",
                                                        "Accepted; all devices sound the same",
                                                        "default", sim::property_flags));

    auto* element = GST_ELEMENT_CLASS(klass);
    sim::describe(element, "Microphone", "Source/Audio", "Delivers a steady tone");
    sim::add_pad(element, GST_PAD_SRC, CAPS_TEXT);

    sim::flush_through_wait<SimMicrophone>(klass);
    auto* source = GST_BASE_SRC_CLASS(klass);
    source->start = start;
    source->fixate = fixate;
    source->set_caps = set_caps;
    source->query = query;
    GST_PUSH_SRC_CLASS(klass)->fill = fill;
}

#define PACKAGE "vtrdc"
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, alsa, "Stand-in for the sight's microphone",
                  plugin_init, VTRDC_VERSION, "Proprietary", "vtrdc", "https://localhost/")

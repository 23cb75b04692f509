// perf: passes buffers through, counts them, and posts the frame rate on the bus once a second.
#include "element_class.h"
#include "elements.h"
#include "util/gst_owned.h"

#include <gst/base/gstbasetransform.h>

#include <atomic>
#include <ctime>

GST_DEBUG_CATEGORY_STATIC(perf_debug);
#define GST_CAT_DEFAULT perf_debug

namespace {

enum property : guint { prop_print_cpu_load = 1 };

// The time of the last report, the process's CPU time then, and the frames since then.
struct tally {
    gint64 since_us = 0; // 0: no report yet
    std::clock_t processor_since = 0;
    guint frames = 0;
};

struct SimPerf {
    GstBaseTransform parent;
    std::atomic<bool> print_cpu_load;
    tally count; // streaming thread only
};

struct SimPerfClass {
    GstBaseTransformClass parent_class;
};

constexpr gint64 REPORT_INTERVAL_US = G_USEC_PER_SEC;

} // namespace

G_DEFINE_TYPE(SimPerf, sim_perf, GST_TYPE_BASE_TRANSFORM)

namespace {

SimPerf* self_of(gpointer object) {
    return static_cast<SimPerf*>(object);
}

// The element's name, the frame rate and, if requested, the process's CPU load in percent.
g_text report_text(SimPerf* self, gint64 now_us) {
    const tally& count = self->count;
    const double seconds = static_cast<double>(now_us - count.since_us) / G_USEC_PER_SEC;
    const double fps = count.frames / seconds;
    if (!self->print_cpu_load) {
        return g_text{g_strdup_printf("perf: %s; fps: %.3f", GST_OBJECT_NAME(self), fps)};
    }
    const auto ticks = static_cast<double>(std::clock() - count.processor_since);
    return g_text{g_strdup_printf("perf: %s; fps: %.3f; cpu: %.0f", GST_OBJECT_NAME(self), fps,
                                  100.0 * ticks / CLOCKS_PER_SEC / seconds)};
}

// The first frame also causes a report, since `since_us` is still 0 then.
GstFlowReturn count_frame(GstBaseTransform* transform, GstBuffer*) noexcept {
    SimPerf* self = self_of(transform);
    const gint64 now_us = g_get_monotonic_time();
    if (now_us - self->count.since_us >= REPORT_INTERVAL_US) {
        const g_text text = report_text(self, now_us);
        GST_INFO_OBJECT(self, "%s", text.get());
        const g_error_owned info{
            g_error_new_literal(GST_CORE_ERROR, GST_CORE_ERROR_TAG, "Performance Information")};
        gst_element_post_message(GST_ELEMENT(self),
                                 gst_message_new_info(GST_OBJECT(self), info.get(), text.get()));
        self->count = {now_us, std::clock(), 0};
    }
    ++self->count.frames;
    return GST_FLOW_OK;
}

gboolean start(GstBaseTransform* transform) noexcept {
    self_of(transform)->count = {};
    return TRUE;
}

void set_property(GObject* object, guint id, const GValue* value, GParamSpec* spec) noexcept {
    if (id == prop_print_cpu_load) {
        self_of(object)->print_cpu_load = g_value_get_boolean(value) != FALSE;
    } else {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
    }
}

void get_property(GObject* object, guint id, GValue* value, GParamSpec* spec) noexcept {
    if (id == prop_print_cpu_load) {
        g_value_set_boolean(value, self_of(object)->print_cpu_load);
    } else {
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
    }
}

} // namespace

static void sim_perf_init(SimPerf* self) {
    self->print_cpu_load = false;
    gst_base_transform_set_passthrough(GST_BASE_TRANSFORM(self), TRUE);
}

static void sim_perf_class_init(SimPerfClass* klass) {
    perf_debug = sim::debug_category("perf");

    auto* object = G_OBJECT_CLASS(klass);
    object->set_property = set_property;
    object->get_property = get_property;
    g_object_class_install_property(object, prop_print_cpu_load,
                                    g_param_spec_boolean("print-cpu-load", "Print CPU load",
                                                         "Also report the CPU load", FALSE,
                                                         sim::property_flags));

    auto* element = GST_ELEMENT_CLASS(klass);
    sim::describe(element, "Profiler", "Generic", "Measures the frame rate");
    sim::add_pad(element, GST_PAD_SINK, "ANY");
    sim::add_pad(element, GST_PAD_SRC, "ANY");

    auto* transform = GST_BASE_TRANSFORM_CLASS(klass);
    transform->start = start;
    transform->transform_ip = count_frame;
    transform->transform_ip_on_passthrough = TRUE;
}

// perf: passes everything on and counts frames; tells rate and load when asked to.
#include "element_class.h"
#include "elements.h"
#include "video/gst_owned.h"

#include <gst/base/gstbasetransform.h>

#include <atomic>
#include <ctime>

GST_DEBUG_CATEGORY_STATIC(perf_debug);
#define GST_CAT_DEFAULT perf_debug

namespace {

enum property : guint { prop_print_cpu_load = 1 };

// Frames and processor time since the last report.
struct tally {
    gint64 since_us = 0;
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

constexpr gint64 report_interval_us = G_USEC_PER_SEC;

} // namespace

G_DEFINE_TYPE(SimPerf, sim_perf, GST_TYPE_BASE_TRANSFORM)

namespace {

SimPerf* self_of(gpointer object) {
    return static_cast<SimPerf*>(object);
}

void report(SimPerf* self, double seconds) {
    const double fps = self->count.frames / seconds;
    GST_INFO_OBJECT(self, "%.2f frames a second", fps);
    if (!self->print_cpu_load) {
        return;
    }
    const double load = 100.0 * static_cast<double>(std::clock() - self->count.processor_since) /
                        CLOCKS_PER_SEC / seconds;
    const g_text text(g_strdup_printf("%s: %.2f frames a second, processor load %.0f %%",
                                      GST_OBJECT_NAME(self), fps, load));
    const g_error_owned info(
        g_error_new_literal(GST_CORE_ERROR, GST_CORE_ERROR_FAILED, text.get()));
    gst_element_post_message(GST_ELEMENT(self),
                             gst_message_new_info(GST_OBJECT(self), info.get(), nullptr));
}

GstFlowReturn count_frame(GstBaseTransform* transform, GstBuffer*) noexcept {
    SimPerf* self = self_of(transform);
    const gint64 now_us = g_get_monotonic_time();
    if (self->count.since_us == 0) {
        self->count = {now_us, std::clock(), 0};
    }
    ++self->count.frames;
    const gint64 passed_us = now_us - self->count.since_us;
    if (passed_us >= report_interval_us) {
        report(self, static_cast<double>(passed_us) / G_USEC_PER_SEC);
        self->count = {now_us, std::clock(), 0};
    }
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
    g_object_class_install_property(
        object, prop_print_cpu_load,
        g_param_spec_boolean("print-cpu-load", "Print CPU load",
                             "Post rate and processor load once a second", FALSE,
                             sim::property_flags));

    auto* element = GST_ELEMENT_CLASS(klass);
    sim::describe(element, "Profiler", "Generic", "Counts what passes through");
    sim::add_pad(element, GST_PAD_SINK, "ANY");
    sim::add_pad(element, GST_PAD_SRC, "ANY");

    auto* transform = GST_BASE_TRANSFORM_CLASS(klass);
    transform->start = start;
    transform->transform_ip = count_frame;
    transform->transform_ip_on_passthrough = TRUE;
}

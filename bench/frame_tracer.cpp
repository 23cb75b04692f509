// A GStreamer tracer that records when each picture was due at the camera and when it was shown on
// the panel. Works in the daemon and in any other program, unchanged.
#define GST_USE_UNSTABLE_API // required for tracers

#include <gst/gst.h>
#include <gst/gsttracer.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>

namespace {

constexpr const char* PANEL_FACTORY = "imxipuvideosink";
// Names the output file; lines are due and shown, in ns of the monotonic clock.
constexpr const char* FILE_VARIABLE = "VTRDC_BENCH_FRAMES";

struct FrameTracer {
    GstTracer parent;
    int file;
};

struct FrameTracerClass {
    GstTracerClass parent_class;
};

// The picture that this thread is pushing to the panel: a push starts and ends on the same thread.
thread_local GstClockTime pushed_due = GST_CLOCK_TIME_NONE;

// Returns the panel's sink if the pad leads to it, else null.
GstElement* panel_behind(GstPad* pad) {
    GstPad* const peer = GST_PAD_PEER(pad);
    GstObject* const owner = peer != nullptr ? GST_OBJECT_PARENT(peer) : nullptr;
    if (owner == nullptr || !GST_IS_ELEMENT(owner)) {
        return nullptr;
    }
    GstElementFactory* const factory = gst_element_get_factory(GST_ELEMENT(owner));
    const bool is_panel =
        factory != nullptr && std::strcmp(GST_OBJECT_NAME(factory), PANEL_FACTORY) == 0;
    return is_panel ? GST_ELEMENT(owner) : nullptr;
}

// The camera's stamp is the picture's due time as running time; converted to clock time it is
// comparable between programs.
void before_push(FrameTracer*, GstClockTime, GstPad* pad, GstBuffer* buffer) noexcept {
    GstElement* const panel = panel_behind(pad);
    if (panel != nullptr && GST_BUFFER_PTS_IS_VALID(buffer)) {
        pushed_due = gst_element_get_base_time(panel) + GST_BUFFER_PTS(buffer);
    }
}

void after_push(FrameTracer* self, GstClockTime, GstPad* pad, GstFlowReturn) noexcept {
    if (!GST_CLOCK_TIME_IS_VALID(pushed_due) || panel_behind(pad) == nullptr) {
        return;
    }
    dprintf(self->file, "%" G_GUINT64_FORMAT " %" G_GUINT64_FORMAT "\n", pushed_due,
            gst_util_get_timestamp());
    pushed_due = GST_CLOCK_TIME_NONE;
}

} // namespace

G_DEFINE_TYPE(FrameTracer, frame_tracer, GST_TYPE_TRACER)

static void frame_tracer_class_init(FrameTracerClass*) {}

static void frame_tracer_init(FrameTracer* self) {
    const char* const path = std::getenv(FILE_VARIABLE);
    self->file = path != nullptr ? open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644) : -1;
    if (self->file >= 0) {
        GstTracer* const tracer = GST_TRACER(self);
        gst_tracing_register_hook(tracer, "pad-push-pre", G_CALLBACK(before_push));
        gst_tracing_register_hook(tracer, "pad-push-post", G_CALLBACK(after_push));
    }
}

static gboolean plugin_init(GstPlugin* plugin) {
    return gst_tracer_register(plugin, "panelframes", frame_tracer_get_type());
}

#define PACKAGE "vtrdc"
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, vtrdcbench,
                  "When pictures reach the sight's panel", plugin_init, VTRDC_VERSION,
                  "Proprietary", "vtrdc", "https://localhost/")

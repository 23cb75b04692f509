// imxipuvideosink: shows each picture on the panel, a framebuffer file that it maps.
#include "element_class.h"
#include "elements.h"
#include "panel_file.h"

#include <gst/video/gstvideosink.h>
#include <gst/video/video.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <ratio>
#include <string>
#include <thread>

GST_DEBUG_CATEGORY_STATIC(imxipuvideosink_debug);
#define GST_CAT_DEFAULT imxipuvideosink_debug

namespace {

enum property : guint { prop_framebuffer = 1, prop_use_vsync };

struct sink_state {
    std::mutex mutex; // the property
    std::string framebuffer = "/dev/fb0";
    std::atomic<bool> use_vsync = false;
    // Streaming thread, and state changes while it doesn't run.
    sim::panel_file panel;
    GstVideoInfo info;
    std::chrono::steady_clock::time_point drawn_until; // the refresh that shows the last picture
};

struct SimIpuVideoSink {
    GstVideoSink parent;
    sink_state state;
};

struct SimIpuVideoSinkClass {
    GstVideoSinkClass parent_class;
};

} // namespace

G_DEFINE_TYPE(SimIpuVideoSink, sim_imxipuvideosink, GST_TYPE_VIDEO_SINK)

namespace {

SimIpuVideoSink* self_of(gpointer object) {
    return static_cast<SimIpuVideoSink*>(object);
}

gboolean start(GstBaseSink* base) noexcept {
    sink_state& state = self_of(base)->state;
    const std::scoped_lock lock(state.mutex);
    if (!state.panel.open(state.framebuffer)) {
        GST_ELEMENT_ERROR(base, RESOURCE, OPEN_WRITE,
                          ("Can't open the framebuffer %s", state.framebuffer.c_str()),
                          GST_ERROR_SYSTEM);
        return FALSE;
    }
    return TRUE;
}

gboolean stop(GstBaseSink* base) noexcept {
    self_of(base)->state.panel.close();
    return TRUE;
}

gboolean set_caps(GstBaseSink* base, GstCaps* caps) noexcept {
    return gst_video_info_from_caps(&self_of(base)->state.info, caps);
}

// Returns the panel's next refresh; there are sixty a second.
std::chrono::steady_clock::time_point next_refresh() {
    using refreshes = std::chrono::duration<std::int64_t, std::ratio<1, 60>>;
    const auto now = std::chrono::steady_clock::now();
    return std::chrono::ceil<std::chrono::steady_clock::duration>(
        std::chrono::floor<refreshes>(now) + refreshes{1});
}

GstFlowReturn show_frame(GstVideoSink* sink, GstBuffer* buffer) noexcept {
    sink_state& state = self_of(sink)->state;
    if (state.use_vsync) {
        std::this_thread::sleep_until(state.drawn_until);
    }
    GstVideoFrame frame;
    if (gst_video_frame_map(&frame, &state.info, buffer, GST_MAP_READ) == FALSE) {
        GST_ELEMENT_ERROR(sink, RESOURCE, READ, (nullptr), ("can't map a picture"));
        return GST_FLOW_ERROR;
    }
    const bool shown =
        state.panel.show({static_cast<const std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, 0)),
                          GST_VIDEO_FRAME_WIDTH(&frame), GST_VIDEO_FRAME_HEIGHT(&frame),
                          GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0)});
    gst_video_frame_unmap(&frame);
    if (!shown) {
        GST_INFO_OBJECT(sink, "dropped a picture");
    }
    state.drawn_until = next_refresh();
    return GST_FLOW_OK;
}

void set_property(GObject* object, guint id, const GValue* value, GParamSpec* spec) noexcept {
    sink_state& state = self_of(object)->state;
    const std::scoped_lock lock(state.mutex);
    switch (id) {
    case prop_framebuffer:
        state.framebuffer = sim::text_of(value);
        break;
    case prop_use_vsync:
        state.use_vsync = g_value_get_boolean(value) != FALSE;
        break;
    default:
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
    }
}

void get_property(GObject* object, guint id, GValue* value, GParamSpec* spec) noexcept {
    sink_state& state = self_of(object)->state;
    const std::scoped_lock lock(state.mutex);
    switch (id) {
    case prop_framebuffer:
        g_value_set_string(value, state.framebuffer.c_str());
        break;
    case prop_use_vsync:
        g_value_set_boolean(value, state.use_vsync);
        break;
    default:
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
    }
}

void finalize(GObject* object) noexcept {
    std::destroy_at(&self_of(object)->state);
    G_OBJECT_CLASS(sim_imxipuvideosink_parent_class)->finalize(object);
}

} // namespace

static void sim_imxipuvideosink_init(SimIpuVideoSink* self) {
    std::construct_at(&self->state);
    gst_video_info_init(&self->state.info);
}

static void sim_imxipuvideosink_class_init(SimIpuVideoSinkClass* klass) {
    imxipuvideosink_debug = sim::debug_category("imxipuvideosink");

    auto* object = G_OBJECT_CLASS(klass);
    object->set_property = set_property;
    object->get_property = get_property;
    object->finalize = finalize;
    g_object_class_install_property(object, prop_framebuffer,
                                    g_param_spec_string("framebuffer", "Framebuffer",
                                                        "Framebuffer device of the panel",
                                                        "/dev/fb0", sim::property_flags));
    g_object_class_install_property(object, prop_use_vsync,
                                    g_param_spec_boolean("use-vsync", "Use vsync",
                                                         "Show one picture per refresh", FALSE,
                                                         sim::property_flags));

    auto* element = GST_ELEMENT_CLASS(klass);
    sim::describe(element, "IPU video sink", "Sink/Video", "Shows pictures on the panel");
    sim::add_pad(element, GST_PAD_SINK, "video/x-raw, format=(string){ RGBA, RGBx }");

    auto* sink = GST_BASE_SINK_CLASS(klass);
    sink->start = start;
    sink->stop = stop;
    sink->set_caps = set_caps;
    GST_VIDEO_SINK_CLASS(klass)->show_frame = show_frame;
}

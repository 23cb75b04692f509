// imxv4l2videosrc: the thermal core's camera, 640 x 480 pictures at 30 frames a second.
#include "camera_driver.h"
#include "element_class.h"
#include "elements.h"
#include "footage.h"
#include "source_wait.h"
#include "thermal_core.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <sys/stat.h>

GST_DEBUG_CATEGORY(imxv4l2videosrc_debug);
#define GST_CAT_DEFAULT imxv4l2videosrc_debug

namespace {

enum property : guint { prop_device = 1, prop_capture_mode, prop_queue_size };

// Grey is luma alone: chroma stays at its middle. The full range (the 1 in the colorimetry) is
// used, as a thermal core's palette does.
constexpr std::uint8_t NO_CHROMA = 128;
constexpr const char* CAPS_TEXT = "video/x-raw, format=NV12, width=640, height=480, "
                                  "framerate=30/1, colorimetry=(string)1:4:0:0";
constexpr guint FRAME_BYTES = sim::SENSOR_PIXELS * 3 / 2;

struct file_identity {
    dev_t device = 0;
    ino_t number = 0;

    bool operator==(const file_identity&) const = default;
};

struct source_state {
    std::mutex mutex; // properties
    std::string device = "/dev/video0";
    gint capture_mode = 0;
    gint queue_size = 6;
    sim::source_wait wait;
    // Streaming thread, and state changes while it doesn't run.
    std::string playing; // the device that was opened
    std::optional<sim::camera_driver> driver;
    file_identity shown; // what it led to
    std::optional<sim::footage> footage;
    std::optional<sim::thermal_core> core;
    guint64 frame = 0;                             // number of the next one
    GstClockTime first_time = GST_CLOCK_TIME_NONE; // running time of frame 0
};

struct SimCamera {
    GstPushSrc parent;
    source_state state;
};

struct SimCameraClass {
    GstPushSrcClass parent_class;
};

} // namespace

G_DEFINE_TYPE(SimCamera, sim_imxv4l2videosrc, GST_TYPE_PUSH_SRC)

namespace {

SimCamera* self_of(gpointer object) {
    return static_cast<SimCamera*>(object);
}

// What the device leads to; none while the cable is pulled.
std::optional<file_identity> look_at(const std::string& device) {
    struct stat status {};
    if (stat(device.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return file_identity{status.st_dev, status.st_ino};
}

gboolean start(GstBaseSrc* base) noexcept {
    source_state& state = self_of(base)->state;
    {
        const std::scoped_lock lock(state.mutex);
        state.playing = state.device;
    }
    state.driver.emplace(state.playing);
    state.driver->call();
    const std::optional<file_identity> shown = look_at(state.playing);
    if (!shown) {
        state.driver.reset();
        GST_ELEMENT_ERROR(base, RESOURCE, NOT_FOUND,
                          ("There is no camera at %s", state.playing.c_str()), GST_ERROR_SYSTEM);
        return FALSE;
    }
    state.wait.watch(state.driver->descriptor());
    state.frame = 0;
    state.first_time = GST_CLOCK_TIME_NONE;
    state.shown = *shown;
    state.footage.emplace(GST_ELEMENT(base)).open(state.playing, 0);
    state.core.emplace(sim::core_state_folder());
    return TRUE;
}

gboolean stop(GstBaseSrc* base) noexcept {
    source_state& state = self_of(base)->state;
    state.footage.reset();
    state.core.reset();
    state.wait.watch_none();
    state.driver.reset();
    return TRUE;
}

GstClockTime frame_time(guint64 frame) {
    return gst_util_uint64_scale(frame, GST_SECOND, guint64{sim::SENSOR_RATE});
}

// Waits until the next frame is due, or something changed beside the device. Frames that are past
// already, after a pause or a stall, are left out.
sim::waited wait_for_frame(SimCamera* self) {
    source_state& state = self->state;
    if (state.driver->is_silent()) {
        return state.wait.wait(GST_CLOCK_TIME_NONE);
    }
    const GstClockTime now = gst_element_get_current_running_time(GST_ELEMENT(self));
    if (!GST_CLOCK_TIME_IS_VALID(state.first_time)) {
        state.first_time = now;
    }
    const guint64 past =
        gst_util_uint64_scale(now - state.first_time, guint64{sim::SENSOR_RATE}, GST_SECOND);
    state.frame = std::max(state.frame, past);
    const GstClockTime due = state.first_time + frame_time(state.frame);
    return state.wait.wait(due > now ? due - now : 0);
}

// Draws what the core makes of the sensor's picture. False when the buffer can't be written.
bool draw(source_state& state, GstClockTime time, GstBuffer* buffer) {
    GstMapInfo map;
    if (gst_buffer_map(buffer, &map, GST_MAP_WRITE) == FALSE) {
        return false;
    }
    const sim::grey_picture picture = state.footage->at(time);
    state.core->deliver({picture.data(), sim::SENSOR_WIDTH, sim::SENSOR_WIDTH, sim::SENSOR_HEIGHT},
                        state.frame,
                        {map.data, sim::SENSOR_WIDTH, sim::SENSOR_WIDTH, sim::SENSOR_HEIGHT});
    std::memset(map.data + picture.size(), NO_CHROMA, FRAME_BYTES - picture.size());
    gst_buffer_unmap(buffer, &map);
    return true;
}

// Another file in place of the one that plays is shown from this picture on. False when there is
// none.
bool follow_device(source_state& state, GstClockTime time) {
    const std::optional<file_identity> there = look_at(state.playing);
    if (there && *there != state.shown) {
        GST_INFO("there is other footage at %s", state.playing.c_str());
        state.shown = *there;
        state.footage->open(state.playing, time);
    }
    return there.has_value();
}

// The next picture's time, as the driver gives it; none in case of an end or a flush, which `flow`
// says.
std::optional<GstClockTime> take_picture(SimCamera* self, GstFlowReturn& flow) {
    source_state& state = self->state;
    for (sim::waited reason = sim::waited::woken; reason == sim::waited::woken;) {
        state.driver->call();
        reason = wait_for_frame(self);
        if (reason == sim::waited::flushing) {
            flow = GST_FLOW_FLUSHING;
            return std::nullopt;
        }
        if (!follow_device(state, frame_time(state.frame))) {
            GST_INFO_OBJECT(self, "the camera's cable was pulled");
            flow = GST_FLOW_EOS;
            return std::nullopt;
        }
    }
    return frame_time(state.frame);
}

GstFlowReturn fill(GstPushSrc* push, GstBuffer* buffer) noexcept {
    SimCamera* self = self_of(push);
    source_state& state = self->state;
    GstFlowReturn flow = GST_FLOW_OK;
    const std::optional<GstClockTime> time = take_picture(self, flow);
    if (!time) {
        return flow;
    }
    if (!draw(state, *time, buffer)) {
        return GST_FLOW_ERROR;
    }
    GST_BUFFER_PTS(buffer) = state.first_time + *time;
    GST_BUFFER_DURATION(buffer) = frame_time(1);
    ++state.frame;
    return GST_FLOW_OK;
}

void set_property(GObject* object, guint id, const GValue* value, GParamSpec* spec) noexcept {
    source_state& state = self_of(object)->state;
    const std::scoped_lock lock(state.mutex);
    switch (id) {
    case prop_device:
        state.device = sim::text_of(value);
        break;
    case prop_capture_mode:
        state.capture_mode = g_value_get_int(value);
        break;
    case prop_queue_size:
        state.queue_size = g_value_get_int(value);
        break;
    default:
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
    }
}

void get_property(GObject* object, guint id, GValue* value, GParamSpec* spec) noexcept {
    source_state& state = self_of(object)->state;
    const std::scoped_lock lock(state.mutex);
    switch (id) {
    case prop_device:
        g_value_set_string(value, state.device.c_str());
        break;
    case prop_capture_mode:
        g_value_set_int(value, state.capture_mode);
        break;
    case prop_queue_size:
        g_value_set_int(value, state.queue_size);
        break;
    default:
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
    }
}

void finalize(GObject* object) noexcept {
    std::destroy_at(&self_of(object)->state);
    G_OBJECT_CLASS(sim_imxv4l2videosrc_parent_class)->finalize(object);
}

void install_properties(GObjectClass* object) {
    g_object_class_install_property(object, prop_device,
                                    g_param_spec_string("device", "Device",
                                                        "Video file or camera device",
                                                        "/dev/video0", sim::property_flags));
    g_object_class_install_property(object, prop_capture_mode,
                                    g_param_spec_int("imx-capture-mode", "Capture mode",
                                                     "Accepted; the sensor has one mode", 0,
                                                     G_MAXINT, 0, sim::property_flags));
    g_object_class_install_property(
        object, prop_queue_size,
        g_param_spec_int("queue-size", "Queue size",
                         "Accepted; pictures are made when they are due", 0, G_MAXINT, 6,
                         sim::property_flags));
}

} // namespace

static void sim_imxv4l2videosrc_init(SimCamera* self) {
    std::construct_at(&self->state);
    sim::make_live(self);
    gst_base_src_set_blocksize(GST_BASE_SRC(self), FRAME_BYTES);
}

static void sim_imxv4l2videosrc_class_init(SimCameraClass* klass) {
    imxv4l2videosrc_debug = sim::debug_category("imxv4l2videosrc");

    auto* object = G_OBJECT_CLASS(klass);
    object->set_property = set_property;
    object->get_property = get_property;
    object->finalize = finalize;
    install_properties(object);

    auto* element = GST_ELEMENT_CLASS(klass);
    sim::describe(element, "Thermal camera", "Source/Video",
                  "Plays footage as a thermal core does");
    sim::add_pad(element, GST_PAD_SRC, CAPS_TEXT);

    sim::flush_through_wait<SimCamera>(klass);
    auto* source = GST_BASE_SRC_CLASS(klass);
    source->start = start;
    source->stop = stop;
    GST_PUSH_SRC_CLASS(klass)->fill = fill;
}

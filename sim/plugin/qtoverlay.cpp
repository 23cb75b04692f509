// qtoverlay: draws a QML scene over each frame. The scene runs on its own thread; the streaming
// thread only blends the scene's latest picture.
#include "element_class.h"
#include "elements.h"
#include "overlay_scene.h"

#include <gst/video/gstvideofilter.h>
#include <gst/video/video.h>

#include <atomic>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

enum property : guint { prop_qml = 1, prop_qml_attribute, prop_disable };

// Posts the scene thread's messages while the element exists. Keeps a text until the element's pipe
// has a bus.
class scene_reports {
public:
    explicit scene_reports(GstElement* element) { g_weak_ref_init(&element_, element); }
    scene_reports(const scene_reports&) = delete;
    scene_reports& operator=(const scene_reports&) = delete;
    ~scene_reports() { g_weak_ref_clear(&element_); }

    void add(const std::string& text) {
        {
            const std::scoped_lock lock(mutex_);
            if (!started_) {
                waiting_.push_back(text);
                return;
            }
        }
        post(text);
    }

    void start() {
        std::vector<std::string> waiting;
        {
            const std::scoped_lock lock(mutex_);
            started_ = true;
            waiting.swap(waiting_);
        }
        for (const std::string& text : waiting) {
            post(text);
        }
    }

private:
    void post(const std::string& text) {
        const gst_owned<GstElement> element{static_cast<GstElement*>(g_weak_ref_get(&element_))};
        if (element) {
            GST_ELEMENT_WARNING(element.get(), RESOURCE, FAILED, ("%s", text.c_str()), (nullptr));
        }
    }

    GWeakRef element_;
    std::mutex mutex_;
    bool started_ = false;
    std::vector<std::string> waiting_;
};

struct overlay_state {
    std::atomic<bool> disabled = false;
    std::mutex mutex; // protects the texts of properties
    std::string qml;
    std::string attribute;
    std::shared_ptr<scene_reports> reports;
    std::unique_ptr<sim::overlay_scene> scene;
};

struct SimQtOverlay {
    GstVideoFilter parent;
    overlay_state state;
};

struct SimQtOverlayClass {
    GstVideoFilterClass parent_class;
};

} // namespace

G_DEFINE_TYPE(SimQtOverlay, sim_qtoverlay, GST_TYPE_VIDEO_FILTER)

namespace {

SimQtOverlay* self_of(gpointer object) {
    return static_cast<SimQtOverlay*>(object);
}

// Logs what the daemon told the overlay.
void log_attribute(const std::string& text) {
    const char* const root = secure_getenv("VTRDC_SYSROOT");
    if (root == nullptr || *root == '\0') {
        return;
    }
    const std::string path = std::string(root) + "/var/log/overlay.log";
    const int log = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (log < 0) {
        return;
    }
    const std::string line = text + "\n";
    if (write(log, line.data(), line.size()) < 0) {
        // A full disk must not stop the picture.
    }
    close(log);
}

void set_property(GObject* object, guint id, const GValue* value, GParamSpec* spec) noexcept {
    overlay_state& state = self_of(object)->state;
    const std::scoped_lock lock(state.mutex);
    switch (id) {
    case prop_qml:
        state.qml = sim::text_of(value);
        state.scene->load(state.qml);
        break;
    case prop_qml_attribute:
        state.attribute = sim::text_of(value);
        log_attribute(state.attribute);
        state.scene->set_attribute(state.attribute);
        break;
    case prop_disable:
        state.disabled = g_value_get_boolean(value) != FALSE;
        break;
    default:
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
    }
}

void get_property(GObject* object, guint id, GValue* value, GParamSpec* spec) noexcept {
    overlay_state& state = self_of(object)->state;
    const std::scoped_lock lock(state.mutex);
    switch (id) {
    case prop_qml:
        g_value_set_string(value, state.qml.c_str());
        break;
    case prop_qml_attribute:
        g_value_set_string(value, state.attribute.c_str());
        break;
    case prop_disable:
        g_value_set_boolean(value, state.disabled);
        break;
    default:
        G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
    }
}

GstFlowReturn transform_frame_ip(GstVideoFilter* filter, GstVideoFrame* frame) noexcept {
    overlay_state& state = self_of(filter)->state;
    if (state.disabled) {
        return GST_FLOW_OK;
    }
    if (const auto picture = state.scene->picture()) {
        picture->blend_onto(static_cast<std::uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(frame, 0)),
                            static_cast<std::size_t>(GST_VIDEO_FRAME_PLANE_STRIDE(frame, 0)));
    }
    return GST_FLOW_OK;
}

gboolean start(GstBaseTransform* transform) noexcept {
    self_of(transform)->state.reports->start();
    return TRUE;
}

void finalize(GObject* object) noexcept {
    std::destroy_at(&self_of(object)->state);
    G_OBJECT_CLASS(sim_qtoverlay_parent_class)->finalize(object);
}

void install_properties(GObjectClass* object) {
    g_object_class_install_property(
        object, prop_qml,
        g_param_spec_string("qml", "QML", "Scene file", nullptr, sim::property_flags));
    g_object_class_install_property(object, prop_qml_attribute,
                                    g_param_spec_string("qml-attribute", "QML attribute",
                                                        "Changes the scene: object.property:value",
                                                        nullptr, sim::property_flags));
    g_object_class_install_property(object, prop_disable,
                                    g_param_spec_boolean("disable", "Disable",
                                                         "Pass frames unchanged", FALSE,
                                                         sim::property_flags));
}

} // namespace

static void sim_qtoverlay_init(SimQtOverlay* self) {
    std::construct_at(&self->state);
    self->state.reports = std::make_shared<scene_reports>(GST_ELEMENT(self));
    self->state.scene = std::make_unique<sim::overlay_scene>(
        [reports = self->state.reports](const std::string& text) { reports->add(text); });
}

static void sim_qtoverlay_class_init(SimQtOverlayClass* klass) {
    auto* object = G_OBJECT_CLASS(klass);
    object->set_property = set_property;
    object->get_property = get_property;
    object->finalize = finalize;
    install_properties(object);

    auto* element = GST_ELEMENT_CLASS(klass);
    sim::describe(element, "QML overlay", "Filter/Effect/Video", "Draws a QML scene on pictures");
    const char* const caps = "video/x-raw, format=RGBA, width=1024, height=768";
    sim::add_pad(element, GST_PAD_SINK, caps);
    sim::add_pad(element, GST_PAD_SRC, caps);

    GST_BASE_TRANSFORM_CLASS(klass)->start = start;
    GST_VIDEO_FILTER_CLASS(klass)->transform_frame_ip = transform_frame_ip;
}

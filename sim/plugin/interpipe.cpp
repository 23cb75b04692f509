// Channels and their process-wide registry.
#include "interpipe.h"

#include <gst/base/gstbasesink.h>

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace sim {
namespace {

GstPad* pad_of(GstElement* source) {
    return GST_BASE_SRC_PAD(source);
}

bool is_negotiated(GstAppSrc* source) {
    return gst_owned<GstCaps>{gst_app_src_get_caps(source)} != nullptr;
}

// Returns the caps accepted downstream of the source.
gst_owned<GstCaps> taken_by(GstElement* source) {
    return gst_owned<GstCaps>{gst_pad_peer_query_caps(pad_of(source), nullptr)};
}

gst_owned<GstBuffer> stamped(GstBuffer* buffer, GstClockTime pts, GstClockTime dts) {
    gst_owned<GstBuffer> copy{gst_buffer_copy(buffer)}; // shares the memory
    GST_BUFFER_PTS(copy.get()) = pts;
    GST_BUFFER_DTS(copy.get()) = dts;
    return copy;
}

GstClockTime shifted(GstClockTime stamp, GstClockTimeDiff offset) {
    return GST_CLOCK_TIME_IS_VALID(stamp) ? stamp + static_cast<GstClockTime>(offset) : stamp;
}

// Returns none for a buffer older than the listening pipe, which has no running time before it
// plays.
gst_owned<GstBuffer> compensated(GstElement* producer, GstElement* source, GstBuffer* buffer) {
    const auto offset =
        GST_CLOCK_DIFF(gst_element_get_base_time(source), gst_element_get_base_time(producer));
    const GstClockTime pts = GST_BUFFER_PTS(buffer);
    if (GST_STATE(source) != GST_STATE_PLAYING ||
        (GST_CLOCK_TIME_IS_VALID(pts) && GST_CLOCK_DIFF(0, pts) + offset < 0)) {
        return nullptr;
    }
    return stamped(buffer, shifted(pts, offset), shifted(GST_BUFFER_DTS(buffer), offset));
}

gst_owned<GstBuffer> for_listener(const listener& who, GstElement* producer, GstBuffer* buffer) {
    switch (who.sync) {
    case sync_restart:
        return stamped(buffer, GST_CLOCK_TIME_NONE, GST_CLOCK_TIME_NONE);
    case sync_compensate:
        return compensated(producer, GST_ELEMENT(who.source), buffer);
    default:
        return own_shared(buffer);
    }
}

// Not passed: stream start, segment and tags, which the listening source has itself; caps, which
// take another path; and end-of-stream.
bool passes(GstEvent* event) {
    return !GST_EVENT_IS_STICKY(event);
}

bool is_flush(GstEvent* event) {
    return GST_EVENT_TYPE(event) == GST_EVENT_FLUSH_START ||
           GST_EVENT_TYPE(event) == GST_EVENT_FLUSH_STOP;
}

struct name_register {
    std::mutex mutex;
    std::map<std::string, std::weak_ptr<channel>> channels;
    std::set<std::string> listeners;
};

// Leaked on purpose: streaming threads may still run during exit.
name_register& the_register() {
    static auto* instance = new name_register;
    return *instance;
}

} // namespace

bool channel::attach(GstElement* producer) {
    const std::scoped_lock lock(mutex_);
    if (producer_ == nullptr) {
        producer_ = producer;
    }
    return producer_ == producer;
}

void channel::detach(const GstElement* producer) {
    const std::scoped_lock lock(mutex_);
    if (producer_ == producer) {
        producer_ = nullptr;
        caps_.reset();
    }
}

// Call with the lock held. A listener that doesn't renegotiate keeps its caps.
void channel::give_caps(listener& who) {
    if (who.allow_renegotiation || !is_negotiated(who.source)) {
        gst_app_src_set_caps(who.source, caps_.get());
    }
}

bool channel::join(listener& who) {
    const bool was_negotiated = is_negotiated(who.source);
    const gst_owned<GstCaps> taken = taken_by(GST_ELEMENT(who.source));
    gst_owned<GstElement> to_renegotiate;
    {
        const std::scoped_lock lock(mutex_);
        who.is_fed = !caps_ || !was_negotiated || gst_caps_can_intersect(caps_.get(), taken.get());
        if (!who.is_fed && !listeners_.empty()) {
            return false;
        }
        listeners_.push_back(&who);
        if (!who.is_fed) {
            to_renegotiate = own_shared(producer_);
        } else if (caps_) {
            give_caps(who);
        }
    }
    // It queries caps, so the listener must be registered already.
    if (to_renegotiate) {
        gst_pad_push_event(GST_BASE_SINK_PAD(to_renegotiate.get()), gst_event_new_reconfigure());
    }
    return true;
}

void channel::leave(const listener& who) {
    const std::scoped_lock lock(mutex_);
    std::erase(listeners_, &who);
}

std::vector<gst_owned<GstElement>> channel::sources() {
    const std::scoped_lock lock(mutex_);
    std::vector<gst_owned<GstElement>> all;
    for (const listener* who : listeners_) {
        all.push_back(own_shared(GST_ELEMENT(who->source)));
    }
    return all;
}

gst_owned<GstCaps> channel::common_caps(GstCaps* filter) {
    const std::vector<gst_owned<GstElement>> all = sources();
    if (all.empty()) {
        return nullptr;
    }
    gst_owned<GstCaps> common{filter != nullptr ? gst_caps_ref(filter) : gst_caps_new_any()};
    for (const gst_owned<GstElement>& source : all) {
        const gst_owned<GstCaps> taken = taken_by(source.get());
        common.reset(gst_caps_intersect(common.get(), taken.get()));
    }
    if (!gst_caps_is_empty(common.get())) {
        return common;
    }
    const std::scoped_lock lock(mutex_);
    listeners_.clear();
    return nullptr;
}

void channel::set_caps(GstCaps* caps) {
    const std::scoped_lock lock(mutex_);
    caps_.reset(caps != nullptr ? gst_caps_ref(caps) : nullptr);
    for (listener* who : listeners_) {
        who->is_fed = true;
        if (caps_) {
            give_caps(*who);
        }
    }
}

// Call with the lock held, so that listeners miss nothing after their caps. Doesn't block: appsrc
// accepts everything.
void channel::feed(GstBuffer* buffer) {
    const std::scoped_lock lock(mutex_);
    for (const listener* who : listeners_) {
        if (!who->is_fed || GST_STATE(who->source) < GST_STATE_PAUSED) {
            continue;
        }
        if (gst_owned<GstBuffer> theirs = for_listener(*who, producer_, buffer)) {
            gst_app_src_push_buffer(who->source, theirs.release());
        }
    }
}

// Sends flushes at once and queues serialized events among the buffers. Calls the class's function,
// since the element's takes its state lock.
void channel::send_downstream(GstEvent* event) {
    if (!passes(event)) {
        return;
    }
    for (const gst_owned<GstElement>& source : sources()) {
        if (GST_EVENT_IS_SERIALIZED(event) && !is_flush(event)) {
            GST_ELEMENT_GET_CLASS(source.get())->send_event(source.get(), gst_event_ref(event));
        } else {
            gst_pad_push_event(pad_of(source.get()), gst_event_ref(event));
        }
    }
}

void channel::send_upstream(GstEvent* event) {
    gst_owned<GstElement> producer;
    {
        const std::scoped_lock lock(mutex_);
        if (producer_ == nullptr || listeners_.size() != 1) {
            return;
        }
        producer = own_shared(producer_);
    }
    gst_pad_push_event(GST_BASE_SINK_PAD(producer.get()), gst_event_ref(event));
}

std::shared_ptr<channel> find_channel(const std::string& name) {
    name_register& known = the_register();
    const std::scoped_lock lock(known.mutex);
    std::erase_if(known.channels, [](const auto& entry) { return entry.second.expired(); });
    std::weak_ptr<channel>& entry = known.channels[name];
    std::shared_ptr<channel> found = entry.lock();
    if (!found) {
        found = std::make_shared<channel>();
        entry = found;
    }
    return found;
}

std::optional<listener_name> listener_name::take(std::string name) {
    name_register& known = the_register();
    const std::scoped_lock lock(known.mutex);
    if (!known.listeners.insert(name).second) {
        return std::nullopt;
    }
    return listener_name{std::move(name)};
}

listener_name::~listener_name() {
    if (name_) {
        name_register& known = the_register();
        const std::scoped_lock lock(known.mutex);
        known.listeners.erase(*name_);
    }
}

} // namespace sim

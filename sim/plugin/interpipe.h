// Connects inter-pipe elements by named channels, from one producer (interpipesink) to any number
// of listeners (interpipesrc).
//
// Like the board's elements, channels pass buffers, caps and events, but no segments and no
// end-of-stream. A name belongs to the first element that takes it.
#pragma once

#include "util/gst_owned.h"

#include <gst/app/gstappsrc.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace sim {

// Values of "stream-sync".
enum stream_sync : gint {
    sync_restart = 0,      // stamp: the time of arrival
    sync_pass_through = 1, // stamp: as in the producer's pipe
    sync_compensate = 2,   // stamp: the same moment in the listening pipe's running time
};

// A channel's view of an inter-pipe source.
struct listener {
    GstAppSrc* source = nullptr; // the element, borrowed
    std::atomic<gint> sync = sync_pass_through;
    std::atomic<bool> allow_renegotiation = true;
    bool is_fed = true; // false until the producer has changed its caps; under the channel's lock
};

class channel {
public:
    // False if the channel has another producer: this one's data go nowhere.
    [[nodiscard]] bool attach(GstElement* producer);
    void detach(const GstElement* producer);

    // The listener gets the producer's caps and all later data. False if it is negotiated with
    // other caps, and other listeners keep the producer from changing its own.
    [[nodiscard]] bool join(listener& who);
    // After the call, the listener may be destroyed.
    void leave(const listener& who);

    // Returns the part of `filter` (may be null) that all listeners accept; none without listeners.
    // Incompatible listeners are dropped: they get nothing until they join again.
    [[nodiscard]] gst_owned<GstCaps> common_caps(GstCaps* filter);

    // Call on the producer's streaming thread. None: it has stopped.
    void set_caps(GstCaps* caps);
    void feed(GstBuffer* buffer);
    void send_downstream(GstEvent* event);

    // Passes a listener's event to the producer's pipe, unless there are other listeners. The
    // caller keeps the event.
    void send_upstream(GstEvent* event);

private:
    [[nodiscard]] std::vector<gst_owned<GstElement>> sources();
    void give_caps(listener& who);

    std::mutex mutex_;
    GstElement* producer_ = nullptr; // borrowed from attach to detach
    gst_owned<GstCaps> caps_;
    std::vector<listener*> listeners_; // from join to leave
};

// Returns the channel of this name, creating it if needed: either side may come first.
[[nodiscard]] std::shared_ptr<channel> find_channel(const std::string& name);

// Reserves a listener name, which only one source in the process can have.
class listener_name {
public:
    // None if another source has the name.
    [[nodiscard]] static std::optional<listener_name> take(std::string name);
    listener_name(listener_name&& other) noexcept = default;
    listener_name& operator=(listener_name&& other) noexcept = default;
    ~listener_name();

private:
    explicit listener_name(std::string name)
        : name_(std::make_unique<std::string>(std::move(name))) {}

    std::unique_ptr<std::string> name_; // empty: moved from
};

} // namespace sim

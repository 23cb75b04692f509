// How the inter-pipe elements find each other and what passes between them: named channels, from
// one producer (an interpipesink) to any number of listeners (an interpipesrc each).
//
// As with the board's elements, buffers, caps and events pass, but neither segments nor
// end-of-stream, and a name belongs to whichever element had it first.
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
    sync_restart = 0,      // a stamp is the moment at which the buffer arrives
    sync_pass_through = 1, // as the producer's pipe has it
    sync_compensate = 2,   // the same moment in the running time of the listening pipe
};

// An inter-pipe source as its channel sees it.
struct listener {
    GstAppSrc* source = nullptr; // the element itself, borrowed
    std::atomic<gint> sync = sync_pass_through;
    std::atomic<bool> allow_renegotiation = true;
    bool is_fed =
        true; // not while the producer has yet to change its caps. Under the channel's lock
};

class channel {
public:
    // False when the channel has another producer: this one is never heard.
    [[nodiscard]] bool attach(GstElement* producer);
    void detach(const GstElement* producer);

    // The listener gets the producer's caps at once, and what comes from then on. False when it was
    // negotiated before, takes other caps, and the producer can't change its own because of others.
    [[nodiscard]] bool join(listener& who);
    // From its return on, the listener may go.
    void leave(const listener& who);

    // What all listeners take of `filter`, which may be null; none while there is no listener.
    // Those that have nothing in common are dropped: they hear nothing until they join again.
    [[nodiscard]] gst_owned<GstCaps> common_caps(GstCaps* filter);

    // For the producer's streaming thread. None: it has stopped.
    void set_caps(GstCaps* caps);
    void feed(GstBuffer* buffer);
    void send_downstream(GstEvent* event);

    // Hands a listener's event on to the producer's pipe, unless there are other listeners. The
    // event stays the caller's.
    void send_upstream(GstEvent* event);

private:
    [[nodiscard]] std::vector<gst_owned<GstElement>> sources();
    void give_caps(listener& who);

    std::mutex mutex_;
    GstElement* producer_ = nullptr; // borrowed between attach and detach
    gst_owned<GstCaps> caps_;
    std::vector<listener*> listeners_; // each between join and leave
};

// The channel of this name, made when there is none: either side may come first.
[[nodiscard]] std::shared_ptr<channel> find_channel(const std::string& name);

// Keeps the name of a listener, for which there is one source at a time in the process.
class listener_name {
public:
    // None when another source has the name.
    [[nodiscard]] static std::optional<listener_name> take(std::string name);
    listener_name(listener_name&& other) noexcept = default;
    listener_name& operator=(listener_name&& other) noexcept = default;
    ~listener_name();

private:
    explicit listener_name(std::string name)
        : name_(std::make_unique<std::string>(std::move(name))) {}

    std::unique_ptr<std::string> name_; // empty: moved on
};

} // namespace sim

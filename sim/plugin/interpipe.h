// How the inter-pipe elements find each other and what passes between them: named channels, from
// one producer (an interpipesink) to any number of listeners (an interpipesrc each).
#pragma once

#include "source_gate.h"
#include "util/gst_owned.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace sim {

// A buffer on its way: the memory is shared, only time stamps are a copy of their own.
struct flow_item {
    gst_owned<GstBuffer> buffer;       // stamped in running time of the producer's pipe
    gst_owned<GstCaps> caps;           // the caps that hold from this buffer on; may be none
    GstClockTime producer_base_time{}; // of the producer's pipe, in clock time
};

// The receiving end: a bounded queue that never blocks the producer. What does not fit is dropped,
// and delivery goes on at the next key unit. It also begins at one.
class listener {
public:
    // For the producer's thread. `max_buffers` 0: no limit but the memory that a stalled pipe may
    // hold. The answer is true when a key unit should be asked for.
    [[nodiscard]] bool offer(const flow_item& item, std::size_t max_buffers);
    // For the listening pipe's thread.
    [[nodiscard]] wake take(flow_item& item);
    // Drops what can't be decoded from here on: everything up to the next key unit.
    void restart_at_key_unit();
    // Another producer took over: what it sends is of use from its first key unit on.
    void expect_new_stream();
    void clear();
    [[nodiscard]] source_gate& gate() { return gate_; }

private:
    bool admit(const flow_item& item, std::size_t max_buffers);

    source_gate gate_;
    std::deque<flow_item> items_;
    std::size_t bytes_ = 0;
    bool needs_key_unit_ = true;
    bool asked_ = false;
};

class channel {
public:
    // The latest producer wins; one that is replaced is no longer heard.
    void attach(GstElement* producer);
    void detach(const GstElement* producer);
    void add(std::shared_ptr<listener> who);
    void remove(const listener* who);

    // Offers the item to every listener. True when one of them waits for a key unit.
    [[nodiscard]] bool publish(const GstElement* producer, const flow_item& item,
                               std::size_t max_buffers);
    // The present producer, or none.
    [[nodiscard]] gst_owned<GstElement> producer();

private:
    std::mutex mutex_;
    GstElement* producer_ = nullptr; // borrowed between attach and detach
    std::vector<std::shared_ptr<listener>> listeners_;
};

// The channel of this name, made when there is none: either side may come first.
[[nodiscard]] std::shared_ptr<channel> find_channel(const std::string& name);

} // namespace sim

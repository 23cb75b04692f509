// Channels and their process-wide register.
#include "interpipe.h"

#include <algorithm>
#include <map>
#include <utility>

namespace sim {
namespace {

// What a stalled listener may hold: some ten raw pictures of the panel's size.
constexpr std::size_t max_bytes = std::size_t{32} << 20;

bool is_delta(const flow_item& item) {
    return GST_BUFFER_FLAG_IS_SET(item.buffer.get(), GST_BUFFER_FLAG_DELTA_UNIT);
}

std::size_t size_of(const flow_item& item) {
    return gst_buffer_get_size(item.buffer.get());
}

// The same item for one more listener.
flow_item copy_of(const flow_item& item) {
    return {own_shared(item.buffer.get()), item.caps ? own_shared(item.caps.get()) : nullptr,
            item.producer_base_time};
}

struct channel_register {
    std::mutex mutex;
    std::map<std::string, std::weak_ptr<channel>> channels;
};

// Leaked on purpose: streaming threads may still run while the process exits.
channel_register& the_register() {
    static auto* instance = new channel_register;
    return *instance;
}

} // namespace

bool listener::offer(const flow_item& item, std::size_t max_buffers) {
    bool ask = false;
    gate_.update([&] {
        if (!gate_.is_ended() && !admit(item, max_buffers)) {
            ask = !std::exchange(asked_, true);
        }
    });
    return ask;
}

// Under the gate's lock. False: a key unit is needed first.
bool listener::admit(const flow_item& item, std::size_t max_buffers) {
    const bool full = bytes_ >= max_bytes || (max_buffers > 0 && items_.size() >= max_buffers);
    if (full) {
        needs_key_unit_ = true;
        return true; // asking makes sense once there is room
    }
    if (needs_key_unit_ && is_delta(item)) {
        return false;
    }
    needs_key_unit_ = asked_ = false;
    bytes_ += size_of(item);
    items_.push_back(copy_of(item));
    return true;
}

wake listener::take(flow_item& item) {
    return gate_.wait([&] {
        if (items_.empty()) {
            return false;
        }
        item = std::move(items_.front());
        items_.pop_front();
        bytes_ -= size_of(item);
        return true;
    });
}

void listener::restart_at_key_unit() {
    gate_.update([this] {
        while (!items_.empty() && is_delta(items_.front())) {
            bytes_ -= size_of(items_.front());
            items_.pop_front();
        }
        needs_key_unit_ = needs_key_unit_ || items_.empty();
    });
}

void listener::expect_new_stream() {
    gate_.update([this] {
        needs_key_unit_ = true;
        asked_ = false;
    });
}

void listener::clear() {
    expect_new_stream();
    gate_.update([this] {
        items_.clear();
        bytes_ = 0;
    });
}

void channel::attach(GstElement* producer) {
    const std::scoped_lock lock(mutex_);
    producer_ = producer;
    for (const auto& who : listeners_) {
        who->expect_new_stream();
    }
}

void channel::detach(const GstElement* producer) {
    const std::scoped_lock lock(mutex_);
    if (producer_ == producer) {
        producer_ = nullptr;
    }
}

void channel::add(std::shared_ptr<listener> who) {
    const std::scoped_lock lock(mutex_);
    listeners_.push_back(std::move(who));
}

void channel::remove(const listener* who) {
    const std::scoped_lock lock(mutex_);
    std::erase_if(listeners_, [who](const auto& one) { return one.get() == who; });
}

bool channel::publish(const GstElement* producer, const flow_item& item, std::size_t max_buffers) {
    const std::scoped_lock lock(mutex_);
    if (producer != producer_) {
        return false;
    }
    bool ask = false;
    for (const auto& who : listeners_) {
        ask = who->offer(item, max_buffers) || ask;
    }
    return ask;
}

gst_owned<GstElement> channel::producer() {
    const std::scoped_lock lock(mutex_);
    return producer_ != nullptr ? own_shared(producer_) : nullptr;
}

std::shared_ptr<channel> find_channel(const std::string& name) {
    channel_register& known = the_register();
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

} // namespace sim

// Encodes the panel's picture as JPEG on a thread of low priority: where processors are few, the
// daemon's threads go first, since a picture is due from them thirty times a second.
#pragma once

#include "loop.h"
#include "util/fd_owned.h"
#include "util/glib_owned.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace web {

class panel_encoder {
public:
    // Encodes the picture in that file. `done` gets each result in the main loop, none if the file
    // has no complete picture.
    panel_encoder(std::string panel, std::function<void(g_owned<GBytes>)> done);
    panel_encoder(const panel_encoder&) = delete;
    panel_encoder& operator=(const panel_encoder&) = delete;
    ~panel_encoder() = default;

    // Starts with the picture that is there now. Not while busy.
    void start();
    [[nodiscard]] bool is_busy() const { return is_busy_; }

private:
    void work(const std::stop_token& stop);
    void finish();

    const std::string panel_;
    const std::function<void(g_owned<GBytes>)> done_;
    bool is_busy_ = false;             // main thread's
    std::vector<std::uint8_t> pixels_; // worker's
    const fd_owned finished_;          // an eventfd: counts results
    descriptor_watch watch_;
    std::mutex mutex_;
    std::condition_variable_any wake_up_;
    bool is_wanted_ = false; // under the mutex
    g_owned<GBytes> result_; // under the mutex
    std::jthread worker_;    // last: ends before the others
};

} // namespace web

// The daemon's surroundings in a long run, which change: buttons, cables, thermal core, storage,
// broker, stream viewers and push server.
#include "surroundings.h"

#include <csignal>
#include <fstream>
#include <gtest/gtest.h>

namespace {

constexpr const char* ENOUGH_SPACE = "400m";
// Less than the 112.5 MiB required for a recording, with space for what it has written.
constexpr const char* LOW_SPACE = "100m";
// Recordings are split after that many seconds.
constexpr const char* RECORD_MAX_LEN = "3";
constexpr int READ_BYTES_MAX = 300'000;

std::string on_or_off(bool on) {
    return on ? "on" : "off";
}

} // namespace

broker::broker(const board& board)
    : process_{spawn({"/usr/bin/redis-server", "--port", "0", "--unixsocket",
                      board.at("/run/redis.sock"), "--save", ""},
                     environment_with({}), board.at("/tmp/redis.out"))} {}

broker::~broker() {
    kill(process_, SIGKILL);
    wait_for_exit(process_, WAIT_LIMIT);
}

void broker::be_silent(bool silent) {
    kill(process_, silent ? SIGSTOP : SIGCONT);
    silent_ = silent;
}

surroundings::surroundings()
    : board_{settings(tcp_port_, push_port_)}, storage_{board_.at("/media"), ENOUGH_SPACE} {}

std::string surroundings::settings(int tcp_port, int push_port) {
    return "tcp_stream_port=" + std::to_string(tcp_port) +
           "\nhttp_url=http://127.0.0.1:" + std::to_string(push_port) +
           "/channel\nrecord_max_len=" + RECORD_MAX_LEN + "\n";
}

void surroundings::toggle_camera() {
    camera_is_plugged_ = !camera_is_plugged_;
    EXPECT_EQ(board_.sim({"camera", on_or_off(camera_is_plugged_)}), 0);
}

void surroundings::toggle_monitor() {
    monitor_is_plugged_ = !monitor_is_plugged_;
    EXPECT_EQ(board_.sim({"hdmi", on_or_off(monitor_is_plugged_)}), 0);
}

void surroundings::toggle_core() {
    core_refuses_ = !core_refuses_;
    const std::filesystem::path fail = board_.at("/var/lib/vtrcore/fail");
    if (core_refuses_) {
        std::ofstream{fail} << "3\n";
    } else {
        std::filesystem::remove(fail);
    }
}

void surroundings::toggle_space() {
    if (storage_.is_mounted()) {
        space_is_low_ = !space_is_low_;
        storage_.resize(space_is_low_ ? LOW_SPACE : ENOUGH_SPACE);
    }
}

void surroundings::toggle_broker(dice& dice) {
    const bool silent = dice.chance(50);
    if (!broker_) {
        broker_ = std::make_unique<broker>(board_);
    } else if (silent) {
        broker_->be_silent(!broker_->is_silent());
    } else {
        broker_.reset();
    }
}

void surroundings::toggle_push_server(dice& dice) {
    const bool mute = dice.chance(25);
    if (push_server_) {
        push_server_.reset();
    } else {
        push_server_ = std::make_unique<push_server>(push_port_, mute);
    }
}

void surroundings::press(const std::string& button) const {
    EXPECT_EQ(board_.sim({"press", button}), 0);
}

void surroundings::add_viewers(dice& dice) {
    for (int count = dice.number(1, 3); count > 0; --count) {
        auto viewer = std::make_unique<stream_client>(tcp_port_);
        const int bytes = dice.number(0, READ_BYTES_MAX);
        if (dice.chance(25)) {
            idle_viewers_.push_back(std::move(viewer));
        } else {
            readers_.emplace_back([viewer = std::move(viewer), bytes] {
                static_cast<void>(viewer->read(static_cast<std::size_t>(bytes)));
            });
        }
    }
}

void surroundings::end_viewers() {
    idle_viewers_.clear();
    for (std::thread& reader : readers_) {
        reader.join();
    }
    readers_.clear();
}

void surroundings::restore() {
    if (!camera_is_plugged_) {
        toggle_camera();
    }
    if (monitor_is_plugged_) {
        toggle_monitor();
    }
    if (core_refuses_) {
        toggle_core();
    }
    if (space_is_low_) {
        toggle_space();
    }
    if (broker_ && broker_->is_silent()) {
        broker_->be_silent(false);
    }
    push_server_.reset();
}

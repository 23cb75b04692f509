// Starts the real daemon on a board, watches its log and stops it.
#include "support/daemon.h"

#include "support/file_watch.h"

#include <array>
#include <csignal>
#include <gtest/gtest.h>
#include <iostream>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

// Maximum time from the signal to the end, whatever state the pipes are in.
constexpr std::chrono::seconds STOP_LIMIT{6};
// A place without icons.
constexpr area MIDDLE{100, 100, 800, 500};

} // namespace

vtrdc_daemon::vtrdc_daemon(const board& board, const std::vector<std::string>& options,
                           const std::vector<std::string>& environment)
    : board_{board}, output_{board.at("/daemon.out")} {
    std::error_code none;
    std::filesystem::remove(output_, none);
    pid_ = board.start(options, environment, output_);
}

vtrdc_daemon::~vtrdc_daemon() {
    if (client_ >= 0) {
        close(client_);
    }
    if (running_) {
        kill(pid_, SIGKILL);
        wait_exit(WAIT_LIMIT);
    }
    // GLib only warns of it.
    EXPECT_EQ(count("has no property named"), 0);
    if (testing::Test::HasFailure()) {
        std::cerr << "--- output of the daemon:\n" << output() << "---\n";
    }
}

bool vtrdc_daemon::wait_for(std::string_view text) {
    const bool found = wait_for_file(
        output_,
        [&] {
            const std::string all = output();
            const std::size_t place = all.find(text, seen_);
            if (place == std::string::npos) {
                return false;
            }
            seen_ = place + text.size();
            return true;
        },
        WAIT_LIMIT);
    EXPECT_TRUE(found) << "waited in vain for: " << text;
    return found;
}

bool vtrdc_daemon::wait_for_count(std::string_view text, int count) const {
    const bool found = wait_for_file(
        output_, [&] { return this->count(text) >= count; }, WAIT_LIMIT);
    EXPECT_TRUE(found) << "waited in vain for " << count << " times: " << text;
    return found;
}

bool vtrdc_daemon::wait_until_live() {
    return wait_for("Display Pipeline set to playing") &&
           board_.wait_for_panel([](const picture& panel) {
               return panel.deviation(MIDDLE) > 5.0 && panel.red_pixels(MIDDLE) > 0;
           });
}

int vtrdc_daemon::connect() const {
    const int client = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    board_.at("/run/vtrdc.socket").string().copy(address.sun_path, sizeof address.sun_path - 1);
    const timeval timeout{WAIT_LIMIT.count(), 0};
    setsockopt(client, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    setsockopt(client, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
    if (::connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        close(client);
        return -1;
    }
    return client;
}

std::string ask_over(int client, std::string_view request) {
    std::array<char, 65536> reply{};
    if (send(client, request.data(), request.size(), MSG_NOSIGNAL) < 0) {
        return {};
    }
    const ssize_t length = recv(client, reply.data(), reply.size(), 0);
    return length > 0 ? std::string(reply.data(), static_cast<std::size_t>(length)) : std::string{};
}

std::string vtrdc_daemon::ask(std::string_view request) {
    if (client_ < 0) {
        client_ = connect();
    }
    return ask_over(client_, request);
}

int vtrdc_daemon::count(std::string_view text) const {
    const std::string all = output();
    int found = 0;
    for (std::size_t place = all.find(text); place != std::string::npos;
         place = all.find(text, place + text.size())) {
        ++found;
    }
    return found;
}

void vtrdc_daemon::signal(int number) const {
    EXPECT_EQ(kill(pid_, number), 0);
}

int vtrdc_daemon::wait_exit(std::chrono::milliseconds timeout) {
    running_ = false;
    return wait_for_exit(pid_, timeout);
}

int vtrdc_daemon::stop() {
    signal(SIGTERM);
    return wait_exit(STOP_LIMIT);
}

// The daemon's surroundings in a long run, which change: buttons, cables, thermal core, storage,
// broker, stream viewers and push server.
#pragma once

#include "dice.h"
#include "support/daemon.h"
#include "support/network.h"
#include "support/storage.h"

#include <memory>
#include <optional>
#include <thread>
#include <vector>

// A Redis server on the board's socket; destroying it kills it.
class broker {
public:
    explicit broker(const board& board);
    broker(const broker&) = delete;
    broker& operator=(const broker&) = delete;
    ~broker();

    // A silent one accepts connections and requests but doesn't answer.
    void be_silent(bool silent);
    [[nodiscard]] bool is_silent() const { return silent_; }

private:
    pid_t process_;
    bool silent_ = false;
};

class surroundings {
public:
    surroundings();
    surroundings(const surroundings&) = delete;
    surroundings& operator=(const surroundings&) = delete;
    ~surroundings() { end_viewers(); }

    [[nodiscard]] const board& where() const { return board_; }

    // Each toggles one thing.
    void toggle_camera();
    void toggle_monitor();
    void toggle_core();
    void toggle_space();
    void toggle_broker(dice& dice);
    void toggle_push_server(dice& dice);

    void press(const std::string& button) const;
    [[nodiscard]] bool core_refuses() const { return core_refuses_; }

    // Viewers connect to the running TCP stream; each reads some data and disconnects abruptly, or
    // never reads.
    void add_viewers(dice& dice);
    // Call when the stream has ended.
    void end_viewers();

    // Restores the initial state: everything exists and works.
    void restore();

private:
    static std::string settings(int tcp_port, int push_port);

    int tcp_port_ = free_port();
    int push_port_ = free_port();
    board board_;
    small_storage storage_;
    bool camera_is_plugged_ = true;
    bool monitor_is_plugged_ = false;
    bool core_refuses_ = false;
    bool space_is_low_ = false;
    std::unique_ptr<broker> broker_;
    std::unique_ptr<push_server> push_server_;
    std::vector<std::thread> readers_;
    std::vector<std::unique_ptr<stream_client>> idle_viewers_;
};

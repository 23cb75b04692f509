// The sight's state, put together from the daemon's replies, its log and the board folder.
#pragma once

#include "board_folder.h"
#include "daemon_client.h"
#include "log_facts.h"
#include "loop.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <optional>
#include <string>

namespace web {

class sight_state {
public:
    // `stock_scene` is the simulated board's own scene file. `on_change` is called for each state
    // that differs from the one before.
    sight_state(const board_folder& board, daemon_client& daemon, std::string stock_scene,
                std::function<void()> on_change);
    sight_state(const sight_state&) = delete;
    sight_state& operator=(const sight_state&) = delete;

    // Follows the sight until shut.
    void open();
    void shut();

    // Asks again, soon, if it follows the sight.
    void refresh();
    void take_facts(std::optional<log_facts> facts);

    // As a message of the page's protocol: unknown values are null.
    [[nodiscard]] const nlohmann::json& message() const { return state_; }

private:
    void watch_files();
    void take_push_failures(unsigned count);
    void ask_daemon();
    void take_zoom(const reply& answer);
    void take_settings(const reply& answer);
    void compose();
    [[nodiscard]] nlohmann::json fact(bool log_facts::*which) const;
    void add_outputs(nlohmann::json& state) const;
    void add_sight(nlohmann::json& state) const;
    void add_board(nlohmann::json& state) const;
    [[nodiscard]] nlohmann::json core_failure_status() const;
    [[nodiscard]] nlohmann::json number_in(const char* on_the_sight) const;

    const board_folder& board_;
    daemon_client& daemon_;
    const std::string stock_scene_;
    const std::function<void()> on_change_;
    std::optional<log_facts> facts_;
    unsigned push_failures_ = 0;
    std::optional<std::size_t> factor_index_;
    nlohmann::json settings_; // null until the daemon has replied
    nlohmann::json state_;
    std::optional<file_watch> watch_;
    timer soon_;
    timer push_fails_; // waits while the push fails
    timer heartbeat_;
};

} // namespace web

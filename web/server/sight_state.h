// The sight's state, from the daemon's status file and the board folder.
#pragma once

#include "board_folder.h"
#include "daemon_client.h"
#include "loop.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <optional>
#include <string>

namespace web {

class sight_state {
public:
    // `stock_scene` is the simulated board's own scene file. `on_change` is called for each changed
    // state.
    sight_state(const board_folder& board, const daemon_client& daemon, std::string stock_scene,
                std::function<void()> on_change);
    sight_state(const sight_state&) = delete;
    sight_state& operator=(const sight_state&) = delete;

    // Follows the sight until shut.
    void open();
    void shut();

    // Updates soon, if it follows the sight.
    void refresh();

    // A message of the page's protocol; unknown values are null.
    [[nodiscard]] const nlohmann::json& message() const { return state_; }

private:
    void watch_files();
    void compose();
    [[nodiscard]] nlohmann::json core_failure_status() const;
    [[nodiscard]] nlohmann::json panel() const;
    [[nodiscard]] nlohmann::json number_in(const char* on_the_sight) const;

    const board_folder& board_;
    const daemon_client& daemon_;
    const std::string stock_scene_;
    const std::function<void()> on_change_;
    nlohmann::json state_;
    std::optional<file_watch> watch_;
    timer soon_;
};

} // namespace web

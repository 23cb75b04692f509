// The page's lists: recordings, snapshots and footage.
#pragma once

#include "board_folder.h"
#include "loop.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace web {

class board_lists {
public:
    // `on_change` gets each list that changed.
    board_lists(const board_folder& board, std::function<void(const nlohmann::json&)> on_change);
    board_lists(const board_lists&) = delete;
    board_lists& operator=(const board_lists&) = delete;

    // Watches the folders until shut.
    void open();
    void shut();

    // Messages of the page's protocol.
    [[nodiscard]] const nlohmann::json& media() const { return media_; }
    [[nodiscard]] const nlohmann::json& footage() const { return footage_; }

private:
    void look();
    [[nodiscard]] nlohmann::json list_media();
    [[nodiscard]] nlohmann::json seconds_of(const nlohmann::json& recording);

    const board_folder& board_;
    const std::function<void(const nlohmann::json&)> on_change_;
    nlohmann::json media_;
    nlohmann::json footage_;
    std::map<nlohmann::json, nlohmann::json> seconds_; // duration by list entry
    std::optional<file_watch> watch_;
    timer soon_;
};

// Deletes a recording ("video"), a snapshot ("image") or footage of the board by its plain name.
// Returns false, with the reason in `why`, if there is none or it is in use.
[[nodiscard]] bool delete_listed(const board_folder& board, std::string_view kind,
                                 const std::string& name, std::string& why);

} // namespace web

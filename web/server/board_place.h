// The board folder as the page's server uses it: where its settings put things, and what is there.
#pragma once

#include "contained_folder.h"

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace web {

// A file in a folder of the board.
struct board_file {
    std::string name;
    std::int64_t bytes;
    std::time_t time; // of its last change
};

class board_place {
public:
    // An absolute path.
    explicit board_place(std::string folder);
    board_place(const board_place&) = delete;
    board_place& operator=(const board_place&) = delete;

    [[nodiscard]] const std::string& folder() const { return folder_; }
    // A path as the sight knows it, absolute, with the board's folder in front.
    [[nodiscard]] std::string path(std::string_view on_the_sight) const;

    // From the board's settings, else the daemon's default: full paths.
    [[nodiscard]] std::string socket_path() const;
    [[nodiscard]] std::string media_folder() const; // without a slash at its end
    // The broker's socket, for which there is no setting.
    [[nodiscard]] std::string broker_socket_path() const;
    // Videos to show the camera.
    [[nodiscard]] std::string footage_folder() const;
    // The scene that the daemon shows.
    [[nodiscard]] std::string scene_path() const;

    // What can be opened by a path from outside.
    [[nodiscard]] const contained_folder& files() const { return files_; }

    // What is in a full path's folder and not hidden, in the alphabet's order.
    [[nodiscard]] static std::vector<std::string> names_in(const std::string& folder);
    // The ordinary files among that, latest first.
    [[nodiscard]] static std::vector<board_file> files_in(const std::string& folder);

    // First line of a small file of the sight; none when it can't be read.
    [[nodiscard]] std::optional<std::string> first_line(std::string_view on_the_sight) const;

private:
    [[nodiscard]] std::string setting(std::string_view key, std::string_view standard) const;

    const std::string folder_;
    const contained_folder files_;
};

// The name can be that of a new file: not empty, no path, not hidden, UTF-8 without
// control characters, not too long to be numbered.
[[nodiscard]] bool is_plain_name(std::string_view name);

} // namespace web

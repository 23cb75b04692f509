// The board folder: where its settings put things, and the files in it.
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

class board_folder {
public:
    // An absolute path.
    explicit board_folder(std::string folder);
    board_folder(const board_folder&) = delete;
    board_folder& operator=(const board_folder&) = delete;

    [[nodiscard]] const std::string& folder() const { return folder_; }
    // A path as the sight knows it, absolute, with the board's folder in front.
    [[nodiscard]] std::string path(std::string_view on_the_sight) const;

    // Full paths, from the board's settings or the daemon's defaults.
    [[nodiscard]] std::string socket_path() const;
    [[nodiscard]] std::string media_folder() const; // without a slash at its end
    // The broker's socket; there is no setting for it.
    [[nodiscard]] std::string broker_socket_path() const;
    // Videos to show the camera.
    [[nodiscard]] std::string footage_folder() const;
    // The scene that the daemon shows.
    [[nodiscard]] std::string scene_path() const;

    // A recording or snapshot by a name from outside ("video/..."): no name leads out of the board.
    [[nodiscard]] opened_file open_media(const std::string& name) const;

    // Deletes a file of the folder for recordings ("video") or snapshots ("image"), or of that for
    // footage, by its plain name. A link is deleted itself. False when there is none.
    [[nodiscard]] bool delete_media(std::string_view kind, const std::string& name) const;
    [[nodiscard]] bool delete_footage(const std::string& name) const;

    // Names in a folder, which is a full path, in alphabetical order; without hidden ones.
    [[nodiscard]] static std::vector<std::string> names_in(const std::string& folder);
    // The ordinary files among them, latest first.
    [[nodiscard]] static std::vector<board_file> files_in(const std::string& folder);

    // First line of a small file of the sight; none when it can't be read.
    [[nodiscard]] std::optional<std::string> first_line(std::string_view on_the_sight) const;

private:
    [[nodiscard]] std::string relative(const std::string& path) const;
    [[nodiscard]] std::string setting(std::string_view key, std::string_view standard) const;

    const std::string folder_;
    const contained_folder files_;
};

// Whether a new file can have this name: not empty, no path, not hidden, UTF-8 without control
// characters, short enough to be numbered.
[[nodiscard]] bool is_plain_name(std::string_view name);

} // namespace web

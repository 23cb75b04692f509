// The board folder: paths from its settings, and its files.
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
    std::time_t time; // last modification
};

class board_folder {
public:
    // Takes an absolute path.
    explicit board_folder(std::string folder);
    board_folder(const board_folder&) = delete;
    board_folder& operator=(const board_folder&) = delete;

    [[nodiscard]] const std::string& folder() const { return folder_; }
    // Returns the path on this machine of an absolute path on the sight.
    [[nodiscard]] std::string path(std::string_view on_the_sight) const;

    // Full paths, from the board's settings or the daemon's defaults.
    [[nodiscard]] std::string socket_path() const;
    [[nodiscard]] std::string media_folder() const; // without trailing slash
    // The broker's socket, which is not configurable.
    [[nodiscard]] std::string broker_socket_path() const;
    // Folder of videos for the camera.
    [[nodiscard]] std::string footage_folder() const;
    // The scene that the daemon shows.
    [[nodiscard]] std::string scene_path() const;

    // Opens a recording or snapshot by an untrusted name ("video/..."). Never leaves the board
    // folder.
    [[nodiscard]] opened_file open_media(const std::string& name) const;

    // Deletes a file by its plain name from the folder of recordings ("video"), snapshots ("image")
    // or footage. Deletes a link itself. Returns false if there is none.
    [[nodiscard]] bool delete_media(std::string_view kind, const std::string& name) const;
    [[nodiscard]] bool delete_footage(const std::string& name) const;

    // Returns the names in a folder (full path) in alphabetical order, without hidden ones.
    [[nodiscard]] static std::vector<std::string> names_in(const std::string& folder);
    // Returns the ordinary files among them, latest first.
    [[nodiscard]] static std::vector<board_file> files_in(const std::string& folder);

    // Returns the first line of a small file of the sight; none if it can't be read.
    [[nodiscard]] std::optional<std::string> first_line(std::string_view on_the_sight) const;

private:
    [[nodiscard]] std::string relative(const std::string& path) const;
    [[nodiscard]] std::string setting(std::string_view key, std::string_view standard) const;

    const std::string folder_;
    const contained_folder files_;
};

// True if a new file can have this name: not empty, no path, not hidden, UTF-8 without control
// characters, short enough to append a number.
[[nodiscard]] bool is_plain_name(std::string_view name);

} // namespace web

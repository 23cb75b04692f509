// The board folder: paths from its settings, and its files.
#include "board_folder.h"

#include "config/settings.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <glib.h>
#include <sys/stat.h>
#include <tuple>
#include <utility>

namespace fs = std::filesystem;

namespace web {
namespace {

constexpr settings defaults;

// Leaves room for a number within the 255 bytes of a file name.
constexpr std::size_t FILE_NAME_MAX = 200;

} // namespace

board_folder::board_folder(std::string folder) : folder_(std::move(folder)), files_(folder_) {}

std::string board_folder::path(std::string_view on_the_sight) const {
    return folder_ + std::string(on_the_sight);
}

// Relative paths are used unchanged, as the daemon does.
std::string board_folder::socket_path() const {
    const std::string configured = setting("socket_file", defaults.socket_file);
    return configured.starts_with('/') ? path(configured) : configured;
}

std::string board_folder::media_folder() const {
    std::string configured = path(setting("media_path", defaults.media_path));
    while (configured.ends_with('/')) {
        configured.pop_back();
    }
    return configured;
}

// Path relative to the board's folder.
std::string board_folder::relative(const std::string& path) const {
    std::string rest = path.substr(folder_.size());
    rest.erase(0, rest.find_first_not_of('/'));
    return rest;
}

opened_file board_folder::open_media(const std::string& name) const {
    return files_.open_file(relative(media_folder() + "/" + name));
}

bool board_folder::delete_media(std::string_view kind, const std::string& name) const {
    return files_.delete_file(relative(media_folder() + "/" + std::string(kind)), name);
}

bool board_folder::delete_footage(const std::string& name) const {
    return files_.delete_file(relative(footage_folder()), name);
}

std::string board_folder::broker_socket_path() const {
    return path(defaults.redis_socket_file);
}

std::string board_folder::footage_folder() const {
    return path("/footage");
}

std::string board_folder::scene_path() const {
    return path(setting("qml_file", defaults.qml_file));
}

// The last line with the key counts, as in the daemon.
std::string board_folder::setting(std::string_view key, std::string_view standard) const {
    std::string value{standard};
    std::ifstream file{path(DEFAULT_CONF_FILE)};
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(key) && line.substr(key.size()).starts_with('=')) {
            value = line.substr(key.size() + 1);
        }
    }
    return value;
}

std::vector<std::string> board_folder::names_in(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code failed;
    for (fs::directory_iterator entry(folder, failed), end; !failed && entry != end;
         entry.increment(failed)) {
        std::string name = entry->path().filename();
        // Hidden files are unfinished. JSON can't contain names that are not UTF-8.
        if (!name.starts_with('.') && g_utf8_validate(name.c_str(), -1, nullptr) != FALSE) {
            names.push_back(std::move(name));
        }
    }
    std::ranges::sort(names);
    return names;
}

std::vector<board_file> board_folder::files_in(const std::string& folder) {
    std::vector<board_file> found;
    for (std::string& name : names_in(folder)) {
        struct stat status {};
        if (lstat((folder + "/" + name).c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
            found.push_back({std::move(name), status.st_size, status.st_mtime});
        }
    }
    // Names contain the time, so they order files of the same second.
    std::ranges::sort(found, [](const board_file& one, const board_file& other) {
        return std::tie(one.time, one.name) > std::tie(other.time, other.name);
    });
    return found;
}

std::optional<std::string> board_folder::first_line(std::string_view on_the_sight) const {
    std::ifstream file{path(on_the_sight)};
    std::string line;
    return std::getline(file, line) ? std::optional{line} : std::nullopt;
}

bool is_plain_name(std::string_view name) {
    return !name.empty() && name.size() <= FILE_NAME_MAX && !name.starts_with('.') &&
           g_utf8_validate(name.data(), static_cast<gssize>(name.size()), nullptr) != FALSE &&
           std::ranges::none_of(
               name, [](unsigned char byte) { return byte == '/' || std::iscntrl(byte) != 0; });
}

} // namespace web

// The page's lists: recordings, snapshots and footage.
#include "board_lists.h"

#include "mp4_length.h"

#include "util/fd_owned.h"
#include "util/glib_owned.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <utility>

namespace fs = std::filesystem;

namespace web {
namespace {

// Limits updates while a recording grows.
constexpr std::chrono::milliseconds LISTS_DELAY{500};

// The camera's device file, whether plugged in or not.
constexpr const char* CAMERA = "video0";
constexpr const char* UNPLUGGED_CAMERA = "video0.unplugged";

std::string url_of(const char* kind, const std::string& name) {
    const g_text escaped(g_uri_escape_string(name.c_str(), nullptr, FALSE));
    return std::string("/media/") + kind + "/" + escaped.get();
}

// The kernel grants a read lease only if nobody can write. The lease ends with the descriptor; the
// signal sent when somebody opens the file meanwhile is ignored.
bool is_being_written(const std::string& path) {
    const fd_owned file{open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC)};
    return file && fcntl(file.get(), F_SETSIG, SIGURG) == 0 &&
           fcntl(file.get(), F_SETLEASE, F_RDLCK) != 0 && errno == EAGAIN;
}

nlohmann::json entries(const std::vector<board_file>& files, const char* kind) {
    nlohmann::json list = nlohmann::json::array();
    for (const board_file& file : files) {
        list.push_back({{"name", file.name},
                        {"bytes", file.bytes},
                        {"time", file.time},
                        {"url", url_of(kind, file.name)}});
    }
    return list;
}

nlohmann::json list_footage(const board_folder& board) {
    const std::vector<std::string> names = board_folder::names_in(board.footage_folder());
    std::error_code failed;
    const fs::path devices = board.path("/dev");
    fs::path shown = fs::read_symlink(devices / CAMERA, failed);
    if (failed) {
        shown = fs::read_symlink(devices / UNPLUGGED_CAMERA, failed);
    }
    const std::string name = shown.filename();
    // A relative link starts in the dev folder.
    const bool is_choice =
        std::ranges::find(names, name) != names.end() &&
        fs::equivalent(devices / shown.parent_path(), board.footage_folder(), failed);
    return {{"type", "footage"},
            {"choices", names},
            {"chosen", is_choice ? nlohmann::json(name) : nlohmann::json()}};
}

} // namespace

board_lists::board_lists(const board_folder& board,
                         std::function<void(const nlohmann::json&)> on_change)
    : board_(board), on_change_(std::move(on_change)) {}

void board_lists::open() {
    watch_.emplace([this](const std::string& /*folder*/, const std::string& /*name*/) {
        if (!soon_.is_waiting()) {
            soon_.once(LISTS_DELAY, [this] { look(); });
        }
    });
    watch_->add(board_.media_folder() + "/video");
    watch_->add(board_.media_folder() + "/image");
    watch_->add(board_.footage_folder());
    watch_->add(board_.path("/dev"));
    look();
}

void board_lists::shut() {
    watch_.reset();
    soon_.stop();
}

void board_lists::look() {
    const auto tell = [this](nlohmann::json& list, nlohmann::json now) {
        if (list != now) {
            list = std::move(now);
            on_change_(list);
        }
    };
    tell(media_, list_media());
    tell(footage_, list_footage(board_));
}

nlohmann::json board_lists::list_media() {
    const std::string folder = board_.media_folder() + "/video";
    nlohmann::json recordings = entries(board_folder::files_in(folder), "video");
    for (nlohmann::json& each : recordings) {
        const nlohmann::json seconds = seconds_of(each);
        each["growing"] = is_being_written(folder + "/" + each["name"].get<std::string>());
        each["seconds"] = seconds;
    }
    return {
        {"type", "media"},
        {"recordings", recordings},
        {"snapshots", entries(board_folder::files_in(board_.media_folder() + "/image"), "image")}};
}

// Reads each file once unless it changes.
nlohmann::json board_lists::seconds_of(const nlohmann::json& recording) {
    const auto known = seconds_.find(recording);
    if (known != seconds_.end()) {
        return known->second;
    }
    const opened_file file = board_.open_media("video/" + recording["name"].get<std::string>());
    const std::optional<double> seconds = mp4_seconds(file);
    return seconds_[recording] = seconds ? nlohmann::json(*seconds) : nlohmann::json();
}

bool delete_listed(const board_folder& board, std::string_view kind, const std::string& name,
                   std::string& why) {
    const bool is_footage = kind == "footage";
    if (!is_footage && kind != "video" && kind != "image") {
        why = "no such kind of file";
    } else if (is_footage && list_footage(board)["chosen"] == name) {
        why = "it is the camera's input";
    } else if (kind == "video" && is_being_written(board.media_folder() + "/video/" + name)) {
        why = "it is being recorded";
    } else if (!(is_footage ? board.delete_footage(name) : board.delete_media(kind, name))) {
        why = "the file doesn't exist or can't be deleted";
    }
    return why.empty();
}

} // namespace web

// Syncs media folders to storage.
#include "video/flushing.h"

#include "core/imem.h"
#include "core/log.h"
#include "util/fd_owned.h"
#include "util/file_owners.h"
#include "util/never_destroyed.h"
#include "util/sysroot.h"

#include <algorithm>
#include <condition_variable>
#include <fcntl.h>
#include <libgen.h>
#include <mutex>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

struct flush_work {
    std::mutex mutex;
    std::condition_variable is_done;
    std::vector<std::string> folders; // pending, without duplicates
    bool is_running = false;          // whether a thread exists; it ends when nothing is pending
};
never_destroyed<flush_work> work;

template <class Call> void for_each_media_file(const char* path, Call call) {
    const folder_owner folder{opendir(path)};
    while (const dirent* entry = folder ? readdir(folder.get()) : nullptr) {
        if (entry->d_name[0] == 'v' || entry->d_name[0] == 'i') {
            call(entry->d_name);
        }
    }
}

void flush_file(const std::string& path) {
    const fd_owned file{open(path.c_str(), O_RDONLY | O_CLOEXEC)};
    if (file) {
        fsync(file.get());
    }
}

void flush_folder(const std::string& folder) {
    for_each_media_file(folder.c_str(),
                        [&folder](const char* name) { flush_file(folder + "/" + name); });
    flush_file(folder);
    sync();
}

void flush_what_is_due() {
    std::unique_lock lock{work->mutex};
    while (!work->folders.empty()) {
        const std::string folder = std::move(work->folders.back());
        work->folders.pop_back();
        lock.unlock();
        flush_folder(folder);
        lock.lock();
    }
    work->is_running = false;
    work->is_done.notify_all();
}

// For the DEBUG log only. The thread itself never logs.
void tell_of_flush(const std::string& folder, const char* shown) {
    if (log_verbose != 0) {
        for_each_media_file(folder.c_str(), [](const char* name) {
            log_message(LEVEL_DEBUG, "flushing: %s", name);
        });
        log_message(LEVEL_DEBUG, "flushing: %s", shown);
    }
}

} // namespace

void flush_folder_of_file(const char* path) {
    const malloc_text copy = estrdup(path);
    const char* const shown = dirname(copy.get());
    const std::string folder = sysroot_path(shown);
    tell_of_flush(folder, shown);
    const std::lock_guard lock{work->mutex};
    if (std::ranges::find(work->folders, folder) == work->folders.end()) {
        work->folders.push_back(folder);
    }
    if (!work->is_running) {
        work->is_running = true;
        std::thread{flush_what_is_due}.detach();
    }
}

bool flushing_ends_within(std::chrono::milliseconds time) {
    std::unique_lock lock{work->mutex};
    return work->is_done.wait_for(lock, time, [] { return !work->is_running; });
}

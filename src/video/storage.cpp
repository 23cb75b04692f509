// Getting what was written into a media folder to storage.
#include "video/storage.h"

#include "core/imem.h"
#include "core/log.h"
#include "util/file_owners.h"
#include "util/files.h"
#include "util/never_destroyed.h"
#include "util/sysroot.h"
#include "video/handles.h"

#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <libgen.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

// Location pattern of the recording that is being written, until its files have reached storage.
constinit never_destroyed<malloc_text> record_file;

// Path on the sight of the file that was opened last.
constinit never_destroyed<malloc_text> last_file;
recorded_files files;

// How the file of a recording that ends was last seen to grow.
struct file_growth {
    std::uintmax_t bytes = 0;
    std::chrono::steady_clock::time_point last; // the epoch before the first look
};
file_growth growth;
constexpr std::chrono::minutes STANDSTILL_MAX{5};

// Bytes of the file that is being written; 0 when there is none yet.
std::uintmax_t bytes_being_written() {
    const gst_owned<GstElement> sink = handle_get(element_handle::record_sink);
    gchar* location = nullptr;
    if (sink) {
        g_object_get(sink.get(), "location", &location, nullptr);
    }
    const g_text path{location};
    struct stat status {};
    return path && stat(path.get(), &status) == 0 ? static_cast<std::uintmax_t>(status.st_size) : 0;
}

// Changes into a folder for its lifetime. The way back is kept as a descriptor, so no length of
// path is too long for it.
class working_folder {
public:
    explicit working_folder(const char* path)
        : previous_{open(".", O_PATH | O_DIRECTORY | O_CLOEXEC)} {
        entered_ = previous_ >= 0 && chdir(path) == 0;
    }
    working_folder(const working_folder&) = delete;
    working_folder& operator=(const working_folder&) = delete;
    ~working_folder() {
        if (entered_ && fchdir(previous_) != 0) {
            // The old folder was removed meanwhile: there is no way back.
        }
        if (previous_ >= 0) {
            close(previous_);
        }
    }
    [[nodiscard]] bool entered() const { return entered_; }

private:
    int previous_;
    bool entered_ = false;
};

void flush_media_files(const char* folder_path) {
    const working_folder inside{sysroot_path(folder_path).c_str()};
    if (!inside.entered()) {
        return;
    }
    const folder_owner folder{opendir(".")};
    if (!folder) {
        return;
    }
    while (const dirent* entry = readdir(folder.get())) {
        if (entry->d_name[0] == 'v' || entry->d_name[0] == 'i') {
            flush_file(entry->d_name);
        }
    }
}

} // namespace

void flush_folder_of_file(const char* path) {
    const malloc_text copy = estrdup(path);
    const char* const folder = dirname(copy.get());
    flush_media_files(folder);
    flush_file(folder);
    sync();
}

void record_file_set(const char* location_pattern) {
    *record_file = estrdup(location_pattern);
    growth = {};
    files.of_this_recording = 0;
}

void record_file_opened(const char* path) {
    // Settings may have a slash too many where the parts were joined.
    const std::filesystem::path written{sysroot_stripped(path)};
    *last_file = estrdup(written.lexically_normal().c_str());
    files.last = last_file->get();
    ++files.count;
    ++files.of_this_recording;
    log_message(LEVEL_INFO, "Recording to %s", files.last);
}

recorded_files record_files() {
    return files;
}

const char* record_file_name() {
    return record_file->get();
}

void record_file_finish(bool is_flushed) {
    const malloc_text finished = std::move(*record_file);
    if (finished && is_flushed) {
        flush_folder_of_file(finished.get());
    }
}

bool record_file_stands_still(std::chrono::steady_clock::time_point now) {
    const std::uintmax_t bytes = bytes_being_written();
    const bool is_first_look = growth.last == std::chrono::steady_clock::time_point{};
    if (is_first_look || bytes != growth.bytes) {
        growth = {.bytes = bytes, .last = now};
    }
    return now - growth.last >= STANDSTILL_MAX;
}

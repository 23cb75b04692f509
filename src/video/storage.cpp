// The file of the current recording.
#include "video/storage.h"

#include "core/imem.h"
#include "core/log.h"
#include "util/never_destroyed.h"
#include "util/sysroot.h"
#include "video/flushing.h"
#include "video/handles.h"

#include <cstdint>
#include <filesystem>
#include <sys/stat.h>
#include <utility>

namespace {

// Location pattern of the current recording, until its files are written.
constinit never_destroyed<malloc_text> record_file;

// Path on the sight of the latest file.
constinit never_destroyed<malloc_text> last_file;
recorded_files files;

// Growth of the file of an ending recording.
struct file_growth {
    std::uintmax_t bytes = 0;
    std::chrono::steady_clock::time_point last; // epoch before the first check
};
file_growth growth;
constexpr std::chrono::minutes STANDSTILL_MAX{5};

// Returns the size of the current file; 0 when there is none yet.
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

} // namespace

void record_file_set(const char* location_pattern) {
    *record_file = estrdup(location_pattern);
    growth = {};
    files.of_this_recording = 0;
}

void record_file_opened(const char* path) {
    // A path from the settings may contain double slashes.
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

// Small helpers that reach the operating system: commands, files, folders, time and space.
#include "util/global.h"

#include "core/log.h"
#include "util/sysroot.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cinttypes>
#include <cmath>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <limits>
#include <linux/close_range.h>
#include <memory>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr std::size_t COMMAND_SIZE = 256;
// Fourteen digits and the terminator.
constexpr std::size_t TIMESTAMP_SIZE = 15;
// Attribute of the monitor driver; it exists while a cable is plugged.
constexpr const char* HDMI_CABLE_STATE = "/sys/devices/soc0/soc/20e0000.hdmi_video/cable_state";

struct file_closer {
    void operator()(FILE* file) const noexcept { std::fclose(file); }
};
struct folder_closer {
    void operator()(DIR* folder) const noexcept { closedir(folder); }
};
using file_owner = std::unique_ptr<FILE, file_closer>;

file_owner open_file(const char* path, const char* mode) {
    return file_owner{std::fopen(sysroot_path(path).c_str(), mode)};
}

// How a tool starts: no signal is blocked or ignored, whatever holds for us.
class tool_attributes {
public:
    tool_attributes() {
        sigset_t none;
        sigset_t ignored;
        sigemptyset(&none);
        sigemptyset(&ignored);
        sigaddset(&ignored, SIGPIPE);
        posix_spawnattr_init(&attributes_);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setsigdefault(&attributes_, &ignored);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    tool_attributes(const tool_attributes&) = delete;
    tool_attributes& operator=(const tool_attributes&) = delete;
    ~tool_attributes() { posix_spawnattr_destroy(&attributes_); }
    [[nodiscard]] const posix_spawnattr_t* get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_{};
};

// As system() does, with its result, but for one thing: that ignores SIGINT meanwhile, by which a
// SIGINT that waits to be read from the signal descriptor is thrown away, and nobody stops.
int run_shell(const char* command) {
    std::array arguments{const_cast<char*>("sh"), const_cast<char*>("-c"),
                         const_cast<char*>(command), static_cast<char*>(nullptr)};
    const tool_attributes attributes;
    pid_t tool = -1;
    if (posix_spawn(&tool, "/bin/sh", nullptr, attributes.get(), arguments.data(), environ) != 0) {
        return -1;
    }
    int status = 0;
    while (waitpid(tool, &status, 0) < 0) {
        if (errno != EINTR) {
            return -1;
        }
    }
    return status;
}

bool is_folder(FILE* file) {
    struct stat status {};
    return fstat(fileno(file), &status) == 0 && S_ISDIR(status.st_mode);
}

// The way of kernels before 5.11, which can't mark all descriptors in one call.
void mark_descriptors_one_by_one() {
    const std::unique_ptr<DIR, folder_closer> folder{opendir("/proc/self/fd")};
    if (!folder) {
        return;
    }
    while (const dirent* entry = readdir(folder.get())) {
        const int fd = std::atoi(entry->d_name);
        if (fd > STDERR_FILENO) {
            fcntl(fd, F_SETFD, FD_CLOEXEC);
        }
    }
}

// Elements open descriptors of their own; tools shall inherit none of them.
void keep_descriptors_from_tools() {
    if (close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC) != 0) {
        mark_descriptors_one_by_one();
    }
}

} // namespace

int truncate_to_int(double value) {
    using limits = std::numeric_limits<int>;
    if (std::isnan(value)) {
        return 0;
    }
    const double limited =
        std::clamp(value, static_cast<double>(limits::min()), static_cast<double>(limits::max()));
    return static_cast<int>(limited);
}

int exec_system_cmd(const char* format, ...) {
    const malloc_text command = emalloc_text(COMMAND_SIZE);
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(command.get(), COMMAND_SIZE, format, arguments);
    va_end(arguments);
    if (length < 0 || static_cast<std::size_t>(length) >= COMMAND_SIZE) {
        log_message(LEVEL_WARN, "system cmd too long, not executed: %s", command.get());
        return -1;
    }
    log_message(LEVEL_INFO, "Executing system cmd: %s", command.get());
    keep_descriptors_from_tools();
    return run_shell(command.get());
}

int touch_file(const char* path) {
    const int fd = open(sysroot_path(path).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0444);
    if (fd < 0) {
        return -1;
    }
    close(fd);
    return 0;
}

int is_hdmi_connected() {
    return is_file_created(HDMI_CABLE_STATE);
}

int is_file_created(const char* path) {
    return access(sysroot_path(path).c_str(), F_OK) == 0 ? 1 : 0;
}

malloc_text get_timestamp_string() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    malloc_text text{static_cast<char*>(std::malloc(TIMESTAMP_SIZE))};
    if (localtime_r(&now, &local) == nullptr || !text) {
        return nullptr;
    }
    const std::size_t length = std::strftime(text.get(), TIMESTAMP_SIZE, "%Y%m%d%H%M%S", &local);
    return length > 0 ? std::move(text) : nullptr;
}

malloc_text concatenate_strings(std::initializer_list<const char*> texts) {
    std::size_t size = 1;
    for (const char* text : texts) {
        size += std::strlen(text);
    }
    malloc_text joined{static_cast<char*>(std::malloc(size))};
    if (!joined) {
        return nullptr;
    }
    char* end = joined.get();
    for (const char* text : texts) {
        end = stpcpy(end, text);
    }
    *end = '\0';
    return joined;
}

malloc_text read_full_file(const char* path) {
    const file_owner file = open_file(path, "rbe");
    // A folder opens like a file and then has any size.
    if (!file || is_folder(file.get()) || std::fseek(file.get(), 0, SEEK_END) != 0) {
        return nullptr;
    }
    const long end = std::ftell(file.get());
    if (end < 0 || std::fseek(file.get(), 0, SEEK_SET) != 0) {
        return nullptr;
    }
    const auto size = static_cast<std::size_t>(end);
    malloc_text text = emalloc_text(size + 1);
    const std::size_t length = std::fread(text.get(), 1, size, file.get());
    text.get()[length] = '\0';
    return std::ferror(file.get()) == 0 ? std::move(text) : nullptr;
}

int write_full_file(const char* path, const char* text) {
    file_owner file = open_file(path, "we");
    if (!file) {
        return 1;
    }
    const std::size_t length = std::strlen(text);
    const bool written = std::fwrite(text, 1, length, file.get()) == length;
    // What the stream still holds is written by the close: an attribute refuses a value there.
    const bool closed = std::fclose(file.release()) == 0;
    return written && closed ? 0 : -1;
}

void flush_file(const char* path) {
    const int fd = open(sysroot_path(path).c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return;
    }
    log_message(LEVEL_DEBUG, "flushing: %s", path);
    fsync(fd);
    close(fd);
}

void create_folder(const char* path) {
    const std::string folder = sysroot_path(path);
    struct stat status {};
    if (stat(folder.c_str(), &status) != 0) {
        mkdir(folder.c_str(), 0777);
    }
}

int get_free_space(const char* path, std::uint64_t& free_bytes) {
    struct statvfs status {};
    if (statvfs(sysroot_path(path).c_str(), &status) != 0) {
        log_message(LEVEL_WARN, "Failed to query the system for the remaing space in %s", path);
        return 1;
    }
    free_bytes = std::uint64_t{status.f_frsize} * std::uint64_t{status.f_bfree};
    log_message(LEVEL_DEBUG, "Free space is %" PRIu64, free_bytes);
    return 0;
}

int has_enough_space(const char* path, std::uint64_t needed) {
    std::uint64_t free_bytes = 0;
    if (get_free_space(path, free_bytes) != 0) {
        return 0;
    }
    if (free_bytes >= needed) {
        return 1;
    }
    log_message(LEVEL_WARN, "not enough bytes, asking for %" PRIu64 ", but have %" PRIu64, needed,
                free_bytes);
    return 0;
}

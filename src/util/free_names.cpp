// Finds time stamps for the names of new files, so that no existing file is overwritten.
#include "util/free_names.h"

#include "core/log.h"
#include "util/file_owners.h"
#include "util/sysroot.h"
#include "util/text.h"

#include <cerrno>
#include <cstring>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace {

using stamp_set = std::set<std::string, std::less<>>;

const dirent* next_entry(DIR* folder) {
    errno = 0; // still 0 after the last entry; readdir sets it on failure
    return readdir(folder);
}

// Returns the time stamps that follow the prefix in the folder's names. If the folder can't be
// read, returns nullopt and sets errno.
std::optional<stamp_set> taken_stamps(const char* path, std::string_view prefix) {
    stamp_set taken;
    const folder_owner folder{opendir(sysroot_path(path).c_str())};
    if (!folder) {
        return errno == ENOENT || errno == ENOTDIR ? std::optional{taken} : std::nullopt;
    }
    while (const dirent* entry = next_entry(folder.get())) {
        const std::string_view name{entry->d_name};
        if (name.starts_with(prefix)) {
            taken.emplace(name.substr(prefix.size(), TIMESTAMP_LENGTH));
        }
    }
    return errno == 0 ? std::optional{std::move(taken)} : std::nullopt;
}

} // namespace

malloc_text get_free_timestamp(const char* folder, const char* prefix, std::time_t moment) {
    const std::optional<stamp_set> taken = taken_stamps(folder, prefix);
    if (!taken) {
        log_message(LEVEL_WARN, "Can't read %s to find a free name: %s", folder,
                    std::strerror(errno));
        return nullptr;
    }
    // At most one step per taken stamp, or two in the hour that local time repeats when summer time
    // ends.
    malloc_text stamp = get_timestamp_string(moment);
    while (stamp && taken->contains(std::string_view{stamp.get()})) {
        stamp = get_timestamp_string(++moment);
    }
    return stamp;
}

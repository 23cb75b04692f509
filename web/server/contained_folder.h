// A folder whose files can be opened by a path that comes from outside: no path leads out of it.
#pragma once

#include "util/fd_owned.h"

#include <string>
#include <sys/types.h>

namespace web {

// An ordinary file that was opened for reading, and its size; without a descriptor: none.
struct opened_file {
    fd_owned file;
    off_t bytes = 0;
};

class contained_folder {
public:
    // Nothing can be opened in a folder that isn't there.
    explicit contained_folder(const std::string& folder);
    contained_folder(const contained_folder&) = delete;
    contained_folder& operator=(const contained_folder&) = delete;

    // `path` is relative to the folder. None when there is no such ordinary file, or when a link,
    // or "..", leads out.
    [[nodiscard]] opened_file open_file(const std::string& path) const;

    // Deletes the file of that plain name in a folder in this one, relative to it; a link is
    // deleted itself. False when there is none, or when the folder leads out.
    [[nodiscard]] bool delete_file(const std::string& folder, const std::string& name) const;

private:
    const fd_owned folder_;
};

} // namespace web

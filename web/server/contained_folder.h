// A folder whose files can be opened by untrusted paths, which never leave it.
#pragma once

#include "util/fd_owned.h"

#include <string>
#include <sys/types.h>

namespace web {

// An ordinary file opened for reading, and its size; no descriptor: none.
struct opened_file {
    fd_owned file;
    off_t bytes = 0;
};

class contained_folder {
public:
    // If the folder doesn't exist, nothing can be opened.
    explicit contained_folder(const std::string& folder);
    contained_folder(const contained_folder&) = delete;
    contained_folder& operator=(const contained_folder&) = delete;

    // Opens a path relative to the folder. None if there is no such ordinary file, or if a link or
    // ".." leaves the folder.
    [[nodiscard]] opened_file open_file(const std::string& path) const;

    // Deletes the file of that plain name in a subfolder; deletes a link itself. Returns false if
    // there is none, or if the subfolder's path leaves this folder.
    [[nodiscard]] bool delete_file(const std::string& folder, const std::string& name) const;

private:
    const fd_owned folder_;
};

} // namespace web

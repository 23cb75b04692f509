// A folder whose files can be opened by a path that comes from outside: no path leads out of it.
#pragma once

#include "glib_owners.h"

#include <string>

namespace sim {

class contained_folder {
public:
    // Nothing can be opened in a folder that isn't there.
    explicit contained_folder(const std::string& folder);
    contained_folder(const contained_folder&) = delete;
    contained_folder& operator=(const contained_folder&) = delete;
    ~contained_folder();

    // The whole of an ordinary file, `path` relative to the folder. None when there is no such
    // file, or when a link, or "..", leads out.
    [[nodiscard]] glib_owner<GMappedFile> open_file(const std::string& path) const;

private:
    int descriptor_;
};

} // namespace sim

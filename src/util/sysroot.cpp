// The system root: a folder prepended to every absolute path.
#include "util/sysroot.h"

#include <cstdlib>

namespace {

// Borrowed from the environment; the daemon never changes this variable.
std::string_view sysroot() {
    static const char* const folder = secure_getenv(SYSROOT_VARIABLE);
    return folder == nullptr ? std::string_view{} : std::string_view{folder};
}

// Without trailing slashes, since an absolute path follows.
std::string_view prefix() {
    std::string_view root = sysroot();
    while (!root.empty() && root.back() == '/') {
        root.remove_suffix(1);
    }
    return root;
}

} // namespace

bool sysroot_is_valid() {
    return sysroot().empty() || sysroot().front() == '/';
}

std::string sysroot_path(std::string_view path) {
    const bool is_absolute = !path.empty() && path.front() == '/';
    return std::string{is_absolute ? prefix() : std::string_view{}}.append(path);
}

const char* sysroot_stripped(const char* path) {
    return std::string_view{path}.starts_with(prefix()) ? path + prefix().size() : path;
}

// The one seam to the machine: a folder in front of every absolute path.
#include "util/sysroot.h"

#include <cstdlib>

namespace {

// Borrowed from the environment, in which the daemon never changes this variable.
std::string_view sysroot() {
    static const char* const folder = secure_getenv(SYSROOT_VARIABLE);
    return folder == nullptr ? std::string_view{} : std::string_view{folder};
}

} // namespace

bool sysroot_is_valid() {
    return sysroot().empty() || sysroot().front() == '/';
}

std::string sysroot_path(std::string_view path) {
    std::string_view root = sysroot();
    if (root.empty() || path.empty() || path.front() != '/') {
        return std::string{path};
    }
    while (!root.empty() && root.back() == '/') {
        root.remove_suffix(1);
    }
    return std::string{root}.append(path);
}

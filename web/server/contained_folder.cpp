// A folder whose files can be opened by untrusted paths.
#include "contained_folder.h"

#include <cstdint>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace web {
namespace {

// openat2(), for which the C library has no function yet. The kernel refuses paths that leave the
// folder, even through a link that is swapped in meanwhile.
int open_beneath(int folder, const std::string& path, std::uint64_t flags) {
    open_how how{};
    how.flags = flags | O_CLOEXEC;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
    return static_cast<int>(syscall(SYS_openat2, folder, path.c_str(), &how, sizeof how));
}

} // namespace

contained_folder::contained_folder(const std::string& folder)
    : folder_(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)) {}

opened_file contained_folder::open_file(const std::string& path) const {
    fd_owned file(open_beneath(folder_.get(), path, O_RDONLY | O_NONBLOCK));
    struct stat status {};
    if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return {};
    }
    return {std::move(file), status.st_size};
}

bool contained_folder::delete_file(const std::string& folder, const std::string& name) const {
    const fd_owned parent(open_beneath(folder_.get(), folder, O_PATH | O_DIRECTORY));
    return parent && unlinkat(parent.get(), name.c_str(), 0) == 0;
}

} // namespace web

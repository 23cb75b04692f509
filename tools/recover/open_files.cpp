// Detects files in use, so that none is replaced while a program writes it.
#include "recover/open_files.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

bool is_number(const std::string& name) {
    return std::ranges::all_of(name,
                               [](unsigned char letter) { return std::isdigit(letter) != 0; });
}

bool is_same_file(const fs::path& link, const struct stat& wanted) {
    struct stat found {};
    return stat(link.c_str(), &found) == 0 && found.st_dev == wanted.st_dev &&
           found.st_ino == wanted.st_ino;
}

// Ignores errors: processes come and go, and some hide their descriptors.
template <class Test> bool any_entry(const fs::path& folder, Test test) {
    std::error_code unreadable;
    fs::directory_iterator entry{folder, unreadable};
    while (!unreadable && entry != fs::directory_iterator{}) {
        if (test(entry->path())) {
            return true;
        }
        entry.increment(unreadable);
    }
    return false;
}

std::string describe(const fs::path& process) {
    std::ifstream file{process / "comm"};
    std::string name;
    std::getline(file, name);
    return "process " + process.filename().string() + " (" + name + ")";
}

// The kernel grants a lease only if nobody else has the file open. This detects processes that
// /proc doesn't show: other users', other containers'. A lease may also be refused for other
// reasons.
bool is_refused_lease(int file) {
    if (fcntl(file, F_SETLEASE, F_WRLCK) == 0) {
        fcntl(file, F_SETLEASE, F_UNLCK);
        return false;
    }
    return errno == EAGAIN;
}

} // namespace

std::optional<std::string> other_user_of(int file) {
    struct stat wanted {};
    if (fstat(file, &wanted) != 0) {
        return std::nullopt;
    }
    const std::string own = std::to_string(getpid());
    std::optional<std::string> user;
    any_entry("/proc", [&](const fs::path& process) {
        const std::string number = process.filename().string();
        if (is_number(number) && number != own &&
            any_entry(process / "fd",
                      [&](const fs::path& link) { return is_same_file(link, wanted); })) {
            user = describe(process);
        }
        return user.has_value();
    });
    if (!user && is_refused_lease(file)) {
        user = "another process";
    }
    return user;
}

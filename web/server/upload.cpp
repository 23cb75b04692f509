// A file that comes with a request, kept under a passing name until it is whole.
#include "upload.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace fs = std::filesystem;

namespace web {
namespace {

// For as many files of one name somebody has to want it.
constexpr int numbers = 1000;

std::string numbered(const std::string& folder, const fs::path& name, int number) {
    std::string path = folder + "/" + name.stem().string();
    if (number > 1) {
        path += "-" + std::to_string(number);
    }
    return path + name.extension().string();
}

} // namespace

upload::upload(std::string folder)
    : folder_(std::move(folder)), path_(folder_ + "/.upload-XXXXXX") {
    std::error_code failed;
    fs::create_directories(folder_, failed);
    file_ = descriptor(mkostemp(path_.data(), O_CLOEXEC));
    if (!file_) {
        fail();
        path_.clear();
    }
}

upload::~upload() {
    if (!path_.empty()) {
        unlink(path_.c_str());
    }
}

void upload::fail() {
    if (why_.empty()) {
        why_ = std::strerror(errno);
    }
}

void upload::add(const char* bytes, std::size_t size) {
    while (why_.empty() && size > 0) {
        const ssize_t written = write(file_.number(), bytes, size);
        if (written < 0 && errno != EINTR) {
            fail();
        } else if (written > 0) {
            bytes += written;
            size -= static_cast<std::size_t>(written);
        }
    }
}

std::string upload::keep_as(const std::string& name, std::string& why) {
    if (why_.empty() && fchmod(file_.number(), 0644) != 0) {
        fail();
    }
    for (int number = 1; why_.empty() && number < numbers; ++number) {
        std::string path = numbered(folder_, name, number);
        if (link(path_.c_str(), path.c_str()) == 0) {
            return path; // the passing name goes with this object
        }
        if (errno != EEXIST) {
            fail();
        }
    }
    why = why_.empty() ? "there are too many files of this name" : why_;
    return {};
}

} // namespace web

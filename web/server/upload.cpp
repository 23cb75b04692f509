// A file sent as a request's body, with a temporary name until complete.
#include "upload.h"

#include "soup_owned.h"

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

// Maximum number of files with one name.
constexpr int NUMBERS_MAX = 1000;

// Key under which the upload is attached to its request.
constexpr const char* UPLOAD_KEY = "vtrdc-upload";

std::string numbered(const std::string& folder, const fs::path& name, int number) {
    std::string path = folder + "/" + name.stem().string();
    if (number > 1) {
        path += "-" + std::to_string(number);
    }
    return path + name.extension().string();
}

void on_chunk(SoupServerMessage* request, GBytes* chunk, gpointer /*data*/) noexcept {
    gsize size = 0;
    const auto* const bytes = static_cast<const char*>(g_bytes_get_data(chunk, &size));
    upload_of(request).add(bytes, size);
}

} // namespace

upload::upload(std::string folder)
    : folder_(std::move(folder)), path_(folder_ + "/.upload-XXXXXX") {
    std::error_code failed;
    fs::create_directories(folder_, failed);
    file_ = fd_owned(mkostemp(path_.data(), O_CLOEXEC));
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
        const ssize_t written = write(file_.get(), bytes, size);
        if (written < 0 && errno != EINTR) {
            fail();
        } else if (written > 0) {
            bytes += written;
            size -= static_cast<std::size_t>(written);
        }
    }
}

std::string upload::keep_as(const std::string& name, std::string& why) {
    if (why_.empty() && fchmod(file_.get(), 0644) != 0) {
        fail();
    }
    for (int number = 1; why_.empty() && number < NUMBERS_MAX; ++number) {
        std::string path = numbered(folder_, name, number);
        if (link(path_.c_str(), path.c_str()) == 0) {
            return path; // the temporary name is removed with this object
        }
        if (errno != EEXIST) {
            fail();
        }
    }
    why = why_.empty() ? "too many files of this name" : why_;
    return {};
}

void receive_upload(SoupServerMessage* request, const std::string& folder) {
    give_to_request(request, UPLOAD_KEY, std::make_unique<upload>(folder));
    g_signal_connect(request, "got-chunk", G_CALLBACK(on_chunk), nullptr);
}

upload& upload_of(SoupServerMessage* request) {
    return *static_cast<upload*>(g_object_get_data(G_OBJECT(request), UPLOAD_KEY));
}

} // namespace web

// A file sent as a request's body, with a temporary name until complete.
#pragma once

#include "util/fd_owned.h"

#include <libsoup/soup.h>

#include <cstddef>
#include <string>

namespace web {

class upload {
public:
    // Creates a file in the folder, which is created if needed.
    explicit upload(std::string folder);
    upload(const upload&) = delete;
    upload& operator=(const upload&) = delete;
    // Removes the file unless it was kept.
    ~upload();

    void add(const char* bytes, std::size_t size);

    // Its temporary path, and the first error, empty without one.
    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] const std::string& why_not() const { return why_; }

    // Renames the file, adding a number if the name is taken. Returns its path, or an empty string
    // with the reason in `why`.
    [[nodiscard]] std::string keep_as(const std::string& name, std::string& why);

private:
    void fail();

    const std::string folder_;
    std::string path_;
    std::string why_;
    fd_owned file_;
};

// Writes the request's body to a file in the folder as it arrives. The file is removed with the
// request unless it was kept.
void receive_upload(SoupServerMessage* request, const std::string& folder);

// Returns the upload that receive_upload attached to this request.
[[nodiscard]] upload& upload_of(SoupServerMessage* request);

} // namespace web

// A file that comes as the body of a request, kept under a temporary name until it is whole.
#pragma once

#include "util/fd_owned.h"

#include <libsoup/soup.h>

#include <cstddef>
#include <string>

namespace web {

class upload {
public:
    // Begins a file in the folder, which is created if need be.
    explicit upload(std::string folder);
    upload(const upload&) = delete;
    upload& operator=(const upload&) = delete;
    // Removes the file unless it was kept.
    ~upload();

    void add(const char* bytes, std::size_t size);

    // Its temporary path, and the first error; empty without one.
    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] const std::string& why_not() const { return why_; }

    // Gives the file its name, with a number when that is taken. Its path, or an empty one when it
    // could not be written or named; `why` says why.
    [[nodiscard]] std::string keep_as(const std::string& name, std::string& why);

private:
    void fail();

    const std::string folder_;
    std::string path_;
    std::string why_;
    fd_owned file_;
};

// Writes the request's body, as it comes, to a file in the folder. It is removed at the end of the
// request unless it was kept.
void receive_upload(SoupServerMessage* request, const std::string& folder);

// What receive_upload began for this request.
[[nodiscard]] upload& upload_of(SoupServerMessage* request);

} // namespace web

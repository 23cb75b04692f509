// A file that comes with a request, kept in a folder under a passing name until it is whole.
#pragma once

#include "descriptor.h"

#include <cstddef>
#include <string>

namespace web {

class upload {
public:
    // Begins a file in the folder, which is made when it isn't there.
    explicit upload(std::string folder);
    upload(const upload&) = delete;
    upload& operator=(const upload&) = delete;
    // Removes what was not kept.
    ~upload();

    void add(const char* bytes, std::size_t size);

    // Where it is until it is kept, and what went wrong first; empty when nothing did.
    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] const std::string& why_not() const { return why_; }

    // Ends the file and gives it the name, with a number when that is taken. The path, or an empty
    // one when it could not be written or named; `why` says why.
    [[nodiscard]] std::string keep_as(const std::string& name, std::string& why);

private:
    void fail();

    const std::string folder_;
    std::string path_;
    std::string why_;
    descriptor file_;
};

} // namespace web

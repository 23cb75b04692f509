// Reads a file piece by piece, so that memory use doesn't depend on its size.
#include "recover/byte_window.h"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <unistd.h>

namespace {

constexpr std::size_t READ_AHEAD = 256 * 1024;

} // namespace

byte_view byte_window::at(std::uint64_t offset, std::size_t length) {
    const std::uint64_t left = end_ - std::min(offset, end_);
    length = static_cast<std::size_t>(std::min<std::uint64_t>(length, left));
    if (offset < start_ || offset - start_ + length > bytes_.size()) {
        fill(offset,
             static_cast<std::size_t>(std::min<std::uint64_t>(std::max(length, READ_AHEAD), left)));
        length = std::min(length, bytes_.size());
    }
    return byte_view{bytes_}.subspan(static_cast<std::size_t>(offset - start_), length);
}

void byte_window::fill(std::uint64_t offset, std::size_t length) {
    bytes_.resize(length);
    start_ = offset;
    std::size_t done = 0;
    while (done < length) {
        const ssize_t got =
            pread(file_, bytes_.data() + done, length - done, static_cast<off_t>(offset + done));
        if (got < 0 && errno != EINTR) {
            throw std::system_error{errno, std::generic_category(), "reading"};
        }
        if (got == 0) { // the file was truncated meanwhile
            break;
        }
        done += got > 0 ? static_cast<std::size_t>(got) : 0;
    }
    bytes_.resize(done);
}

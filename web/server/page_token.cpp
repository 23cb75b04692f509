// The token that authorises a page.
#include "page_token.h"

#include "util/fd_owned.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace web {
namespace {

constexpr std::size_t TOKEN_BYTES = 16;
constexpr std::size_t TOKEN_DIGITS = 2 * TOKEN_BYTES;
constexpr std::string_view DIGITS = "0123456789abcdef";

std::string new_token() {
    std::array<unsigned char, TOKEN_BYTES> random{};
    if (getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size())) {
        std::cerr << "the system provides no random bytes\n";
        std::exit(EXIT_FAILURE); // a guessable token would let everybody in
    }
    std::string token;
    for (const unsigned char byte : random) {
        token += DIGITS[byte / 16];
        token += DIGITS[byte % 16];
    }
    return token;
}

// Empty unless the file contains a token and only its owner can read it.
std::string kept_token(const std::string& file) {
    const fd_owned opened(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat status {};
    std::string token(TOKEN_DIGITS, '\0');
    const bool is_kept =
        opened && fstat(opened.get(), &status) == 0 && S_ISREG(status.st_mode) &&
        status.st_uid == geteuid() && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0 &&
        status.st_size == static_cast<off_t>(TOKEN_DIGITS) &&
        read(opened.get(), token.data(), token.size()) == static_cast<ssize_t>(token.size()) &&
        token.find_first_not_of(DIGITS) == std::string::npos;
    return is_kept ? token : "";
}

void keep(const std::string& token, const std::string& file) {
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(file).parent_path(), ignored);
    unlink(file.c_str());
    const fd_owned opened(
        open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!opened || write(opened.get(), token.data(), token.size()) < 0) {
        unlink(file.c_str());
    }
}

} // namespace

std::string board_token(const std::string& file) {
    std::string token = kept_token(file);
    if (token.empty()) {
        token = new_token();
        keep(token, file);
    }
    return token;
}

bool is_token(std::string_view text, std::string_view token) {
    if (text.size() != token.size()) {
        return false; // the length is no secret
    }
    volatile unsigned char difference = 0; // volatile: no early end of the loop
    for (std::size_t at = 0; at < token.size(); ++at) {
        difference = static_cast<unsigned char>(difference | (text[at] ^ token[at]));
    }
    return difference == 0;
}

std::string_view cookie_in(std::string_view header, std::string_view name) {
    while (!header.empty()) {
        const std::size_t end = std::min(header.find(';'), header.size());
        const std::string_view cookie = header.substr(0, end);
        if (cookie.starts_with(name) && cookie.substr(name.size()).starts_with('=')) {
            return cookie.substr(name.size() + 1);
        }
        header.remove_prefix(std::min(end + 1, header.size()));
        header.remove_prefix(std::min(header.find_first_not_of(' '), header.size()));
    }
    return {};
}

} // namespace web

// Reads the growing log of a long run.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

class log_reader {
public:
    explicit log_reader(std::filesystem::path file) : path_{std::move(file)} {}

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

    // Skips the log so far.
    void mark() {
        since_mark();
        text_.clear();
    }
    // Everything logged since the mark.
    const std::string& since_mark() {
        std::ifstream file{path_, std::ios::binary};
        file.seekg(static_cast<std::streamoff>(read_));
        const std::string more{std::istreambuf_iterator<char>{file}, {}};
        read_ += more.size();
        return text_ += more;
    }
    // How often a text was logged since the mark.
    int count(std::string_view text) {
        int found = 0;
        since_mark();
        for (std::size_t at = text_.find(text); at != std::string::npos;
             at = text_.find(text, at + text.size())) {
            ++found;
        }
        return found;
    }

private:
    std::filesystem::path path_;
    std::size_t read_ = 0;
    std::string text_;
};

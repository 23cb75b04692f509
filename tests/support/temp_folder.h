// A folder for one test, removed with all it holds at the end.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

class temp_folder {
public:
    temp_folder();
    temp_folder(const temp_folder&) = delete;
    temp_folder& operator=(const temp_folder&) = delete;
    ~temp_folder();

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

    // Writes a file of that name, making its folders, and returns its path.
    std::string write(std::string_view name, std::string_view contents) const;

private:
    std::filesystem::path path_;
};

// The whole file as text; empty when it can't be read.
std::string read_text(const std::filesystem::path& path);

// A temporary folder, removed with its contents at the end.
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

    // Writes a file of that name, creating its folders, and returns its path.
    std::string write(std::string_view name, std::string_view contents) const;

private:
    std::filesystem::path path_;
};

// Returns the whole file as text; empty if it can't be read.
std::string read_text(const std::filesystem::path& path);

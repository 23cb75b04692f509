// A temporary folder, removed with its contents at the end.
#include "support/temp_folder.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

temp_folder::temp_folder() {
    std::string pattern = (fs::temp_directory_path() / "vtrdc-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("can't make a temporary folder");
    }
    path_ = pattern;
}

temp_folder::~temp_folder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::string temp_folder::write(std::string_view name, std::string_view contents) const {
    const fs::path file = path_ / name;
    fs::create_directories(file.parent_path());
    std::ofstream{file, std::ios::binary} << contents;
    return file.string();
}

std::string read_text(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream{path, std::ios::binary}.rdbuf();
    return text.str();
}

// Recovers recordings that were never completed.
#pragma once

#include "recover/report.h"

#include <functional>

struct recover_options {
    bool is_dry_run = false;
    // Told the file and what part of it was gone through, 0 to 1.
    std::function<void(const std::string&, double)> progress = [](const std::string&, double) {};
    std::function<void(const file_report&)> report;
};

// Recovers the recordings directly in a folder, or a single file, and reports each. A folder is
// worked on by one process at a time; what an earlier one left unfinished in it is removed.
void recover_path(const std::string& path, const recover_options& options);

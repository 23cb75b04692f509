// Recovers recordings that were interrupted.
#pragma once

#include "recover/report.h"

#include <functional>

struct recover_options {
    bool is_dry_run = false;
    // Called with the file and the scanned fraction, 0 to 1.
    std::function<void(const std::string&, double)> progress = [](const std::string&, double) {};
    std::function<void(const file_report&)> report;
};

// Recovers the recordings directly in a folder, or a single file, and reports each. Locks the
// folder against other instances and removes unfinished copies of earlier runs.
void recover_path(const std::string& path, const recover_options& options);

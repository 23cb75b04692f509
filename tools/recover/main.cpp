// vtrdc-recover completes recordings that were interrupted.
#include "recover/command_line.h"
#include "recover/recover.h"
#include "util/sysroot.h"

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <map>
#include <unistd.h>

namespace {

enum exit_status : int { STATUS_DONE = 0, STATUS_FAILED = 1, STATUS_USAGE = 2 };

// Prints a progress line, which the next one overwrites.
void show_progress(const std::string& path, double part) {
    std::fprintf(stderr, "\r\033[K%s: %.0f %%", path.c_str(), part * 100);
}

class reporter {
public:
    explicit reporter(const command_line& line) : line_{line} {}

    void take(const file_report& report) {
        if (is_terminal_) {
            std::cerr << "\r\033[K" << std::flush;
        }
        ++counts_[report.fate];
        if (line_.is_json) {
            std::cout << as_json(report) << std::endl;
        } else if (report.fate == recording_fate::failed) {
            std::cerr << as_text(report) << std::endl;
        } else if (!is_usual(report.fate) || !line_.paths.empty()) {
            std::cout << as_text(report) << std::endl;
        }
    }

    [[nodiscard]] bool shows_progress() const { return is_terminal_; }

    [[nodiscard]] exit_status status() const {
        return counts_.contains(recording_fate::failed) ? STATUS_FAILED : STATUS_DONE;
    }

private:
    // Nothing was to be done: only reported for explicit paths.
    [[nodiscard]] static bool is_usual(recording_fate fate) {
        return fate == recording_fate::complete || fate == recording_fate::foreign;
    }

    const command_line& line_;
    const bool is_terminal_ = isatty(STDERR_FILENO) == 1;
    std::map<recording_fate, int> counts_;
};

exit_status run(const command_line& line) {
    reporter reporter{line};
    recover_options options{.is_dry_run = line.is_dry_run,
                            .report = [&](const file_report& report) { reporter.take(report); }};
    if (reporter.shows_progress()) {
        options.progress = show_progress;
    }
    for (const std::string& path : line.paths) {
        recover_path(path, options);
    }
    // A sight that has never recorded has no such folder.
    const std::string standard = sysroot_path(DEFAULT_FOLDER);
    if (line.paths.empty() && std::filesystem::exists(standard)) {
        recover_path(standard, options);
    }
    return reporter.status();
}

} // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): any other exception is a bug; terminate
int main(int argc, char* argv[]) {
    try {
        const std::optional<command_line> line = read_command_line(argc, argv);
        return line ? run(*line) : STATUS_DONE;
    } catch (const usage_error& error) {
        std::cerr << "vtrdc-recover: " << error.what() << '\n';
        return STATUS_USAGE;
    }
}

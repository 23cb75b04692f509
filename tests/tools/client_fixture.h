// Runs vtrdcctl in a temporary folder.
#pragma once

#include "support/process.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

using words = std::vector<std::string>;

struct result {
    int status;
    std::string output;
    std::string errors;
};

class VtrdcctlTest : public testing::Test {
protected:
    // Runs vtrdcctl with these arguments and this standard input.
    [[nodiscard]] result ctl(const words& arguments, const std::string& input = {}) const {
        const std::string errors = folder_.write("errors", "");
        const outcome ended = run(shell_command(arguments, R"(<"$INPUT" 2>"$ERRORS")"),
                                  {"INPUT=" + folder_.write("input", input), "ERRORS=" + errors,
                                   "VTRDC_SOCKET=" + socket_});
        return {ended.status, ended.output, read_text(errors)};
    }

    // Starts it, with all output in the file.
    [[nodiscard]] pid_t start_ctl(const words& arguments,
                                  const std::filesystem::path& output) const {
        return spawn(shell_command(arguments, ""), environment_with({"VTRDC_SOCKET=" + socket_}),
                     output);
    }

    temp_folder folder_;
    std::string socket_ = folder_.path() / "socket";

private:
    [[nodiscard]] static words shell_command(const words& arguments, const std::string& files) {
        words command{"/bin/sh", "-c", R"(exec "$0" "$@" )" + files, VTRDCCTL};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return command;
    }
};

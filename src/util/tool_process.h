// Runs a tool's command line in a shell, with bounded time and memory.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

// Time limit of a tool; then its process group is killed.
inline constexpr std::chrono::seconds TOOL_TIME_MAX{10};
// How much of its output is kept.
inline constexpr std::size_t TOOL_OUTPUT_MAX = 200;

struct tool_end {
    // As from waitpid, or a negative TOOL_ value of tools.h.
    int status;
    // errno if it could not be started or waited for, else 0.
    int error;
    // The first bytes of its standard output and error, control characters replaced by blanks.
    std::string output;
};

// Runs the command line and waits for the shell to exit. The shell has its own process group, so
// signals to ours don't reach it; no signal is blocked or ignored, and only the standard
// descriptors are inherited. Background processes that it leaves keep running without output.
[[nodiscard]] tool_end run_tool(const char* command);

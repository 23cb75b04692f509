// The process of a tool: a shell that runs a command line, in bounded time and memory.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

// What a tool may take. Then its process group is killed.
inline constexpr std::chrono::seconds TOOL_TIME_MAX{10};
// What is kept of what it writes.
inline constexpr std::size_t TOOL_OUTPUT_MAX = 200;

struct tool_end {
    // As waitpid gives it, or one of the negative ones in tools.h.
    int status;
    // Why it could not be started or waited for; 0 when it could.
    int error;
    // The first bytes that it wrote to standard output or error, with a blank for each control
    // character.
    std::string output;
};

// Runs the command line and waits for the shell's end. It has a process group of its own, so that
// signals for ours don't reach it, no signal is blocked or ignored, and no descriptor is inherited
// but the standard ones. What it leaves in the background goes on without an output.
[[nodiscard]] tool_end run_tool(const char* command);

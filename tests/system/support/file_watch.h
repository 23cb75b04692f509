// Waiting for a file to change, without polling.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>

// Calls `reached` now and after each change of the file or its folder until it answers true.
// False when that has not come about in time.
bool wait_for_file(const std::filesystem::path& file, const std::function<bool()>& reached,
                   std::chrono::milliseconds timeout);

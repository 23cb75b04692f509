// Waits for changes of a file without polling.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>

// Calls `reached` now and after each change of the file or its folder, until it returns true.
// Returns false on timeout.
bool wait_for_file(const std::filesystem::path& file, const std::function<bool()>& reached,
                   std::chrono::milliseconds timeout);

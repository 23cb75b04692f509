// Files, folders and free space. Every path may be absolute as on the sight: these functions put
// the system root in front themselves.
#pragma once

#include "core/imem.h"

#include <cstdint>

// Creates the file, readable only, when it is missing. 0, or -1 when it can't be opened.
[[nodiscard]] int touch_file(const char* path);

// 1 when the path exists, else 0.
[[nodiscard]] int is_file_created(const char* path);

// The whole file as text; none when it can't be read.
[[nodiscard]] malloc_text read_full_file(const char* path);

// Replaces the file's contents by the text, without its terminator. 0; 1 when the file can't be
// opened; -1 when less was written.
[[nodiscard]] int write_full_file(const char* path, const char* text);

// Creates the folder, but not its parents, when it is missing.
void create_folder(const char* path);

// Stores the free bytes of the file system that holds `path`, those reserved for the superuser
// included. 0, or 1 with a warning when it can't be asked.
[[nodiscard]] int get_free_space(const char* path, std::uint64_t& free_bytes);

// 1 when at least `needed` bytes are free, else 0 with a warning. What can't be asked is full.
[[nodiscard]] int has_enough_space(const char* path, std::uint64_t needed);

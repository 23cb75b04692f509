// Files, folders and free space. Paths are as on the sight: these functions prepend the system root
// to absolute ones.
#pragma once

#include "core/imem.h"

#include <cstdint>

// Creates the file, read-only, if it is missing. Returns 0, or -1 when it can't be opened.
[[nodiscard]] int touch_file(const char* path);

// Returns 1 when the path exists, else 0.
[[nodiscard]] int is_file_created(const char* path);

// Returns the whole file as text, or none when it can't be read.
[[nodiscard]] malloc_text read_full_file(const char* path);

// Replaces the file's contents by the text, without its terminator. Returns 0; 1 when the file
// can't be opened; -1 when it was not written completely.
[[nodiscard]] int write_full_file(const char* path, const char* text);

// Creates the folder, but not its parents, if it is missing.
void create_folder(const char* path);

// Stores the free bytes of the file system that contains `path`, including those reserved for the
// superuser. Returns 0, or 1 with a warning on failure.
[[nodiscard]] int get_free_space(const char* path, std::uint64_t& free_bytes);

// Returns 1 when at least `needed` bytes are free, else 0 with a warning; also 0 if the space is
// unknown.
[[nodiscard]] int has_enough_space(const char* path, std::uint64_t needed);

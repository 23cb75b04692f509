// Reads the simulated panel's framebuffer file.
#pragma once

#include "panel_file.h" // the panel's size and pixels

#include <cstdint>
#include <span>

// Reads the whole picture, sim::PANEL_BYTES, never a half-written one: the writer locks the file
// for each frame. Returns false, with undefined pixels, if the file can't be read or is too short.
[[nodiscard]] bool read_panel(const char* path, std::span<std::uint8_t> pixels);

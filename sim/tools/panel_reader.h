// Reads the simulated panel's framebuffer file.
#pragma once

#include "panel_file.h" // the panel's size and pixels

#include <cstdint>
#include <span>

// Fills the pixels, sim::PANEL_BYTES of them, with the whole picture, never with one that is half
// rewritten: the writer locks the file for each frame. False when the file can't be read or is
// shorter; the pixels then mean nothing.
[[nodiscard]] bool read_panel(const char* path, std::span<std::uint8_t> pixels);

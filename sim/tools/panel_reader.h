// Reads the simulated panel's framebuffer file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

// The panel: 32 bits a pixel, blue first in memory, as framebuffers have them.
inline constexpr int PANEL_WIDTH = 1024;
inline constexpr int PANEL_HEIGHT = 768;
inline constexpr std::size_t PANEL_BYTES = std::size_t{PANEL_WIDTH} * PANEL_HEIGHT * 4;

// Fills the pixels, PANEL_BYTES of them, with the whole picture, never with one that is half
// rewritten: the writer locks the file for each frame. False when the file can't be read or is
// shorter; the pixels then mean nothing.
[[nodiscard]] bool read_panel(const char* path, std::span<std::uint8_t> pixels);

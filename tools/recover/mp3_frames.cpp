// Parses the four-byte headers of MP3 frames.
#include "recover/mp3_frames.h"

#include <array>

namespace {

// In kbit/s. The first code means a free bit rate, the last is forbidden.
constexpr std::array<std::uint32_t, 16> BITRATES{0,   32,  40,  48,  56,  64,  80,  96,
                                                 112, 128, 160, 192, 224, 256, 320, 0};
constexpr std::array<std::uint32_t, 4> RATES{44100, 48000, 32000, 0};

constexpr std::uint32_t SYNC_MASK = 0xfffe0000; // sync word, MPEG-1, layer III
constexpr std::uint32_t SYNC = 0xfffa0000;
// Sync, checksum, sample rate, channel mode, copyright, emphasis; bit rate and padding may vary.
constexpr std::uint32_t SIGNATURE_MASK = 0xffff0ccf;
constexpr std::uint32_t MONO = 3;
constexpr std::uint32_t FORBIDDEN_EMPHASIS = 2;

} // namespace

std::optional<mp3_frame> read_mp3_frame(byte_view header) {
    const std::uint32_t word = read_u32(header);
    const std::uint32_t bitrate = BITRATES.at(word >> 12 & 15);
    const std::uint32_t rate = RATES.at(word >> 10 & 3);
    if ((word & SYNC_MASK) != SYNC || bitrate == 0 || rate == 0 ||
        (word & 3) == FORBIDDEN_EMPHASIS) {
        return std::nullopt;
    }
    const std::uint32_t padding = word >> 9 & 1;
    return mp3_frame{.size = MP3_FRAME_SAMPLES / 8 * bitrate * 1000 / rate + padding,
                     .rate = rate,
                     .channels = (word >> 6 & 3) == MONO ? 1U : 2U,
                     .signature = word & SIGNATURE_MASK};
}

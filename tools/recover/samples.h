// Pictures and MP3 frames where they stand in a recording, one behind the other.
#pragma once

#include "recover/mp3_frames.h"
#include "recover/parameter_sets.h"

#include <functional>

enum class sample_kind : std::uint8_t { picture, sound };

struct sample {
    sample_kind kind;
    std::uint32_t size;
    bool is_key = false;      // picture: can be decoded by itself
    bool has_sets = false;    // picture: parameter sets come with it
    std::uint32_t slices = 0; // picture
    bool is_reset = false;    // picture: begins the numbers of frames
    // Picture: where its sets are known.
    std::optional<slice_numbers> numbers{};
    std::uint32_t signature = 0; // sound
};

// What samples are recognised by, beside their form.
struct sample_marks {
    const parameter_sets* sets = nullptr; // borrowed; pictures refer to those, if it is complete
    std::optional<std::uint32_t> signature{}; // of MP3 frames, as soon as one was seen
};

// The sample that begins there. None when nothing whole and undamaged does.
[[nodiscard]] std::optional<sample> read_sample(byte_window& file, std::uint64_t offset,
                                                const sample_marks& marks);

inline constexpr std::size_t SAMPLE_START_BYTES = 5;

// False where no sample begins; quick. Takes SAMPLE_START_BYTES.
[[nodiscard]] bool may_begin_sample(byte_view bytes);

// Calls `visit` with each NAL unit of a picture that was read before. The view is valid meanwhile.
void for_each_nal(byte_window& file, std::uint64_t offset, std::uint32_t size,
                  const std::function<void(byte_view)>& visit);

// Recognises pictures and MP3 frames in the media data.
#pragma once

#include "recover/mp3_frames.h"
#include "recover/parameter_sets.h"

#include <functional>

enum class sample_kind : std::uint8_t { picture, sound };

struct sample {
    sample_kind kind;
    std::uint32_t size;
    bool is_key = false;      // picture: key frame
    bool has_sets = false;    // picture: contains parameter sets
    std::uint32_t slices = 0; // picture
    bool is_reset = false;    // picture: restarts frame numbers
    // Picture: set if its parameter sets are known.
    std::optional<slice_numbers> numbers{};
    std::uint32_t signature = 0; // sound
};

// Constraints for samples besides their syntax.
struct sample_marks {
    const parameter_sets* sets = nullptr;     // borrowed; if complete, pictures must refer to them
    std::optional<std::uint32_t> signature{}; // of MP3 frames, once one was seen
};

// Reads the sample at that offset. None if it is incomplete or damaged.
[[nodiscard]] std::optional<sample> read_sample(byte_window& file, std::uint64_t offset,
                                                const sample_marks& marks);

inline constexpr std::size_t SAMPLE_START_BYTES = 5;

// Quick check on SAMPLE_START_BYTES bytes; false if no sample begins there.
[[nodiscard]] bool may_begin_sample(byte_view bytes);

// Calls `visit` with each NAL unit of a picture that read_sample accepted. The view is valid during
// the call.
void for_each_nal(byte_window& file, std::uint64_t offset, std::uint32_t size,
                  const std::function<void(byte_view)>& visit);

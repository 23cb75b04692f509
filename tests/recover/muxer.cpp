// A miniature muxer: interleaves pictures and sound like the recorder's, with known times.
#include "muxer.h"

#include "recover/interleaving.h"

#include <algorithm>

namespace {

constexpr std::uint32_t KEY_DISTANCE = 15;
constexpr std::uint32_t KEY_BYTES = 16000;
constexpr std::uint32_t PICTURE_BYTES = 4000;
constexpr std::uint32_t SOUND_BYTES = 384;

struct queue {
    const std::vector<double>& stamps;
    double last_s; // duration of the last one
    std::size_t next = 0;

    [[nodiscard]] bool is_empty() const { return next == stamps.size(); }
    [[nodiscard]] double due() const { return stamps[next]; }
    // Removes one; returns its duration.
    double take() {
        const double taken = stamps[next++];
        return is_empty() ? last_s : stamps[next] - taken;
    }
};

std::vector<double> stamps_every(double step_s, double start_s, double end_s) {
    std::vector<double> stamps;
    for (int i = 0; start_s + i * step_s < end_s; ++i) {
        stamps.push_back(start_s + i * step_s);
    }
    return stamps;
}

} // namespace

footage even_footage(double length_s, std::uint32_t rate, double offset_s) {
    footage made{.pictures_s = {}, .sounds_s = {}, .sound = {SOUND_BYTES, rate, 2, 0}};
    const double frame = sound_frame_s(made.sound);
    made.pictures_s = stamps_every(PICTURE_S, offset_s, length_s);
    made.sounds_s = stamps_every(frame, 0, length_s);
    return made;
}

std::vector<stamped_sample> mix(const footage& from) {
    queue pictures{from.pictures_s, PICTURE_S};
    queue sounds{from.sounds_s, sound_frame_s(from.sound)};
    std::vector<stamped_sample> samples;
    queue* current = nullptr;
    double chunk_s = 0;
    while (!pictures.is_empty() && !sounds.is_empty()) {
        if (current == nullptr || chunk_s > CHUNK_S) {
            current = sounds.due() < pictures.due() ? &sounds : &pictures;
            chunk_s = 0;
        }
        const bool is_picture = current == &pictures;
        const bool is_key = is_picture && pictures.next % KEY_DISTANCE == 0;
        const std::uint32_t picture_bytes = is_key ? KEY_BYTES : PICTURE_BYTES;
        samples.push_back({is_picture ? sample_kind::picture : sample_kind::sound, current->due(),
                           is_picture ? picture_bytes : SOUND_BYTES, is_key});
        chunk_s += current->take();
    }
    return samples;
}

scanned scan_of(const std::vector<stamped_sample>& samples, const mp3_frame& sound,
                const byte_range& damage) {
    scanned found{.sound = sound};
    std::uint64_t offset = 0;
    for (const stamped_sample& sample : samples) {
        const bool is_picture = sample.kind == sample_kind::picture;
        auto& sizes = is_picture ? found.picture_sizes : found.sound_sizes;
        const std::uint64_t start = offset;
        offset += sample.size;
        if (start < damage.end && offset > damage.start) {
            continue;
        }
        if (found.runs.empty() || found.runs.back().kind != sample.kind || start != found.end) {
            found.runs.push_back({.kind = sample.kind,
                                  .offset = start,
                                  .first = static_cast<std::uint32_t>(sizes.size()),
                                  .damage_before = start - found.end});
        }
        if (sample.is_key) {
            found.key_pictures.push_back(static_cast<std::uint32_t>(sizes.size()));
        }
        ++found.runs.back().count;
        sizes.push_back(sample.size);
        found.end = offset;
    }
    return found;
}

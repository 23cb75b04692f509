// The regular distance of key frames, which tells how many pictures are missing.
#include "recover/key_rhythm.h"

#include <algorithm>
#include <map>

namespace {

// Returns the most frequent distance between key frames; 0 without one.
std::uint32_t usual_distance(const std::vector<std::uint32_t>& keys) {
    std::map<std::uint32_t, std::size_t> counts;
    for (std::size_t i = 1; i < keys.size(); ++i) {
        ++counts[keys[i] - keys[i - 1]];
    }
    for (const auto& [distance, count] : counts) {
        if (count > keys.size() / 2) {
            return distance;
        }
    }
    return 0;
}

} // namespace

key_rhythm::key_rhythm(const scanned& found)
    : keys_{found.key_pictures}, distance_{usual_distance(found.key_pictures)} {}

bool key_rhythm::fits(std::uint32_t picture, std::int64_t lost) const {
    const auto behind = std::ranges::lower_bound(keys_, picture);
    if (distance_ == 0 || behind == keys_.begin() || behind == keys_.end()) {
        return true;
    }
    return (*behind - *(behind - 1) + lost) % distance_ == 0;
}

// The parameter sets of a recording's pictures; decoding needs them.
#include "recover/parameter_sets.h"

#include <algorithm>

namespace {

constexpr std::size_t LENGTH_BYTES = 4;
constexpr std::size_t SETS_MAX = 512; // maximum bytes of one, with its length

void put_set(std::vector<std::uint8_t>& config, byte_view nal) {
    config.push_back(static_cast<std::uint8_t>(nal.size() >> 8));
    config.push_back(static_cast<std::uint8_t>(nal.size() & 0xff));
    config.insert(config.end(), nal.begin(), nal.end());
}

// Lower profiles don't have these fields.
bool has_colour_fields(std::uint8_t profile) {
    return profile == 100 || profile == 110 || profile == 122 || profile == 144;
}

// Returns the NAL unit at that length field; empty if it is longer than a parameter set.
byte_view short_nal_at(byte_window& file, std::uint64_t offset) {
    const byte_view bytes = file.at(offset, SETS_MAX + LENGTH_BYTES);
    const std::uint32_t length = read_u32(bytes);
    return length <= SETS_MAX && length + LENGTH_BYTES <= bytes.size()
               ? bytes.subspan(LENGTH_BYTES, length)
               : byte_view{};
}

// Reads a sequence set and the picture sets after it.
parameter_sets sets_at(byte_window& file, std::uint64_t offset) {
    parameter_sets sets;
    byte_view nal = short_nal_at(file, offset);
    while (!nal.empty() && is_undamaged_nal(nal) &&
           (type_of_nal(nal[0]) == NAL_SEQUENCE_SET || type_of_nal(nal[0]) == NAL_PICTURE_SET)) {
        sets.add(nal);
        offset += LENGTH_BYTES + nal.size();
        nal = short_nal_at(file, offset);
    }
    return sets;
}

bool may_be_sequence_set(byte_view bytes) {
    return bytes[0] == 0 && bytes[1] == 0 && bytes[2] < 3 &&
           type_of_nal(bytes[LENGTH_BYTES]) == NAL_SEQUENCE_SET;
}

// Adds as many sets with 16-bit lengths as the count byte says, ignoring its upper bits. Returns
// the offset after them.
std::size_t add_counted(parameter_sets& sets, byte_view config, std::size_t at) {
    const std::uint64_t count = read_number(config, at, 1) & 0x1f;
    ++at;
    for (std::uint64_t i = 0; i < count && at < config.size(); ++i) {
        const auto length = static_cast<std::size_t>(read_number(config, at, 2));
        at = std::min(at + 2, config.size());
        sets.add(config.subspan(at, std::min(length, config.size() - at)));
        at += length;
    }
    return at;
}

template <class Sets> const auto* find_set(const Sets& sets, std::uint32_t id) {
    const auto found =
        std::ranges::find_if(sets, [id](const auto& set) { return set.values.id == id; });
    return found == sets.end() ? nullptr : &*found;
}

} // namespace

void parameter_sets::add(byte_view nal) {
    if (const auto sequence = read_sequence_set(nal)) {
        if (find_set(sequences_, sequence->id) == nullptr) {
            sequences_.push_back({*sequence, {nal.begin(), nal.end()}});
        }
    } else if (const auto picture = read_picture_set(nal)) {
        if (find_set(pictures_, picture->id) == nullptr) {
            pictures_.push_back({*picture, {nal.begin(), nal.end()}});
        }
    }
}

bool parameter_sets::are_complete() const {
    return std::ranges::any_of(
        pictures_, [this](const auto& set) { return sequence_of(set.values.id) != nullptr; });
}

const sequence_set* parameter_sets::sequence_of(std::uint32_t picture_set_id) const {
    const auto* const picture = find_set(pictures_, picture_set_id);
    const auto* const sequence =
        picture == nullptr ? nullptr : find_set(sequences_, picture->values.sequence_id);
    return sequence == nullptr ? nullptr : &sequence->values;
}

std::vector<std::uint8_t> parameter_sets::decoder_config() const {
    const std::vector<std::uint8_t>& first = sequences_.front().nal;
    // Version, profile, constraints, level; lengths of four bytes; number of sequence sets.
    std::vector<std::uint8_t> config{1, first[1], first[2], first[3], 0xff};
    config.push_back(static_cast<std::uint8_t>(0xe0 | sequences_.size()));
    for (const auto& set : sequences_) {
        put_set(config, set.nal);
    }
    config.push_back(static_cast<std::uint8_t>(pictures_.size()));
    for (const auto& set : pictures_) {
        put_set(config, set.nal);
    }
    if (has_colour_fields(first[1])) {
        const sequence_set& values = first_sequence();
        config.push_back(static_cast<std::uint8_t>(0xfc | values.chroma_format));
        config.push_back(static_cast<std::uint8_t>(0xf8 | (values.luma_bits - 8)));
        config.push_back(static_cast<std::uint8_t>(0xf8 | (values.chroma_bits - 8)));
        config.push_back(0); // sequence set extensions
    }
    return config;
}

parameter_sets sets_of_config(byte_view config) {
    constexpr std::size_t FIRST_COUNT = 5;
    parameter_sets sets;
    if (config.size() > FIRST_COUNT) {
        // The count byte allows more picture sets than the mask, but there never are that many.
        const std::size_t picture_count = add_counted(sets, config, FIRST_COUNT);
        add_counted(sets, config, picture_count);
    }
    return sets;
}

parameter_sets find_sets_in_stream(byte_window& file, std::uint64_t start) {
    constexpr std::size_t STEP = 64 * 1024;
    while (true) {
        const byte_view bytes = file.at(start, STEP);
        if (bytes.size() <= LENGTH_BYTES) {
            return {};
        }
        const std::size_t places = bytes.size() - LENGTH_BYTES;
        std::size_t place = 0;
        while (place < places && !may_be_sequence_set(bytes.subspan(place))) {
            ++place;
        }
        if (place < places) {
            if (parameter_sets sets = sets_at(file, start + place); sets.are_complete()) {
                return sets;
            }
            ++place;
        }
        start += place;
    }
}

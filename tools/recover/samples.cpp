// Recognises pictures and MP3 frames in the media data.
#include "recover/samples.h"

#include <bitset>

namespace {

constexpr std::uint32_t LENGTH_BYTES = 4;
constexpr std::uint32_t PICTURE_BYTES_MAX = 2 * NAL_LENGTH_MAX;
constexpr std::uint8_t SYNC_BYTE = 0xff; // first byte of an MP3 frame; a NAL length begins with 0

std::optional<sample> read_sound(byte_window& file, std::uint64_t offset,
                                 const sample_marks& marks) {
    const std::optional<mp3_frame> frame = read_mp3_frame(file.at(offset, MP3_HEADER_BYTES));
    if (!frame || frame->size > file.end() - offset ||
        (marks.signature && *marks.signature != frame->signature)) {
        return std::nullopt;
    }
    return sample{.kind = sample_kind::sound, .size = frame->size, .signature = frame->signature};
}

// State while parsing a picture's NAL units.
struct picture_reading {
    sample picture{.kind = sample_kind::picture, .size = 0, .is_key = true};
    std::bitset<256> own_sets{}; // picture sets contained in it
};

bool refers_to_known_set(const picture_reading& in, const slice_start& slice,
                         const sample_marks& marks) {
    return marks.sets == nullptr || !marks.sets->are_complete() ||
           marks.sets->sequence_of(slice.picture_set_id) != nullptr ||
           in.own_sets.test(slice.picture_set_id);
}

// Each adds a NAL unit to the picture; returns false if it doesn't belong to it.
bool take_slice(picture_reading& in, byte_view nal, const sample_marks& marks) {
    const std::optional<slice_start> slice = read_slice_start(nal);
    const bool is_first = in.picture.slices == 0;
    if (!slice || is_first != (slice->first_macroblock == 0) ||
        !refers_to_known_set(in, *slice, marks)) {
        return false;
    }
    if (is_first) {
        const sequence_set* const sequence =
            marks.sets == nullptr ? nullptr : marks.sets->sequence_of(slice->picture_set_id);
        in.picture.is_reset = type_of_nal(nal[0]) == NAL_IDR_SLICE;
        if (sequence != nullptr) {
            in.picture.numbers = read_slice_numbers(nal, *sequence);
        }
    }
    ++in.picture.slices;
    in.picture.is_key = in.picture.is_key && slice->is_intra;
    return true;
}

bool take_other(picture_reading& in, byte_view nal) {
    const nal_type type = type_of_nal(nal[0]);
    if (in.picture.slices >
        0) { // anything but filler data precedes slices: the next picture begins
        return type == NAL_FILLER;
    }
    if (type == NAL_SEQUENCE_SET || type == NAL_PICTURE_SET) {
        in.picture.has_sets = true;
        if (const std::optional<picture_set> set = read_picture_set(nal)) {
            in.own_sets.set(set->id);
        }
    }
    return true;
}

bool take_nal(picture_reading& in, byte_view nal, const sample_marks& marks) {
    const bool belongs =
        is_slice(type_of_nal(nal[0])) ? take_slice(in, nal, marks) : take_other(in, nal);
    return belongs && is_undamaged_nal(nal);
}

// Returns the next NAL unit; empty if there is none or it is incomplete.
byte_view nal_at(byte_window& file, std::uint64_t offset) {
    const byte_view header = file.at(offset, LENGTH_BYTES + 1);
    if (header.size() <= LENGTH_BYTES) {
        return {};
    }
    const std::uint32_t length = read_u32(header);
    if (!is_plausible_nal(header[LENGTH_BYTES], length)) {
        return {};
    }
    const byte_view nal = file.at(offset + LENGTH_BYTES, length);
    return nal.size() == length ? nal : byte_view{};
}

std::optional<sample> read_picture(byte_window& file, std::uint64_t offset,
                                   const sample_marks& marks) {
    picture_reading in;
    sample whole = in.picture;
    while (in.picture.size < PICTURE_BYTES_MAX) {
        const byte_view nal = nal_at(file, offset + in.picture.size);
        if (nal.empty() || !take_nal(in, nal, marks)) {
            break;
        }
        in.picture.size += LENGTH_BYTES + static_cast<std::uint32_t>(nal.size());
        whole = in.picture;
    }
    return whole.slices > 0 ? std::optional{whole} : std::nullopt;
}

} // namespace

std::optional<sample> read_sample(byte_window& file, std::uint64_t offset,
                                  const sample_marks& marks) {
    const byte_view first = file.at(offset, 1);
    if (first.empty()) {
        return std::nullopt;
    }
    return first[0] == SYNC_BYTE ? read_sound(file, offset, marks)
                                 : read_picture(file, offset, marks);
}

bool may_begin_sample(byte_view bytes) {
    if (bytes[0] == SYNC_BYTE) {
        return read_mp3_frame(bytes).has_value();
    }
    return is_plausible_nal(bytes[LENGTH_BYTES], read_u32(bytes));
}

void for_each_nal(byte_window& file, std::uint64_t offset, std::uint32_t size,
                  const std::function<void(byte_view)>& visit) {
    const std::uint64_t end = offset + size;
    while (offset < end) {
        const byte_view nal = nal_at(file, offset);
        if (nal.empty()) {
            return;
        }
        const std::size_t length = nal.size(); // the visitor may move the window
        visit(nal);
        offset += LENGTH_BYTES + length;
    }
}

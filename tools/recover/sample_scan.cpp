// Finds all samples of a recording without its index.
#include "recover/sample_scan.h"

#include <algorithm>
#include <utility>

namespace {

// After damage, accept only this many consecutive samples, or two if they reach the end.
constexpr unsigned SAMPLES_TO_BELIEVE = 4;
constexpr unsigned LAST_SAMPLES_TO_BELIEVE = 2;

struct scan_state {
    byte_window& file;
    parameter_sets& sets;
    const progress_reporter& report;
    scanned found;
    sample_marks marks;
    std::uint32_t last_slices = 0; // of the latest picture
    std::uint32_t slices = 0;      // of the picture before
    std::uint64_t reported = 0;
    bool is_damaged = false;                   // damage since the last picture
    std::optional<std::uint32_t> next_frame{}; // of the next picture
};

void report_at(scan_state& in, std::uint64_t offset) {
    constexpr std::uint64_t STEP = 1024 * 1024;
    if (offset - in.reported >= STEP) {
        in.reported = offset;
        in.report(offset);
    }
}

std::vector<std::uint32_t>& sizes_of(scanned& found, sample_kind kind) {
    return kind == sample_kind::picture ? found.picture_sizes : found.sound_sizes;
}

void begin_run(scanned& found, sample_kind kind, std::uint64_t offset) {
    found.runs.push_back({.kind = kind,
                          .offset = offset,
                          .first = static_cast<std::uint32_t>(sizes_of(found, kind).size()),
                          .damage_before = offset - found.end});
}

// Encoders may number frames differently, so numbers are only checked after damage.
bool goes_on(const scan_state& in, const sample& picture) {
    return !in.is_damaged || picture.is_reset ||
           (picture.numbers && in.next_frame == picture.numbers->frame);
}

void add_picture(scan_state& in, std::uint64_t offset, const sample& picture) {
    in.found.runs.back().goes_on = in.found.runs.back().goes_on && goes_on(in, picture);
    in.is_damaged = false;
    in.next_frame = picture.numbers ? std::optional{picture.numbers->next_frame} : std::nullopt;
    if (picture.is_key) {
        in.found.key_pictures.push_back(static_cast<std::uint32_t>(in.found.picture_sizes.size()));
    }
    if (picture.has_sets) {
        for_each_nal(in.file, offset, picture.size, [&in](byte_view nal) { in.sets.add(nal); });
    }
    in.slices = std::exchange(in.last_slices, picture.slices);
}

void add_sound(scan_state& in, std::uint64_t offset, const sample& sound) {
    if (!in.found.sound) {
        in.found.sound = read_mp3_frame(in.file.at(offset, MP3_HEADER_BYTES));
    }
    in.marks.signature = sound.signature;
}

void add_sample(scan_state& in, std::uint64_t offset, const sample& sample) {
    scanned& found = in.found;
    if (found.runs.empty() || found.runs.back().kind != sample.kind || offset != found.end) {
        begin_run(found, sample.kind, offset);
    }
    sample.kind == sample_kind::picture ? add_picture(in, offset, sample)
                                        : add_sound(in, offset, sample);
    ++found.runs.back().count;
    sizes_of(found, sample.kind).push_back(sample.size);
    found.end = offset + sample.size;
}

// True if consecutive samples begin there.
bool is_believable(scan_state& in, std::uint64_t offset) {
    sample_marks marks = in.marks;
    for (unsigned count = 0; count < SAMPLES_TO_BELIEVE; ++count) {
        const std::optional<sample> next = read_sample(in.file, offset, marks);
        if (!next) {
            return count >= LAST_SAMPLES_TO_BELIEVE && offset == in.file.end();
        }
        if (next->kind == sample_kind::sound) {
            marks.signature = next->signature;
        }
        offset += next->size;
    }
    return true;
}

// Returns the next offset where samples begin, or the end of the file.
std::uint64_t resynchronise(scan_state& in, std::uint64_t offset) {
    constexpr std::size_t STEP = 64 * 1024;
    while (true) {
        const byte_view bytes = in.file.at(offset, STEP);
        if (bytes.size() < SAMPLE_START_BYTES) {
            return in.file.end();
        }
        const std::size_t places = bytes.size() - SAMPLE_START_BYTES + 1;
        std::size_t place = 0;
        while (place < places && !may_begin_sample(bytes.subspan(place, SAMPLE_START_BYTES))) {
            ++place;
        }
        offset += place;
        report_at(in, offset);
        if (place < places) {
            if (is_believable(in, offset)) {
                return offset;
            }
            ++offset;
        }
    }
}

bool ends_in_zero(byte_window& file, std::uint64_t end) {
    const byte_view last = file.at(end - 1, 1);
    return !last.empty() && last[0] == 0;
}

// True if the last sample before damage may be incomplete: a sound frame with a zeroed end, or only
// the first slices of a picture.
bool is_last_doubtful(scan_state& in) {
    if (in.found.runs.empty()) {
        return false;
    }
    return in.found.runs.back().kind == sample_kind::sound ? ends_in_zero(in.file, in.found.end)
                                                           : in.last_slices < in.slices;
}

void drop_last(scan_state& in) {
    scanned& found = in.found;
    sample_run& run = found.runs.back();
    if (run.kind == sample_kind::picture) {
        in.next_frame.reset();
    }
    std::vector<std::uint32_t>& sizes = sizes_of(found, run.kind);
    found.end -= sizes.back();
    sizes.pop_back();
    if (run.kind == sample_kind::picture && !found.key_pictures.empty() &&
        found.key_pictures.back() == sizes.size()) {
        found.key_pictures.pop_back();
    }
    if (--run.count == 0) {
        found.end -= run.damage_before;
        found.runs.pop_back();
    }
}

std::uint64_t count_nonzero(byte_window& file, std::uint64_t start, std::uint64_t end) {
    constexpr std::uint64_t STEP = 64 * 1024;
    std::uint64_t count = 0;
    for (; start < end; start += std::min(STEP, end - start)) {
        const byte_view bytes =
            file.at(start, static_cast<std::size_t>(std::min(STEP, end - start)));
        count += bytes.size() - static_cast<std::size_t>(std::ranges::count(bytes, 0));
    }
    return count;
}

} // namespace

scanned scan_samples(byte_window& file, std::uint64_t start, parameter_sets& sets,
                     const progress_reporter& report) {
    scan_state in{.file = file,
                  .sets = sets,
                  .report = report,
                  .found = {.start = start, .end = start},
                  .marks = {.sets = &sets}};
    for (std::uint64_t at = start; at < file.end();) {
        if (const std::optional<sample> next = read_sample(file, at, in.marks)) {
            add_sample(in, at, *next);
            at += next->size;
            report_at(in, at);
            continue;
        }
        in.is_damaged = true;
        if (at == in.found.end && is_last_doubtful(in)) {
            drop_last(in);
        }
        const std::uint64_t again = resynchronise(in, at + 1);
        if (again < file.end()) {
            in.found.unknown += count_nonzero(file, at, again);
        }
        at = again;
    }
    return std::move(in.found);
}

// Fuzzes vtrdc-recover's parsing of a damaged recording.
#include "fuzz.h"
#include "recover/clock.h"
#include "recover/lost_samples.h"
#include "recover/mp4_index.h"
#include "recover/mp4_writer.h"

#include <sys/mman.h>
#include <unistd.h>

namespace {

// A memory file with that content.
int file_of(const void* content, std::size_t size) {
    static const int file = memfd_create("recording", MFD_CLOEXEC);
    require(file >= 0 && ftruncate(file, 0) == 0);
    require(pwrite(file, content, size, 0) == static_cast<ssize_t>(size));
    return file;
}

// Runs are consecutive without overlap, and their samples match the counts.
void check(const scanned& found) {
    std::uint64_t end = found.start;
    std::size_t pictures = 0;
    std::size_t sounds = 0;
    for (const sample_run& run : found.runs) {
        const bool is_picture = run.kind == sample_kind::picture;
        const auto& sizes = is_picture ? found.picture_sizes : found.sound_sizes;
        std::size_t& count = is_picture ? pictures : sounds;
        require(run.offset == end + run.damage_before && run.first == count && run.count > 0);
        end = run.offset;
        for (std::uint32_t i = 0; i < run.count; ++i) {
            end += sizes.at(count++);
        }
    }
    require(end == found.end && pictures == found.picture_sizes.size() &&
            sounds == found.sound_sizes.size());
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    byte_window file{file_of(data, size), size};
    static_cast<void>(read_outline(file));
    static_cast<void>(read_index(file, 0));
    parameter_sets sets = find_sets_in_stream(file, 0);
    scanned found = scan_samples(file, 0, sets, [](std::uint64_t) {});
    check(found);
    cut_into_chunks(found);
    count_lost_samples(found, {});
    check(found);
    const movie movie = make_movie(found, tell_times(found, {}));
    if (movie.pictures.sizes.empty() || sets.are_complete()) {
        require(!make_index(movie, sets, found.sound).empty());
    }
    return 0;
}

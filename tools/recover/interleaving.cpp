// How the muxer interleaves pictures and sound: tells what is missing and when each picture was.
#include "recover/interleaving.h"

#include <algorithm>

namespace {

// Splits evenly: if one picture is missing, one chunk has seven.
void put_chunks(const scanned& found, sample_run run, std::vector<sample_run>& chunks) {
    const unsigned parts = std::max(1U, (run.count + PICTURE_CHUNK / 2) / PICTURE_CHUNK);
    std::uint32_t left = run.count;
    for (unsigned part = parts; part > 0; --part) {
        run.count = left / part;
        left -= run.count;
        chunks.push_back(run);
        for (std::uint32_t i = 0; i < run.count; ++i) {
            run.offset += found.picture_sizes[run.first + i];
        }
        run.first += run.count;
        run.goes_on = true;
    }
}

} // namespace

double sound_frame_s(const mp3_frame& frame) {
    return static_cast<double>(MP3_FRAME_SAMPLES) / frame.rate;
}

unsigned sound_chunk(const mp3_frame& frame) {
    return static_cast<unsigned>(CHUNK_S / sound_frame_s(frame)) + 1;
}

bool has_both_kinds(const scanned& found) {
    return !found.picture_sizes.empty() && !found.sound_sizes.empty();
}

void cut_into_chunks(scanned& found) {
    if (!has_both_kinds(found)) {
        return;
    }
    std::vector<sample_run> chunks;
    chunks.reserve(found.runs.size());
    for (std::size_t i = 0; i < found.runs.size(); ++i) {
        const bool is_damaged = found.runs[i].damage_before > 0 ||
                                (i + 1 < found.runs.size() && found.runs[i + 1].damage_before > 0);
        if (is_damaged || found.runs[i].kind == sample_kind::sound) {
            chunks.push_back(found.runs[i]);
        } else {
            put_chunks(found, found.runs[i], chunks);
        }
    }
    found.runs = std::move(chunks);
}

// The pipes, one row each.
#include "video/pipes.h"

#include "video/tables_branches.h"
#include "video/tables_live.h"
#include "video/tables_recording.h"
#include "video/tables_streams.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

constexpr std::array rows = join_rows(live_pipes, branch_pipes, recording_pipes, stream_pipes);

constexpr bool is_sound(const pipe_row& row) {
    const auto input_is_sound = [](const muxer_input& input) { return is_sound(input.chain); };
    const auto has_or_needs_none = [&row](const char* name) {
        return name == nullptr || has_element(row.chain, name);
    };
    return is_sound(row.chain) && std::ranges::all_of(row.inputs, input_is_sound) &&
           has_or_needs_none(row.muxer) && has_or_needs_none(row.end_element) &&
           has_or_needs_none(row.restarted_by) && row.branches.size() <= BRANCHES_MAX;
}
static_assert(std::ranges::all_of(rows, [](const pipe_row& row) { return is_sound(row); }));

constexpr bool each_number_has_one_row() {
    std::array<bool, PIPE_COUNT> seen{};
    for (const pipe_row& row : rows) {
        if (std::exchange(seen.at(static_cast<std::size_t>(row.number)), true)) {
            return false;
        }
    }
    return rows.size() == PIPE_COUNT;
}
static_assert(each_number_has_one_row());

} // namespace

std::span<const pipe_row> pipe_rows() {
    return rows;
}

const pipe_row& pipe_row_of(int pipe) {
    return *std::ranges::find(rows, pipe, &pipe_row::number);
}

// Recordings by the real daemon on a simulated board, and damaged versions.
#include "recordings.h"

#include "support/daemon.h"
#include "support/file_watch.h"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

constexpr std::size_t DATA_START = 48;
constexpr std::size_t DATA_LENGTH_PLACE = 40;
constexpr std::size_t PAGE = 4096;

std::uint32_t number_at(const std::string& bytes, std::size_t place) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        number = number << 8 | static_cast<unsigned char>(bytes.at(place + i));
    }
    return number;
}

// Records with those settings until that file of the recording has a given size; then kills the
// daemon. Returns the contents of all files.
std::vector<std::string> record_until(board& board, const std::string& settings, std::size_t file,
                                      std::uintmax_t bytes) {
    const fs::path folder = board.at("/media/video");
    fs::remove_all(folder);
    std::ofstream{board.at("/etc/vtrdc.conf")} << settings;
    vtrdc_daemon daemon{board};
    EXPECT_TRUE(daemon.wait_until_live());
    EXPECT_EQ(daemon.ask("c:enable_record:i:1"), "r:enable_record:n:");
    EXPECT_TRUE(wait_for_file(
        folder / "any",
        [&] {
            const std::vector<fs::path> now = files_in(folder);
            return now.size() > file && fs::file_size(now[file]) > bytes;
        },
        2 * WAIT_LIMIT));
    daemon.signal(SIGKILL);
    daemon.wait_exit(WAIT_LIMIT);
    std::vector<std::string> contents;
    for (const fs::path& path : files_in(folder)) {
        contents.push_back(read_text(path));
    }
    EXPECT_EQ(contents.size(), file + 1);
    contents.resize(file + 1);
    return contents;
}

// Time stamps are times of arrival: on a busy machine pictures arrive late and in bursts.
bool keeps_pace(const media_track& pictures, const std::vector<int>& numbers) {
    constexpr double LATE_S = 0.05;
    constexpr double DROPPED_PART = 0.02;
    std::vector<double> delays;
    int taken = 0;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (i > 0) {
            taken += (numbers[i] - numbers[i - 1] + NUMBERED_PICTURES) % NUMBERED_PICTURES;
        }
        delays.push_back(pictures.packets.at(i).time - taken / 30.0);
    }
    const auto [least, most] = std::ranges::minmax(delays);
    const auto recorded = static_cast<double>(numbers.size());
    return most - least < LATE_S && taken + 1 - recorded <= DROPPED_PART * recorded;
}

recordings record_three_files(board& board) {
    const auto files = record_until(board, "record_max_len=15\n", 2, 400'000);
    recordings made{.before = files[0], .whole = files[1], .killed = files[2]};
    const temp_folder folder;
    const std::string file = folder.write(NAME, made.whole);
    made.packets = probe(file);
    made.numbers = picture_numbers(file);
    made.data_end = DATA_LENGTH_PLACE + number_at(made.whole, DATA_LENGTH_PLACE);
    made.kept_pace = keeps_pace(*made.packets.video, made.numbers);
    return made;
}

recordings record() {
    constexpr int ATTEMPTS = 3;
    board board;
    fs::remove(board.at("/dev/video0"));
    write_numbered_footage(board.at("/dev/video0"));
    recordings made = record_three_files(board);
    for (int attempt = 1; attempt < ATTEMPTS && !made.kept_pace; ++attempt) {
        made = record_three_files(board);
    }
    made.killed_pictures = record_until(board, "enc_type=1\n", 0, 300'000)[0];
    made.killed_sound = record_until(board, "enc_type=2\n", 0, 100'000)[0];
    return made;
}

const media_packet& any_of(const media_track& track, std::mt19937& random) {
    return track.packets[random() % track.packets.size()];
}

// An offset inside the packet.
std::size_t inside(const media_packet& packet, std::mt19937& random) {
    return packet.offset + 1 + random() % (packet.size - 1);
}

void cut(damaged_recording& damaged, std::size_t end) {
    damaged.contents.resize(end);
    damaged.end = std::min(damaged.end, end);
}

void zero(damaged_recording& damaged, std::size_t start, std::size_t length) {
    damaged.lost_start = start;
    damaged.lost_end = std::min(start + length, damaged.end);
    std::fill_n(damaged.contents.begin() + static_cast<std::ptrdiff_t>(start),
                damaged.lost_end - start, '\0');
}

bool is_parameter_set(unsigned char first_byte) {
    const int type = first_byte & 0x1f;
    return type == 7 || type == 8;
}

} // namespace

const recordings& all_recordings() {
    static const recordings made = record();
    return made;
}

std::string without_index(const std::string& recording, std::size_t data_end) {
    std::string contents = recording.substr(0, data_end);
    contents.replace(DATA_LENGTH_PLACE, 4, 4, '\0');
    return contents;
}

std::string long_recording(int times) {
    const recordings& from = all_recordings();
    std::string contents = without_index(from.whole, from.data_end);
    const std::string data = contents.substr(DATA_START);
    for (int i = 1; i < times; ++i) {
        contents += data;
    }
    return contents;
}

std::string without_parameter_sets() {
    const recordings& from = all_recordings();
    std::string contents = without_index(from.whole, DATA_START);
    for (const media_packet& picture : from.packets.video->packets) {
        for (std::size_t at = picture.offset; at < picture.offset + picture.size;) {
            const std::size_t length = 4 + number_at(from.whole, at);
            if (!is_parameter_set(static_cast<unsigned char>(from.whole.at(at + 4)))) {
                contents += from.whole.substr(at, length);
            }
            at += length;
        }
    }
    return contents;
}

bool damaged_recording::has(const media_packet& packet) const {
    const std::size_t packet_end = packet.offset + packet.size;
    return packet_end <= end && (packet_end <= lost_start || packet.offset >= lost_end);
}

damaged_recording damage(damage_kind kind, std::mt19937& random) {
    const recordings& from = all_recordings();
    damaged_recording damaged{.description = {},
                              .contents = without_index(from.whole, from.whole.size()),
                              .end = from.data_end};
    switch (kind) {
    case damage_kind::cut_in_header:
        cut(damaged, random() % (DATA_START + 1));
        break;
    case damage_kind::cut_in_picture:
        cut(damaged, inside(any_of(*from.packets.video, random), random));
        break;
    case damage_kind::cut_in_sound:
        cut(damaged, inside(any_of(*from.packets.audio, random), random));
        break;
    case damage_kind::cut_in_index:
        cut(damaged, from.data_end + random() % (from.whole.size() - from.data_end));
        break;
    case damage_kind::zero_tail:
        cut(damaged, from.data_end);
        zero(damaged, DATA_START + random() % (from.data_end - DATA_START), from.data_end);
        break;
    case damage_kind::missing_page:
    case damage_kind::missing_pages:
        cut(damaged, from.data_end - random() % (from.data_end / 4));
        zero(damaged, PAGE * (1 + random() % (damaged.end / PAGE - 1)),
             kind == damage_kind::missing_page ? PAGE : 16 * PAGE);
        break;
    }
    damaged.description = "kind " + std::to_string(static_cast<int>(kind)) + ", cut at " +
                          std::to_string(damaged.contents.size()) + ", zeros from " +
                          std::to_string(damaged.lost_start) + " to " +
                          std::to_string(damaged.lost_end);
    return damaged;
}

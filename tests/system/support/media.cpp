// Checks recordings and streams with ffprobe and ffmpeg.
#include "support/media.h"

#include "support/process.h"
#include "support/temp_folder.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <sstream>

namespace {

constexpr const char* FFMPEG = "/usr/bin/ffmpeg";
// Numbers are drawn as stripes, one for each bit.
constexpr int STRIPES = 10;
static_assert(NUMBERED_PICTURES == 1 << STRIPES);

// Parses a line of ffprobe's compact format, "kind|key=value|key=value"; streams of a program are
// prefixed with its kind.
using fields = std::map<std::string, std::string>;

fields fields_of(const std::string& line) {
    fields result;
    std::istringstream words{line};
    for (std::string word; std::getline(words, word, '|');) {
        const std::size_t equals = word.find('=');
        if (equals != std::string::npos) {
            result[word.substr(0, equals)] = word.substr(equals + 1);
        } else if (word == "stream" || word == "packet") {
            result["kind"] = word;
        }
    }
    return result;
}

// 0 if missing or "N/A".
double number_of(const std::string& text) {
    return std::strtod(text.c_str(), nullptr);
}

media_track track_of(fields& stream) {
    return {.codec = stream["codec_name"],
            .width = static_cast<int>(number_of(stream["width"])),
            .height = static_cast<int>(number_of(stream["height"])),
            .packets = {}};
}

media_packet packet_of(fields& packet) {
    return {.time = number_of(packet["pts_time"]),
            .duration = number_of(packet["duration_time"]),
            .key = packet["flags"].starts_with("K"),
            .offset = static_cast<std::uint64_t>(number_of(packet["pos"])),
            .size = static_cast<std::uint32_t>(number_of(packet["size"]))};
}

std::vector<std::string> ffmpeg(std::vector<std::string> words) {
    words.insert(words.begin(), {FFMPEG, "-nostdin", "-v", "error", "-y"});
    return words;
}

// Packets have their times of arrival, so consecutive ones may have the same. ffmpeg's own output
// rejects that; whether times decrease is checked from the file's packets.
bool speaks_of_shared_times(const std::string& line) {
    return line.find("non monotonically increasing dts to muxer") != std::string::npos ||
           line.find("Last message repeated") != std::string::npos;
}

std::string without_shared_times(const std::string& output) {
    std::string rest;
    std::istringstream lines{output};
    for (std::string line; std::getline(lines, line);) {
        rest += speaks_of_shared_times(line) ? "" : line + "\n";
    }
    return rest;
}

void run_ffmpeg(const std::vector<std::string>& words) {
    const outcome result = run(ffmpeg(words));
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_EQ(without_shared_times(result.output), "");
}

void expect_times_in_order(const std::filesystem::path& file, const media_track& track) {
    EXPECT_TRUE(std::ranges::is_sorted(track.packets, {}, &media_packet::time))
        << track.codec << " of " << file << " goes back in time";
}

} // namespace

std::size_t media_track::key_packets() const {
    return static_cast<std::size_t>(std::ranges::count_if(packets, &media_packet::key));
}

std::vector<std::filesystem::path> files_in(const std::filesystem::path& folder) {
    const std::filesystem::directory_iterator entries{folder};
    std::vector<std::filesystem::path> files{begin(entries), end(entries)};
    std::ranges::sort(files);
    return files;
}

media probe(const std::filesystem::path& file) {
    const outcome result =
        run({"/usr/bin/ffprobe", "-v", "error", "-of", "compact", "-show_entries",
             // NOLINTNEXTLINE(bugprone-suspicious-missing-comma): one argument
             "packet=codec_type,pts_time,duration_time,flags,pos,size:"
             "stream=codec_type,codec_name,width,height",
             file});
    EXPECT_EQ(result.status, 0) << file;
    std::map<std::string, media_track> tracks;
    std::map<std::string, std::vector<media_packet>> packets;
    std::istringstream lines{result.output};
    for (std::string line; std::getline(lines, line);) {
        fields entry = fields_of(line);
        if (entry["kind"] == "packet") {
            packets[entry["codec_type"]].push_back(packet_of(entry));
        } else if (entry["kind"] == "stream") {
            tracks[entry["codec_type"]] = track_of(entry);
        } else if (!line.empty()) {
            ADD_FAILURE() << file << ": " << line;
        }
    }
    const auto found = [&](const char* type) -> std::optional<media_track> {
        if (tracks[type].codec.empty() || packets[type].empty()) {
            return std::nullopt;
        }
        tracks[type].packets = packets[type];
        expect_times_in_order(file, tracks[type]);
        return tracks[type];
    };
    return {found("video"), found("audio")};
}

std::string complaints(const std::filesystem::path& file) {
    const outcome result = run(ffmpeg({"-i", file, "-f", "null", "-"}));
    return without_shared_times(result.output) + (result.status == 0 ? "" : "(it failed)");
}

void write_numbered_footage(const std::filesystem::path& file) {
    const temp_folder folder;
    const std::filesystem::path stripes = folder.path() / "stripes";
    std::ofstream raw{stripes, std::ios::binary};
    for (int number = 0; number < NUMBERED_PICTURES; ++number) {
        for (int bit = 0; bit < STRIPES; ++bit) {
            raw.put((number >> bit & 1) != 0 ? '\xe0' : '\x20');
        }
    }
    raw.close();
    run_ffmpeg({"-f", "rawvideo", "-pix_fmt", "gray", "-s", std::to_string(STRIPES) + "x1", "-r",
                "30", "-i", stripes, "-vf", "scale=640:480:flags=neighbor", "-c:v", "mjpeg", "-q:v",
                "3", "-f", "avi", file});
}

std::vector<int> picture_numbers(const std::filesystem::path& file) {
    const temp_folder folder;
    const std::filesystem::path stripes = folder.path() / "stripes";
    // An area without overlay, scaled to one pixel per stripe.
    run_ffmpeg({"-i", file, "-vf",
                "crop=1024:64:0:160,scale=" + std::to_string(STRIPES) + ":1:flags=area", "-vsync",
                "passthrough", "-f", "rawvideo", "-pix_fmt", "gray", stripes});
    const std::string raw = read_text(stripes);
    std::vector<int> numbers(raw.size() / STRIPES);
    for (std::size_t place = 0; place < numbers.size() * STRIPES; ++place) {
        const int bit = static_cast<unsigned char>(raw[place]) >= 128 ? 1 : 0;
        numbers[place / STRIPES] |= bit << place % STRIPES;
    }
    return numbers;
}

namespace {

// The increase of the number from one picture to the next.
int step(int from, int to) {
    return (to - from + NUMBERED_PICTURES) % NUMBERED_PICTURES;
}

// The pictures of a recording's file. The very first may come up to three times: sinks pass it on
// when the pipe pauses before playing, and again when it plays.
std::vector<int> distinct_pictures(const std::filesystem::path& file, bool is_first) {
    std::vector<int> numbers = picture_numbers(file);
    EXPECT_FALSE(numbers.empty()) << file;
    for (int again = 0; is_first && again < 2 && numbers.size() > 1; ++again) {
        if (numbers[0] == numbers[1]) {
            numbers.erase(numbers.begin());
        }
    }
    return numbers;
}

} // namespace

left_out_pictures follow_pictures(const std::vector<std::filesystem::path>& recorded) {
    left_out_pictures left_out;
    std::optional<int> last;
    for (const auto& file : recorded) {
        const std::vector<int> numbers = distinct_pictures(file, !last);
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            const int moved = last ? step(*last, numbers[i]) : 1;
            EXPECT_GE(moved, 1) << "picture " << i << " of " << file;
            EXPECT_LE(moved, 30) << "picture " << i << " of " << file;
            (i == 0 ? left_out.between_files : left_out.within_files) += moved - 1;
            last = numbers[i];
        }
    }
    return left_out;
}

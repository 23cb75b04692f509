// vtrdc-recover on the daemon's recordings with many kinds of damage: undamaged parts play
// synchronously.
#include "recordings.h"
#include "tool.h"

#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iostream>
#include <map>

using testing::HasSubstr;

namespace {

namespace fs = std::filesystem;

// Packets by end offset: a picture without its parameter sets begins later.
using packets_by_end = std::map<std::uint64_t, const media_packet*>;

packets_by_end by_end(const std::optional<media_track>& track) {
    packets_by_end packets;
    if (track) {
        for (const media_packet& packet : track->packets) {
            packets[packet.offset + packet.size] = &packet;
        }
    }
    return packets;
}

// Numbers of the pictures in `whole` that must be recovered: complete ones, after damage only from
// the next key frame on.
std::vector<std::uint64_t> ends_of_decodable(const damaged_recording& damaged) {
    std::vector<std::uint64_t> ends;
    bool is_decodable = false;
    for (const media_packet& packet : all_recordings().packets.video->packets) {
        is_decodable = damaged.has(packet) && (is_decodable || packet.key);
        if (is_decodable) {
            ends.push_back(packet.offset + packet.size);
        }
    }
    return ends;
}

// Each picture must be the same as in the original.
void expect_numbers(const fs::path& file, const packets_by_end& pictures) {
    std::vector<int> expected;
    const recordings& original = all_recordings();
    for (std::size_t i = 0; i < original.numbers.size(); ++i) {
        const media_packet& packet = original.packets.video->packets[i];
        if (pictures.contains(packet.offset + packet.size)) {
            expected.push_back(original.numbers[i]);
        }
    }
    EXPECT_EQ(picture_numbers(file), expected);
}

bool drops_pictures(const media_track& pictures) {
    return std::ranges::any_of(pictures.packets,
                               [](const media_packet& packet) { return packet.duration > 0.05; });
}

double shift(const media_packet& packet, const packets_by_end& original) {
    return packet.time - original.at(packet.offset + packet.size)->time;
}

// Offset between pictures and sound compared with the original; times after damage may be shifted
// together.
void expect_in_step(const media& found) {
    const media& whole = all_recordings().packets;
    const double limit_s = drops_pictures(*whole.video) ? 0.2 : 0.02;
    const packets_by_end pictures = by_end(whole.video);
    const packets_by_end sounds = by_end(whole.audio);
    const packets_by_end found_sounds = by_end(found.audio);
    for (const media_packet& picture : found.video->packets) {
        const double picture_shift = shift(picture, pictures);
        double error = 1;
        auto sound = found_sounds.upper_bound(picture.offset);
        if (sound != found_sounds.end()) {
            error = std::abs(picture_shift - shift(*sound->second, sounds));
        }
        if (sound != found_sounds.begin()) {
            --sound;
            error = std::min(error, std::abs(picture_shift - shift(*sound->second, sounds)));
        }
        EXPECT_LT(error, limit_s) << "at " << picture.time << " s";
    }
}

// All complete frames, except one that can't be determined.
void expect_sounds(const damaged_recording& damaged, const packets_by_end& found) {
    int missing = 0;
    for (const media_packet& packet : all_recordings().packets.audio->packets) {
        const bool is_there = found.contains(packet.offset + packet.size);
        missing += damaged.has(packet) && !is_there ? 1 : 0;
        EXPECT_TRUE(damaged.has(packet) || !is_there) << packet.offset;
    }
    EXPECT_LE(missing, 1);
}

void expect_recovered(const fs::path& file, const damaged_recording& damaged) {
    const media found = probe(file);
    const packets_by_end pictures = by_end(found.video);
    const packets_by_end whole = by_end(all_recordings().packets.video);
    for (const std::uint64_t end : ends_of_decodable(damaged)) {
        EXPECT_TRUE(pictures.contains(end)) << end;
    }
    for (const auto& [end, packet] : pictures) {
        ASSERT_TRUE(whole.contains(end)) << end;
        EXPECT_EQ(packet->key, whole.at(end)->key) << end;
    }
    expect_sounds(damaged, by_end(found.audio));
    if (found.video) {
        expect_numbers(file, pictures);
    }
    if (found.video && found.audio && all_recordings().kept_pace) {
        expect_in_step(found);
    }
}

bool has_anything(const damaged_recording& damaged) {
    const auto has_any_of = [&](const media_track& track) {
        return std::ranges::any_of(track.packets,
                                   [&](const media_packet& packet) { return damaged.has(packet); });
    };
    const media& whole = all_recordings().packets;
    return has_any_of(*whole.video) || has_any_of(*whole.audio);
}

TEST(RecoverTest, UndamagedPartsPlay) {
    if (!all_recordings().kept_pace) {
        std::cout << "this machine is too busy to record in time: times are not judged\n";
    }
    std::mt19937 random{1};
    for (int i = 0; i < test_extent().damages; ++i) {
        const damaged_recording damaged =
            damage(static_cast<damage_kind>(i % DAMAGE_KINDS), random);
        SCOPED_TRACE(std::to_string(i) + ": " + damaged.description);
        const temp_folder folder;
        folder.write(NAME_BEFORE, all_recordings().before);
        const std::string file = folder.write(NAME, damaged.contents);
        const outcome result = recover({folder.path()});
        EXPECT_EQ(result.status, 0) << result.output;
        if (!has_anything(damaged)) {
            EXPECT_THAT(result.output, HasSubstr(": empty"));
            EXPECT_EQ(read_text(file), damaged.contents);
        } else {
            expect_recovered(file, damaged);
        }
        EXPECT_EQ(read_text(folder.path() / NAME_BEFORE), all_recordings().before);
        EXPECT_EQ(files_in(folder.path()).size(), 2U);
    }
}

// Recovers the file, which must then play without errors.
media recover_alone(const std::string& file) {
    const outcome result = recover({file});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, HasSubstr(": recovered: "));
    EXPECT_EQ(complaints(file), "");
    EXPECT_THAT(recover({file}).output, HasSubstr(": complete\n"));
    return probe(file);
}

TEST(RecoverTest, KilledRecordingPlays) {
    const temp_folder folder;
    folder.write(NAME, all_recordings().whole);
    const std::string file = folder.write(NAME_BEHIND, all_recordings().killed);
    const media found = recover_alone(file);
    ASSERT_TRUE(found.video && found.audio);
    EXPECT_EQ(found.video->width, 1024);
    EXPECT_EQ(found.video->height, 768);
    EXPECT_TRUE(found.video->packets.front().key);
    EXPECT_LT(std::abs(found.video->start() - found.audio->start()), 0.15);
    EXPECT_LT(std::abs(found.video->end() - found.audio->end()), 0.4);
    // It continues where the previous file ended.
    const int next = (all_recordings().numbers.back() + 1) % NUMBERED_PICTURES;
    EXPECT_EQ(picture_numbers(file).front(), next);
}

TEST(RecoverTest, PicturesOnlyAndSoundOnlyPlay) {
    const temp_folder folder;
    const media pictures = recover_alone(folder.write(NAME, all_recordings().killed_pictures));
    ASSERT_TRUE(pictures.video && !pictures.audio);
    EXPECT_NEAR(pictures.video->end(), static_cast<double>(pictures.video->packets.size()) / 30,
                0.01);
    const media sound = recover_alone(folder.write("audio.mp4", all_recordings().killed_sound));
    ASSERT_TRUE(sound.audio && !sound.video);
    EXPECT_NEAR(sound.audio->end(), static_cast<double>(sound.audio->packets.size()) * 0.024, 0.01);
}

TEST(RecoverTest, ExistingIndexIsKept) {
    const temp_folder folder;
    const std::string& whole = all_recordings().whole;
    const std::string file = folder.write(NAME, without_index(whole, whole.size()));
    EXPECT_EQ(recover({file}).status, 0);
    EXPECT_EQ(read_text(file), whole);
}

// A recording with other parameters that don't fit the slices.
void write_other_recording(const fs::path& file) {
    const outcome result = run({"/usr/bin/gst-launch-1.0", "-q", "videotestsrc", "num-buffers=5",
                                "!", "x264enc", "key-int-max=250", "!", "h264parse", "!", "mp4mux",
                                "!", "filesink", "location=" + file.string()});
    EXPECT_EQ(result.status, 0) << result.output;
}

TEST(RecoverTest, ParameterSetsOfAnotherRecordingAreUsed) {
    const temp_folder folder;
    const std::string contents = without_parameter_sets();
    const std::string file = folder.write(NAME_BEHIND, contents);
    write_other_recording(folder.path() / NAME);
    outcome result = recover({folder.path()});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr("parameter sets"));
    EXPECT_EQ(read_text(file), contents);

    folder.write(NAME_BEFORE, all_recordings().whole);
    result = recover({folder.path()});
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_EQ(complaints(file), "");
    EXPECT_EQ(picture_numbers(file), all_recordings().numbers);
}

#ifndef VTRDC_SANITIZE
// Limits the address space to 64 MB, including libraries.
TEST(RecoverTest, MemoryDoesNotGrowWithTheFile) {
    const temp_folder folder;
    const std::string file = folder.write(NAME, long_recording(40));
    ASSERT_GT(fs::file_size(file), 64U * 1024 * 1024);
    const outcome result =
        run({"/bin/sh", "-c", R"(ulimit -v 65536; exec "$0" "$1")", VTRDC_RECOVER, file});
    EXPECT_EQ(result.status, 0) << result.output;
}
#endif

} // namespace

int main(int argc, char* argv[]) {
    testing::InitGoogleTest(&argc, argv);
    if (argc > 1 && std::string_view{argv[1]} == "--all") {
        test_extent() = {.damages = 300, .kills = 50, .all_calls = true};
    }
    return RUN_ALL_TESTS();
}

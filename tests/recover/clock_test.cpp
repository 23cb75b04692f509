// The clock reconstructed from a muxer's turns, compared with a muxer whose stamps are known.
#include "muxer.h"
#include "recover/clock.h"
#include "recover/lost_samples.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace {

constexpr double MS = 0.001;

// Error of the reconstructed offset between pictures and sound.
struct errors {
    double worst_s = 0;
    double last_s = 0;
};

// Stamps of the samples found by the scan, by offset.
std::vector<double> stamps_of(const std::vector<stamped_sample>& samples, sample_kind kind,
                              const byte_range& damage) {
    std::vector<double> stamps;
    std::uint64_t offset = 0;
    for (const stamped_sample& sample : samples) {
        const std::uint64_t start = offset;
        offset += sample.size;
        if (sample.kind == kind && (start >= damage.end || offset <= damage.start)) {
            stamps.push_back(sample.time_s);
        }
    }
    return stamps;
}

// Times are compared directly, since sound is reconstructed exactly; after damage both may be
// shifted together.
errors compare(const std::vector<stamped_sample>& samples, scanned found, const byte_range& damage,
               std::optional<double> known_offset_s = {}) {
    cut_into_chunks(found);
    count_lost_samples(found, known_offset_s);
    const std::vector<run_times> times = tell_times(found, known_offset_s);
    const std::vector<double> pictures = stamps_of(samples, sample_kind::picture, damage);
    const std::vector<double> sounds = stamps_of(samples, sample_kind::sound, damage);
    errors result;
    double sound_error = 0;
    for (std::size_t i = 0; i < found.runs.size(); ++i) {
        const sample_run& run = found.runs[i];
        for (std::uint32_t k = 0; k < run.count; ++k) {
            const double told = times[i].start_s + k * times[i].step_s;
            if (run.kind == sample_kind::sound) {
                sound_error = told - sounds[run.first + k];
                continue;
            }
            if (i > 0 && found.runs[i - 1].damage_before > 0) {
                continue; // its sound may be damaged
            }
            result.last_s = told - pictures[run.first + k] - sound_error;
            result.worst_s = std::max(result.worst_s, std::abs(result.last_s));
        }
    }
    return result;
}

errors compare(const footage& from, const byte_range& damage = {},
               std::optional<double> known_offset_s = {}) {
    const std::vector<stamped_sample> samples = mix(from);
    return compare(samples, scan_of(samples, from.sound, damage), damage, known_offset_s);
}

class dice {
public:
    explicit dice(unsigned seed) : engine_{seed} {}
    double between(double from, double to) {
        return std::uniform_real_distribution<>{from, to}(engine_);
    }

private:
    std::mt19937 engine_;
};

void drop_pictures(footage& from, double share, dice& dice) {
    std::erase_if(from.pictures_s, [&](double) { return dice.between(0, 1) < share; });
}

TEST(ClockTest, IsExactWithoutDrops) {
    for (const std::uint32_t rate : {32000U, 44100U, 48000U}) {
        for (const double offset : {-0.2, -0.014, 0.0, 0.027, 0.2}) {
            EXPECT_LT(compare(even_footage(90, rate, offset)).worst_s, 3 * MS)
                << rate << ' ' << offset;
        }
    }
}

TEST(ClockTest, ShortRecordingsBeginTogetherUnlessTheFileBeforeKnows) {
    EXPECT_LT(compare(even_footage(5, 48000, 0.02)).worst_s, 25 * MS);
    EXPECT_LT(compare(even_footage(5, 48000, 0.1), {}, 0.1).worst_s, 1 * MS);
    // An impossible offset is ignored.
    EXPECT_LT(compare(even_footage(90, 48000, 0.1), {}, 5.0).worst_s, 3 * MS);
}

TEST(ClockTest, FollowsDroppedPictures) {
    dice dice{1};
    for (int run = 0; run < 20; ++run) {
        footage from = even_footage(300, run % 2 == 0 ? 48000 : 44100, dice.between(-0.03, 0.03));
        drop_pictures(from, 0.02, dice);
        EXPECT_LT(compare(from).worst_s, 200 * MS) << run;
    }
}

TEST(ClockTest, FollowsALongGap) {
    footage from = even_footage(120, 48000, 0.01);
    std::erase_if(from.pictures_s, [](double time) { return time > 50 && time < 53; });
    const errors found = compare(from);
    EXPECT_LT(found.worst_s, 200 * MS);
    EXPECT_LT(std::abs(found.last_s), 20 * MS);
}

// Stamps that are times of arrival: late by up to this much, never decreasing.
void let_arrive(std::vector<double>& stamps, double jitter_s, dice& dice) {
    double last = stamps.front();
    for (double& stamp : stamps) {
        stamp = last = std::max(last, stamp + dice.between(0, jitter_s));
    }
}

TEST(ClockTest, BearsStampsThatJitter) {
    dice dice{2};
    for (const double share : {0.0, 0.02}) {
        for (int run = 0; run < 10; ++run) {
            footage from = even_footage(300, 48000, dice.between(0, 0.03));
            drop_pictures(from, share, dice);
            // The first picture may be written up to three times.
            from.pictures_s.insert(from.pictures_s.begin(), 2, from.pictures_s.front());
            let_arrive(from.pictures_s, 0.02, dice);
            let_arrive(from.sounds_s, 0.02, dice);
            EXPECT_LT(compare(from).worst_s, share > 0 ? 300 * MS : 100 * MS)
                << share << ' ' << run;
        }
    }
}

TEST(ClockTest, KeepsTimeOverDamage) {
    dice dice{3};
    for (int run = 0; run < 300; ++run) {
        const footage from = even_footage(90, run % 2 == 0 ? 48000 : 32000, 0.01);
        const double start = dice.between(1'000'000, 9'000'000);
        const double length = dice.between(1, run % 3 == 0 ? 65536 : 4096);
        const byte_range damage{static_cast<std::uint64_t>(start),
                                static_cast<std::uint64_t>(start + length)};
        EXPECT_LT(compare(from, damage).worst_s, 20 * MS) << run << ' ' << start << ' ' << length;
    }
}

TEST(ClockTest, KeepsTimeOverDamageAtTheBeginning) {
    dice dice{4};
    for (int run = 0; run < 300; ++run) {
        const double offset = dice.between(-0.03, 0.03);
        const double start = dice.between(0, 100'000);
        const byte_range damage{static_cast<std::uint64_t>(start),
                                static_cast<std::uint64_t>(start + 65536)};
        EXPECT_LT(compare(even_footage(15, 48000, offset), damage, offset).worst_s, 20 * MS)
            << run << ' ' << start;
    }
}

TEST(ClockTest, OneKindAloneGoesOnEvenly) {
    const std::vector<stamped_sample> samples = mix(even_footage(20, 48000, 0));
    std::vector<stamped_sample> pictures;
    std::ranges::copy_if(samples, std::back_inserter(pictures), [](const stamped_sample& sample) {
        return sample.kind == sample_kind::picture;
    });
    scanned found = scan_of(pictures, {}, {100'000, 150'000});
    found.sound.reset();
    cut_into_chunks(found);
    count_lost_samples(found, {});
    const std::vector<run_times> times = tell_times(found, {});
    ASSERT_EQ(times.size(), 2U);
    const double last = times[1].start_s + (found.runs[1].count - 1) * times[1].step_s;
    EXPECT_NEAR(last, pictures.back().time_s, 0.1);
}

} // namespace

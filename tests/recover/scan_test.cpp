// Samples in streams of other boards' encoders, and in damaged streams.
#include "recover/sample_scan.h"
#include "util/fd_owned.h"

#include <bit>
#include <bitset>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using bytes = std::vector<std::uint8_t>;

// Sequence set for 1024 x 768, baseline, and picture set 0 that refers to it.
const bytes SEQUENCE_SET{0x67, 0x42, 0xc0, 0x1f, 0xda, 0x01, 0x00, 0x18, 0x6c, 0x05,
                         0xa8, 0x08, 0x08, 0x0a, 0x00, 0x00, 0x03, 0x00, 0x02, 0x00,
                         0x00, 0x03, 0x00, 0x79, 0x1e, 0x30, 0x65, 0x40};
const bytes PICTURE_SET{0x68, 0xce, 0x3c, 0x80};

// First byte of slices: IDR picture, reference picture, other picture.
enum : std::uint8_t { IDR = 0x65, REFERENCE = 0x41, DISPOSABLE = 0x01 };
// Slice types.
enum : unsigned { P_SLICE = 5, B_SLICE = 6, I_SLICE = 7 };

void put_code(std::string& bits, unsigned value) {
    ++value;
    const auto width = static_cast<int>(std::bit_width(value));
    bits.append(static_cast<std::size_t>(width - 1), '0');
    for (int bit = width; bit-- > 0;) {
        bits += (value >> bit & 1) != 0 ? '1' : '0';
    }
}

// A slice with this header, padded to 60 bytes.
bytes slice(std::uint8_t first_byte, unsigned type, unsigned first_macroblock = 0,
            unsigned picture_set = 0, unsigned frame_number = 0) {
    constexpr std::size_t SIZE = 60;
    std::string bits;
    for (const unsigned code : {first_macroblock, type, picture_set}) {
        put_code(bits, code);
    }
    bits += std::bitset<4>{frame_number}.to_string();
    bits.append((8 - bits.size() % 8) % 8, '1');
    bytes made{first_byte};
    for (std::size_t i = 0; i < bits.size(); i += 8) {
        made.push_back(static_cast<std::uint8_t>(std::stoul(bits.substr(i, 8), nullptr, 2)));
    }
    made.resize(SIZE, 0x5a);
    return made;
}

// Consecutive samples.
class stream {
public:
    stream& nal(const bytes& nal) {
        for (unsigned shift = 32; shift > 0; shift -= 8) {
            bytes_.push_back(static_cast<std::uint8_t>(nal.size() >> (shift - 8) & 0xff));
        }
        bytes_.insert(bytes_.end(), nal.begin(), nal.end());
        return *this;
    }
    stream& picture(std::uint8_t first_byte = REFERENCE, unsigned type = P_SLICE) {
        return nal(slice(first_byte, type));
    }
    stream& numbered(unsigned frame) { return nal(slice(REFERENCE, P_SLICE, 0, 0, frame)); }
    stream& key() { return nal(SEQUENCE_SET).nal(PICTURE_SET).picture(IDR, I_SLICE); }
    stream& sound() { // 128 kbit/s at 48 kHz: 384 bytes
        bytes_.insert(bytes_.end(), {0xff, 0xfb, 0x94, 0x64});
        return put(380, 0x33);
    }
    stream& put(std::size_t count, std::uint8_t byte) {
        bytes_.insert(bytes_.end(), count, byte);
        return *this;
    }
    stream& overwrite(std::size_t place, const bytes& with) {
        std::ranges::copy(with, bytes_.begin() + static_cast<std::ptrdiff_t>(place));
        return *this;
    }
    [[nodiscard]] std::size_t size() const { return bytes_.size(); }

    [[nodiscard]] scanned scan() const {
        const fd_owned file{memfd_create("stream", MFD_CLOEXEC)};
        EXPECT_EQ(pwrite(file.get(), bytes_.data(), bytes_.size(), 0),
                  static_cast<ssize_t>(bytes_.size()));
        byte_window window{file.get(), bytes_.size()};
        parameter_sets sets = find_sets_in_stream(window, 0);
        return scan_samples(window, 0, sets, [](std::uint64_t) {});
    }

private:
    bytes bytes_;
};

// A picture with one slice, as in the stream.
constexpr std::uint32_t SLICE_BYTES = 64;

std::vector<std::uint32_t> counts_of(const scanned& found) {
    std::vector<std::uint32_t> counts;
    for (const sample_run& run : found.runs) {
        counts.push_back(run.count);
    }
    return counts;
}

std::vector<std::uint64_t> damage_of(const scanned& found) {
    std::vector<std::uint64_t> damage;
    for (const sample_run& run : found.runs) {
        damage.push_back(run.damage_before);
    }
    return damage;
}

TEST(ScanTest, ReadsTheSizeOfPictures) {
    const auto set = read_sequence_set(SEQUENCE_SET);
    ASSERT_TRUE(set);
    EXPECT_EQ(set->width, 1024U);
    EXPECT_EQ(set->height, 768U);
    EXPECT_FALSE(read_sequence_set(PICTURE_SET));
    EXPECT_FALSE(read_sequence_set(byte_view{SEQUENCE_SET}.first(6)));
}

TEST(ScanTest, PicturesAndSoundAlternate) {
    const scanned found = stream{}.sound().sound().key().picture().sound().picture().scan();
    EXPECT_THAT(counts_of(found), ElementsAre(2, 2, 1, 1));
    EXPECT_THAT(found.key_pictures, ElementsAre(0));
    ASSERT_TRUE(found.sound);
    EXPECT_EQ(found.sound->rate, 48000U);
}

// Without delimiters, several slices per picture, key frames that are not IDR pictures.
TEST(ScanTest, SlicesMakeUpPictures) {
    stream pictures;
    pictures.key();
    for (int i = 0; i < 3; ++i) {
        const unsigned type = i == 1 ? I_SLICE : P_SLICE;
        pictures.nal(slice(REFERENCE, type)).nal(slice(REFERENCE, type, 1536));
    }
    const scanned found = pictures.picture(DISPOSABLE).scan();
    EXPECT_THAT(counts_of(found), ElementsAre(5));
    EXPECT_THAT(found.picture_sizes, ElementsAre(SLICE_BYTES + 40, 2 * SLICE_BYTES, 2 * SLICE_BYTES,
                                                 2 * SLICE_BYTES, SLICE_BYTES));
    EXPECT_THAT(found.key_pictures, ElementsAre(0, 2));
}

TEST(ScanTest, IncompleteSampleAtTheEndIsIgnored) {
    stream pictures;
    pictures.key().picture();
    const std::size_t whole = pictures.size();
    EXPECT_EQ(stream{pictures}.put(2, 0).scan().end, whole);
    EXPECT_EQ(stream{pictures}.put(5000, 0).scan().end, whole);
    EXPECT_EQ(stream{pictures}.sound().put(1, 0xff).scan().end, whole + 384);
    // The end of the last frame is missing.
    EXPECT_EQ(stream{pictures}.sound().overwrite(whole + 380, {0, 0, 0, 0}).put(500, 0).scan().end,
              whole);
}

// Pictures around a damaged one with its first byte at that offset.
struct damaged_case {
    const char* what;
    std::size_t place;
    bytes with;
};

TEST(ScanTest, ContinuesAfterADamagedPicture) {
    const damaged_case cases[] = {
        {"zeros inside", 30, {0, 0, 0}},
        {"a start code inside", 30, {0, 0, 1}},
        {"zero at the end", 63, {0}},
        {"a longer length", 2, {1}},
        {"a length beyond the end", 0, {0, 0x10}},
        {"forbidden bit", 4, {0x80 | REFERENCE}},
        {"unknown type", 4, {0x1f}},
        {"a B slice", 4, slice(REFERENCE, B_SLICE)},
        {"an unknown picture set", 4, slice(REFERENCE, P_SLICE, 0, 3)},
    };
    for (const damaged_case& damaged : cases) {
        stream pictures;
        pictures.key().sound().picture();
        const std::size_t place = pictures.size();
        pictures.picture().picture().picture().sound().picture().sound();
        pictures.overwrite(place + damaged.place, damaged.with);
        const scanned found = pictures.scan();
        EXPECT_THAT(counts_of(found), ElementsAre(1, 1, 1, 2, 1, 1, 1)) << damaged.what;
        EXPECT_THAT(damage_of(found), ElementsAre(0, 0, 0, SLICE_BYTES, 0, 0, 0)) << damaged.what;
        EXPECT_EQ(found.end, pictures.size()) << damaged.what;
    }
}

TEST(ScanTest, FrameNumbersTellWhetherPicturesAreMissing) {
    stream pictures;
    pictures.key();
    for (unsigned frame = 1; frame < 8; ++frame) {
        pictures.numbered(frame).sound();
    }
    const std::size_t place = stream{}.key().numbered(1).sound().size();
    stream without_picture{pictures};
    without_picture.overwrite(place, bytes(5, 0));
    EXPECT_FALSE(without_picture.scan().runs[3].goes_on);
    stream without_sound{pictures};
    without_sound.overwrite(place + SLICE_BYTES, bytes(5, 0));
    const scanned found = without_sound.scan();
    EXPECT_EQ(found.runs[3].damage_before, 384U);
    EXPECT_TRUE(found.runs[3].goes_on);
}

TEST(ScanTest, SoundOfAnotherKindIsDamage) {
    stream frames;
    frames.sound().sound();
    const std::size_t place = frames.size();
    for (int i = 0; i < 6; ++i) {
        frames.sound();
    }
    frames.overwrite(place, {0xff, 0xfb, 0x90, 0x64}); // of 44.1 kHz
    EXPECT_THAT(counts_of(frames.scan()), ElementsAre(2, 5));
}

TEST(ScanTest, FindsNothingInOtherData) {
    EXPECT_THAT(stream{}.put(100'000, 0).scan().runs, IsEmpty());
    EXPECT_THAT(stream{}.put(100'000, 0xff).scan().runs, IsEmpty());
    EXPECT_THAT(stream{}.scan().runs, IsEmpty());
}

} // namespace

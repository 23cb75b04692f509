// Recordings, checked by ffprobe and ffmpeg.
#include "support/daemon.h"
#include "support/file_watch.h"
#include "support/media.h"

#include <cmath>
#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

namespace {

using files = std::vector<std::filesystem::path>;

class RecordingTest : public testing::Test {
protected:
    // Starts a daemon with those settings and a camera with numbered pictures.
    void start_daemon(const std::string& settings = "record_max_len=3\n") {
        std::ofstream{board_.at("/etc/vtrdc.conf")} << settings;
        std::filesystem::remove(board_.at("/dev/video0"));
        write_numbered_footage(board_.at("/dev/video0"));
        daemon_.emplace(board_);
        ASSERT_TRUE(daemon_->wait_until_live());
    }

    void start() { ASSERT_EQ(daemon_->ask("c:enable_record:i:1"), "r:enable_record:n:"); }
    void stop() {
        ASSERT_EQ(daemon_->ask("c:enable_record:i:0"), "r:enable_record:n:");
        ASSERT_TRUE(daemon_->wait_for("[INFO]: Got EoS event on pipe 5\n"));
        EXPECT_EQ(daemon_->count("by force"), 0);
    }
    void lose_camera() { ASSERT_EQ(board_.sim({"camera", "off"}), 0); }

    [[nodiscard]] files recorded() const { return files_in(board_.at("/media/video")); }

    // Waits until the recording's file of that number exists and is not empty.
    [[nodiscard]] bool wait_for_file_number(std::size_t number) const {
        const std::filesystem::path folder = board_.at("/media/video");
        return wait_for_file(
            folder / "any",
            [&] {
                const files now = files_in(folder);
                return now.size() > number && std::filesystem::file_size(now[number]) > 10'000;
            },
            WAIT_LIMIT);
    }

    board board_;
    std::optional<vtrdc_daemon> daemon_;
};

void expect_video(const media& found) {
    ASSERT_TRUE(found.video);
    EXPECT_EQ(found.video->codec, "h264");
    EXPECT_EQ(found.video->width, 1024);
    EXPECT_EQ(found.video->height, 768);
    EXPECT_TRUE(found.video->packets.front().key);
}

void expect_audio(const media& found) {
    ASSERT_TRUE(found.audio);
    EXPECT_EQ(found.audio->codec, "mp3");
    // Sound must have no gaps and the total length of its packets; packets arrive irregularly.
    double length = 0;
    for (const media_packet& packet : found.audio->packets) {
        length += packet.duration;
    }
    EXPECT_NEAR(found.audio->end() - found.audio->start(), length, 0.2);
}

// All must play and have the same recording's name.
void expect_playable(const files& recorded, const std::string& prefix) {
    for (std::size_t number = 0; number < recorded.size(); ++number) {
        const std::string name = recorded[number].filename();
        EXPECT_THAT(name,
                    MatchesRegex(prefix + "_20[0-9]{12}_0" + std::to_string(number) + "\\.mp4"));
        EXPECT_EQ(name.substr(0, 20), recorded.front().filename().string().substr(0, 20));
        EXPECT_EQ(complaints(recorded[number]), "") << name;
        probe(recorded[number]);
    }
}

double length_of(const media_track& track) {
    return track.end() - track.start();
}

TEST_F(RecordingTest, PercentInTheMediaPathIsLiteral) {
    const std::filesystem::path folder = board_.at("/media/100%/50%d");
    std::filesystem::create_directories(folder);
    start_daemon("media_path=/media/100%/50%d\n");
    start();
    ASSERT_TRUE(board_.wait_for_frames(30));
    stop();
    const files recorded = files_in(folder / "video");
    ASSERT_EQ(recorded.size(), 1U);
    expect_playable(recorded, "video");
    EXPECT_EQ(daemon_->stop(), 0);
}

TEST_F(RecordingTest, IsSplitWithoutLosingAnything) {
    start_daemon();
    start();
    ASSERT_TRUE(board_.wait_for_frames(300));
    stop();
    const files made = recorded();
    ASSERT_EQ(made.size(), 4U);
    expect_playable(made, "video");
    double video_length = 0;
    double audio_length = 0;
    double pictures = 0;
    for (const auto& file : made) {
        const media found = probe(file);
        expect_video(found);
        expect_audio(found);
        video_length += length_of(*found.video);
        audio_length += length_of(*found.audio);
        pictures += static_cast<double>(found.video->packets.size());
        EXPECT_LT(std::abs(found.video->start() - found.audio->start()), 0.2) << file;
        EXPECT_LE(length_of(*found.video), 3.6) << file;
    }
    EXPECT_NEAR(video_length, audio_length, 0.3);
    // 300 pictures were shown meanwhile, and some more at the beginning and end.
    EXPECT_GE(pictures, 280);
    EXPECT_NEAR(pictures, video_length * 30, 0.05 * pictures);
    const left_out_pictures left_out = follow_pictures(made);
    EXPECT_EQ(left_out.between_files, 0);
    EXPECT_LE(left_out.within_files, pictures / 20);
}

TEST_F(RecordingTest, OfVideoOnlyAndOfSoundOnly) {
    start_daemon("enc_type=1\n");
    start();
    EXPECT_EQ(daemon_->ask("c:set_enc_type:i:2"), "e:set_enc_type:n:");
    ASSERT_TRUE(board_.wait_for_frames(45));
    stop();
    const files video = recorded();
    ASSERT_EQ(video.size(), 1U);
    expect_playable(video, "video");
    const media pictures = probe(video.front());
    expect_video(pictures);
    EXPECT_FALSE(pictures.audio);
    EXPECT_GE(pictures.video->packets.size(), 40U);
    std::filesystem::remove(video.front());

    // The branches are still ending for a moment.
    ASSERT_TRUE(daemon_->wait_for_count("Got EoS event on pipe ", 3));
    EXPECT_EQ(daemon_->ask("c:set_enc_type:i:2"), "r:set_enc_type:n:");
    start();
    ASSERT_TRUE(board_.wait_for_frames(45));
    stop();
    const files audio = recorded();
    ASSERT_EQ(audio.size(), 1U);
    expect_playable(audio, "audio");
    const media sound = probe(audio.front());
    expect_audio(sound);
    EXPECT_FALSE(sound.video);
    EXPECT_GT(length_of(*sound.audio), 1.0);
}

TEST_F(RecordingTest, SecondStartChangesNothing) {
    start_daemon();
    start();
    ASSERT_TRUE(wait_for_file_number(0));
    start();
    EXPECT_EQ(daemon_->count("Creating "), 4);
    EXPECT_EQ(recorded().size(), 1U);
    stop();
    expect_playable(recorded(), "video");
    EXPECT_EQ(daemon_->ask("c:enable_record:i:0"), "r:enable_record:n:");
    EXPECT_EQ(daemon_->count("Sending eos on pipe: 5"), 1);
}

TEST_F(RecordingTest, TerminatedRecordingPlaysToItsEnd) {
    start_daemon();
    start();
    ASSERT_TRUE(board_.wait_for_frames(60));
    EXPECT_EQ(daemon_->stop(), 0);
    expect_playable(recorded(), "video");
    follow_pictures(recorded());
}

TEST_F(RecordingTest, CameraPulledJustBeforeTheEnd) {
    start_daemon();
    start();
    ASSERT_TRUE(board_.wait_for_frames(60));
    lose_camera();
    EXPECT_EQ(daemon_->stop(), 0);
    expect_playable(recorded(), "video");
    EXPECT_GE(probe(recorded().front()).video->packets.size(), 45U);
}

TEST_F(RecordingTest, OutlivesTheCamera) {
    start_daemon();
    start();
    ASSERT_TRUE(board_.wait_for_frames(60));
    lose_camera();
    ASSERT_TRUE(daemon_->wait_for("Splash Pipeline set to playing"));
    EXPECT_EQ(daemon_->count("Sending eos on pipe: 5"), 0);
    stop();
    expect_playable(recorded(), "video");
    EXPECT_GE(probe(recorded().front()).video->packets.size(), 45U);
}

TEST_F(RecordingTest, KilledRecordingLeavesTheEarlierFiles) {
    start_daemon("record_max_len=1\n");
    start();
    ASSERT_TRUE(wait_for_file_number(2));
    daemon_->signal(SIGKILL);
    EXPECT_EQ(daemon_->wait_exit(WAIT_LIMIT), 128 + SIGKILL);
    files made = recorded();
    made.resize(2);
    expect_playable(made, "video");
    follow_pictures(made);
}

// Such a recording can only be ended by force.
TEST_F(RecordingTest, EndsEvenWithoutAFolder) {
    start_daemon();
    std::ofstream{board_.at("/media/video")} << "no folder";
    start();
    ASSERT_TRUE(daemon_->wait_for("Could not start new output sink"));
    daemon_->ask("c:pause_video:n:");
    daemon_->ask("c:resume_video:n:");
    EXPECT_EQ(daemon_->stop(), 0);
    EXPECT_THAT(daemon_->output(),
                Not(HasSubstr("CRITICAL"))); // it was at NULL when released
}

// Loudness of one second of the sound, in dB of full scale.
double loudness(const std::filesystem::path& file, double from) {
    const outcome result = run({"/usr/bin/ffmpeg", "-nostdin", "-ss", std::to_string(from), "-t",
                                "1", "-i", file, "-af", "volumedetect", "-f", "null", "-"});
    const std::string label = "mean_volume: ";
    const std::size_t place = result.output.find(label);
    EXPECT_NE(place, std::string::npos) << result.output;
    return place == std::string::npos
               ? 0.0
               : std::strtod(result.output.c_str() + place + label.size(), nullptr);
}

TEST_F(RecordingTest, MicrophoneVolumeChangesWhileRecordingAndStays) {
    start_daemon("enc_type=2\nmic_volume=80\n");
    start();
    ASSERT_TRUE(board_.wait_for_frames(60));
    EXPECT_EQ(daemon_->ask("c:set_mic_volume:i:8"), "r:set_mic_volume:n:");
    ASSERT_TRUE(board_.wait_for_frames(60));
    stop();
    const std::filesystem::path file = recorded().front();
    const double last_second = probe(file).audio->end() - 1;
    // A tenth of the amplification is 20 dB less.
    const double last = loudness(file, last_second);
    EXPECT_NEAR(loudness(file, 0.3) - last, 20.0, 1.0);
    start();
    ASSERT_TRUE(board_.wait_for_frames(60));
    stop();
    EXPECT_NEAR(loudness(recorded().back(), 0.3), last, 1.0);
}

} // namespace

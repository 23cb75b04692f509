// Zoom, picture-in-picture, luminance, correction and reticle: by button, by command, at start-up.
#include "support/daemon.h"
#include "support/file_watch.h"

#include <array>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/input.h>
#include <unistd.h>

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr const char* luminance_attribute =
    "/sys/bus/i2c/drivers/mxc_uoled_i2c/0-0024/attr_luminance";
constexpr const char* core_log_path = "/var/log/vtrcore.log";
constexpr const char* overlay_log_path = "/var/log/overlay.log";

class SightTest : public testing::Test {
protected:
    // Starts the daemon with this configuration file.
    void start(const std::string& configuration = "") {
        if (!configuration.empty()) {
            std::ofstream{board_.at("/etc/vtrdc.conf")} << configuration;
        }
        daemon_ = std::make_unique<vtrdc_daemon>(board_);
        ASSERT_TRUE(daemon_->wait_for("Display Pipeline set to playing"));
        ASSERT_TRUE(board_.wait_for_frames(3));
        // Once it answers, the start-up state has been applied.
        ASSERT_EQ(ask("c:get_lum:n:").substr(0, 12), "r:get_lum:s:");
    }
    std::string ask(std::string_view request) { return daemon_->ask(request); }

    [[nodiscard]] std::string text(const char* sight_path) const {
        return read_text(board_.at(sight_path));
    }
    // Returns what was added to a log since the last call.
    std::string fresh(const char* log, std::size_t& seen) const {
        const std::string all = text(log);
        const std::string added = all.substr(seen);
        seen = all.size();
        return added;
    }
    std::string core() { return fresh(core_log_path, core_seen_); }
    std::string overlay() { return fresh(overlay_log_path, overlay_seen_); }
    [[nodiscard]] bool wait_for_line(const char* log, const char* line) const {
        return wait_for_file(
            board_.at(log), [&] { return text(log).find(line) != std::string::npos; }, WAIT_LIMIT);
    }
    void fail_core(int status) const {
        std::ofstream{board_.at("/var/lib/vtrcore/fail")} << status << "\n";
    }
    void mend_core() const { std::filesystem::remove(board_.at("/var/lib/vtrcore/fail")); }

    board board_;
    std::unique_ptr<vtrdc_daemon> daemon_;
    std::size_t core_seen_ = 0;
    std::size_t overlay_seen_ = 0;
};

constexpr const char* zoom_1_reticle =
    "ReticleMenu.retProfParam:{\"X\": 512.000000,\"Y\": 384.000000, \"RD_X\": 697.000000,"
    "\"RD_Y\": 569.000000,\"WIDTH\": 370.000000,\"HEIGHT\": 370.000000}\n";

TEST_F(SightTest, StartUpAppliesWhatIsStored) {
    start("luminance=3\npip_mode=1\nreticle=0\nred_dot=0\nreticle_source=2\nreticle_color=4\n"
          "reticle_opacity=0.25\nnuc_type=2\n");
    EXPECT_EQ(core(), "shutter-movement 0\norigin 435 327\npip 2\n");
    const std::string sent = overlay();
    EXPECT_THAT(sent,
                testing::StartsWith(
                    "ReticleMenu.retProfParam:{\"X\": 512.000000,\"Y\": 384.000000, \"RD_X\": "
                    "697.550000,\"RD_Y\": 524.550000,\"WIDTH\": 400.000000,\"HEIGHT\": "
                    "320.000000}\n"
                    "ReticleMenu.retProfParam:{\"SRC\": \"/opt/okr/Reticles/7.62x39.svg\"}\n"
                    "ReticleMenu.retProfParam:{\"STATE\": 0}\n"
                    "ReticleMenu.retProfParam:{\"RD_STATE\": 0}\n"
                    "ReticleMenu.retProfParam:{\"BRIGHT_VAL\": \"0.250000\"}\n"
                    "ReticleMenu.retProfParam:{\"COLOR_HEX\": \"#008351\"}\n"
                    "FtrMenu.pipSt:1\n"
                    "OffMenu.offMenuParams:{\"KEY\": \"LUM\", \"VAL\": 3}\n"));
    EXPECT_THAT(sent, EndsWith("ReticleMenu.retProfParam:{\"Z_OFFSET_X\": 0,\"Z_OFFSET_Y\": 0}\n"
                               "OffMenu.offMenuParams:{\"KEY\": \"PIP_ZOOM\" , \"VAL\": 1}\n"));
    EXPECT_EQ(text(luminance_attribute), "220");
    EXPECT_THAT(daemon_->output(), HasSubstr("[INFO]: PIP started by default\n"));
    EXPECT_EQ(daemon_->stop(), 0);
}

TEST_F(SightTest, ZoomButtonCyclesAndKeepsOnlySuccessfulSteps) {
    start();
    core();
    overlay();
    EXPECT_EQ(ask("c:kbd_zoom:n:"), "r:kbd_zoom:n:");
    EXPECT_EQ(core(), "origin 435 355\nzoom 2\n");
    EXPECT_THAT(overlay(),
                testing::StartsWith("OffMenu.offMenuParams:{\"KEY\": \"ZOOM\" , \"VAL\": "
                                    "1}\nReticleMenu.retProfParam:{\"X\": 323.4"));
    fail_core(3);
    EXPECT_EQ(ask("c:kbd_zoom:n:"), "e:kbd_zoom:n:");
    EXPECT_EQ(core(), "origin 435 355\n"); // nothing after the failed step
    EXPECT_EQ(overlay(), "");
    EXPECT_EQ(ask("c:get_zoom:n:"), "r:get_zoom:s:1");
    mend_core();
    EXPECT_EQ(ask("c:kbd_zoom:n:"), "r:kbd_zoom:n:");
    EXPECT_EQ(ask("c:get_zoom:n:"), "r:get_zoom:s:2");
    overlay();
    EXPECT_EQ(ask("c:kbd_zoom:n:"), "r:kbd_zoom:n:");
    EXPECT_EQ(ask("c:get_zoom:n:"), "r:get_zoom:s:0");
    EXPECT_THAT(overlay(), EndsWith(zoom_1_reticle));
    EXPECT_EQ(daemon_->stop(), 0);
}

TEST_F(SightTest, PictureInPictureResetsTheZoomAndStepsOnItsOwn) {
    start();
    EXPECT_EQ(ask("c:kbd_zoom:n:"), "r:kbd_zoom:n:");
    core();
    overlay();
    EXPECT_EQ(ask("c:enable_pip:i:4"), "r:enable_pip:n:");
    EXPECT_EQ(core(), "origin 435 355\nzoom 1\norigin 435 355\npip 2\n");
    EXPECT_EQ(overlay(), std::string{"OffMenu.offMenuParams:{\"KEY\": \"ZOOM\" , \"VAL\": 0}\n"} +
                             zoom_1_reticle +
                             "FtrMenu.pipSt:1\n"
                             "ReticleMenu.retProfParam:{\"Z_OFFSET_X\": 0,\"Z_OFFSET_Y\": 0}\n"
                             "OffMenu.offMenuParams:{\"KEY\": \"PIP_ZOOM\" , \"VAL\": 1}\n");
    EXPECT_EQ(ask("c:kbd_zoom:n:"), "r:kbd_zoom:n:");
    EXPECT_EQ(ask("c:get_zoom:n:"), "r:get_zoom:s:1");
    // Selecting a factor while it is on changes neither the index nor the zoom.
    core();
    EXPECT_EQ(ask("c:enable_pip:i:1"), "r:enable_pip:n:");
    EXPECT_EQ(core(), "origin 435 355\npip 2\n");
    EXPECT_EQ(ask("c:get_zoom:n:"), "r:get_zoom:s:1");
    EXPECT_EQ(ask("c:enable_pip:i:0"), "r:enable_pip:n:");
    EXPECT_EQ(core(), "origin 435 355\nzoom 1\norigin 435 355\npip 0\n");
    overlay();
    EXPECT_EQ(ask("c:enable_pip:i:0"), "r:enable_pip:n:"); // already off
    EXPECT_EQ(core(), "origin 435 355\nzoom 1\norigin 435 355\npip 0\n");
    EXPECT_THAT(overlay(), Not(HasSubstr("PIP_ZOOM"))); // factor 0 has no icon
    EXPECT_EQ(daemon_->stop(), 0);
}

// Whichever step fails, nothing after it happens.
TEST_F(SightTest, FailureAtTheLastStepLeavesWhatWasShown) {
    start();
    overlay();
    std::ofstream{board_.at("/usr/bin/vtrcore")} << "#!/bin/sh\n[ \"$1\" = origin ]\n";
    EXPECT_EQ(ask("c:kbd_zoom:n:"), "e:kbd_zoom:n:");
    EXPECT_EQ(ask("c:get_zoom:n:"), "r:get_zoom:s:0");
    EXPECT_EQ(overlay(), "");
    EXPECT_EQ(ask("c:enable_pip:i:1"), "e:enable_pip:n:");
    // Resetting the zoom failed too; state and factor were shown before the tool ran.
    EXPECT_EQ(overlay(), "FtrMenu.pipSt:1\n"
                         "ReticleMenu.retProfParam:{\"Z_OFFSET_X\": 0,\"Z_OFFSET_Y\": 0}\n"
                         "OffMenu.offMenuParams:{\"KEY\": \"PIP_ZOOM\" , \"VAL\": 1}\n");
    EXPECT_EQ(ask("c:kbd_zoom:n:"), "e:kbd_zoom:n:");
    EXPECT_EQ(ask("c:get_zoom:n:"), "r:get_zoom:s:0");
    EXPECT_EQ(daemon_->stop(), 0);
}

TEST_F(SightTest, FailingPictureInPictureIsStoredAnyway) {
    start();
    fail_core(1);
    EXPECT_EQ(ask("c:enable_pip:i:1"), "e:enable_pip:n:");
    EXPECT_EQ(ask("c:get_pip:n:"), "r:get_pip:s:1");
    EXPECT_THAT(text("/etc/vtrdc.conf"), HasSubstr("\npip_mode=1\n"));
    EXPECT_EQ(ask("c:kbd_nuc:n:"), "e:kbd_nuc:n:");
    EXPECT_EQ(ask("c:set_nuc_type:i:3"), "e:set_nuc_type:n:");
    EXPECT_THAT(text(core_log_path), EndsWith("fast-nuc\nshutter-movement 1\n"));
    EXPECT_EQ(daemon_->stop(), 0);
}

TEST_F(SightTest, PanelKeepsItsLuminanceWithAMonitor) {
    start();
    ASSERT_EQ(board_.sim({"hdmi", "on"}), 0);
    overlay();
    EXPECT_EQ(ask("c:set_lum:i:2"), "r:set_lum:n:");
    EXPECT_TRUE(daemon_->wait_for("[WARN]: HDMI connected - skip oled command\n"));
    EXPECT_EQ(text(luminance_attribute), "75");
    EXPECT_EQ(overlay(), "");
    ASSERT_EQ(board_.sim({"hdmi", "off"}), 0);
    EXPECT_EQ(ask("c:kbd_pol:n:"), "r:kbd_pol:n:");
    EXPECT_EQ(text(luminance_attribute), "220");
    EXPECT_EQ(ask("c:kbd_pol:n:"), "r:kbd_pol:n:");
    EXPECT_EQ(ask("c:get_lum:n:"), "r:get_lum:s:0");
    EXPECT_EQ(daemon_->stop(), 0);
}

TEST_F(SightTest, MissingPanelIsAnError) {
    // A folder in place of the attribute: it can't be written, and the layout keeps it.
    std::filesystem::remove(board_.at(luminance_attribute));
    std::filesystem::create_directory(board_.at(luminance_attribute));
    vtrdc_daemon daemon{board_};
    EXPECT_EQ(daemon.wait_exit(WAIT_LIMIT), 1);
    EXPECT_THAT(daemon.output(),
                HasSubstr(std::string{"Failed to write luminance to "} + luminance_attribute));
}

TEST_F(SightTest, AfterTheHandOverOnlySettingsChange) {
    start();
    EXPECT_EQ(ask("c:disable_kbd:n:"), "r:disable_kbd:n:");
    core();
    overlay();
    for (const char* request : {"c:kbd_zoom:n:", "c:enable_pip:i:1", "c:set_lum:i:3",
                                "c:kbd_nuc:n:", "c:set_reticle_color:i:2", "c:set_reticle_src:i:1",
                                "c:set_reticle_opacity:s:0.5", "c:enable_dot:i:0",
                                "c:enable_reticle:i:0", "c:set_nuc_type:i:0"}) {
        EXPECT_EQ(ask(request).front(), 'r') << request;
    }
    EXPECT_EQ(core(), "");
    EXPECT_EQ(overlay(), "");
    EXPECT_EQ(text(luminance_attribute), "75");
    EXPECT_EQ(ask("c:get_lum:n:"), "r:get_lum:s:3");
    EXPECT_THAT(text("/etc/vtrdc.conf"), HasSubstr("\nreticle_color=2\n"));
    // The buttons are closed.
    EXPECT_EQ(board_.sim({"press", "zoom"}), 0);
    EXPECT_EQ(ask("c:get_lum:n:"), "r:get_lum:s:3");
    EXPECT_EQ(daemon_->count("kbd event"), 0);
    EXPECT_EQ(daemon_->stop(), 0);
}

// Input event records, as delivered by the kernel.
class ButtonTest : public SightTest {
protected:
    void write_record(std::uint16_t type, std::uint16_t code, int value) {
        input_event record{};
        record.type = type;
        record.code = code;
        record.value = value;
        write_bytes(&record, sizeof record);
    }
    void write_bytes(const void* bytes, std::size_t size) {
        const int fifo = open(board_.at("/dev/input/event1").c_str(), O_WRONLY | O_CLOEXEC);
        EXPECT_EQ(write(fifo, bytes, size), static_cast<ssize_t>(size));
        close(fifo);
    }
};

TEST_F(ButtonTest, OnlyTheReleaseOfAKnownKeyActs) {
    start();
    core();
    write_record(EV_KEY, KEY_HOMEPAGE, 1);
    write_record(EV_SYN, SYN_REPORT, 0);
    write_record(EV_KEY, KEY_HOMEPAGE, 2);
    write_record(EV_KEY, KEY_ENTER, 0);
    input_event torn{};
    torn.type = EV_KEY;
    torn.code = KEY_HOMEPAGE;
    write_bytes(&torn, sizeof torn / 2);
    // The first effect shows that the earlier records had none.
    ASSERT_EQ(board_.sim({"press", "nuc"}), 0);
    ASSERT_TRUE(wait_for_line(core_log_path, "fast-nuc\n"));
    EXPECT_EQ(core(), "fast-nuc\n");
    ASSERT_EQ(board_.sim({"press", "zoom"}), 0);
    ASSERT_TRUE(wait_for_line(core_log_path, "zoom 2\n"));
    ASSERT_EQ(board_.sim({"press", "pol"}), 0);
    ASSERT_TRUE(wait_for_line(overlay_log_path, "\"LUM\", \"VAL\": 1}"));
    EXPECT_EQ(text(luminance_attribute), "130");
    EXPECT_EQ(daemon_->stop(), 0);
}

TEST_F(ButtonTest, DeviceThatIsGoneIsDropped) {
    std::filesystem::remove(board_.at("/dev/input/event1"));
    // At end of file at once, like an unplugged device.
    std::ofstream{board_.at("/tmp/empty")} << "";
    std::ofstream{board_.at("/etc/vtrdc.conf")} << "kbd_device=/tmp/empty\n";
    ASSERT_EQ(board_.sim({"layout"}), 0);
    start();
    EXPECT_TRUE(daemon_->wait_for("[WARN]: the button device is gone, buttons are dead\n"));
    EXPECT_EQ(ask("c:kbd_zoom:n:"), "r:kbd_zoom:n:");
    EXPECT_EQ(daemon_->count("the button device is gone"), 1);
    EXPECT_EQ(daemon_->stop(), 0);
}

TEST_F(ButtonTest, MissingDeviceLeavesTheCommands) {
    start("kbd_device=/dev/input/event9\n");
    EXPECT_EQ(ask("c:kbd_zoom:n:"), "r:kbd_zoom:n:");
    EXPECT_EQ(daemon_->stop(), 0);
}

} // namespace

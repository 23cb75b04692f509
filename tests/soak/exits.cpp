// Intended ends of the daemon: an ERROR line and status 1.
#include "exits.h"

#include "clients.h"

#include <gtest/gtest.h>
#include <iostream>
#include <unistd.h>

namespace {

struct end_by_design {
    const char* name;
    const char* settings;
    bool has_camera;
    // Does what ends the daemon.
    void (*bring_about)(const board& board, vtrdc_daemon& daemon);
    const char* last_words;
};

void send_request(vtrdc_daemon& daemon, std::string_view request) {
    EXPECT_EQ(daemon.ask(request), "") << "it was to end, not to answer";
}

void connect_too_many(const board& /*board*/, vtrdc_daemon& daemon) {
    std::vector<int> connections;
    for (int i = 0; i < 40; ++i) {
        connections.push_back(daemon.connect());
    }
    EXPECT_TRUE(daemon.wait_for("[ERROR]"));
    for (const int connection : connections) {
        close(connection);
    }
}

void press_against_the_core(const board& board, vtrdc_daemon& /*daemon*/) {
    std::filesystem::create_directory(board.at("/var/lib/vtrcore/fail"));
    EXPECT_EQ(board.sim({"press", "nuc"}), 0);
}

void take_the_panel_away(const board& board, vtrdc_daemon& daemon) {
    std::filesystem::remove_all(board.at("/sys/bus/i2c"));
    send_request(daemon, "c:set_lum:i:3");
}

constexpr end_by_design ends[] = {
    {"a snapshot without a frame", "", false,
     [](const board&, vtrdc_daemon& daemon) { send_request(daemon, "c:make_snapshot:n:"); },
     "Error getting last sample from display sink\n"},
    {"an unknown encoding type", "enc_type=7\n", true,
     [](const board&, vtrdc_daemon& daemon) { send_request(daemon, "c:enable_record:i:1"); },
     "Unknown encoding type\n"},
    {"too many clients", "", true, connect_too_many, "failed to register client event\n"},
    {"a button that the core refuses", "", true, press_against_the_core,
     "failed to process kbd input\n"},
    {"a panel that is gone", "", true, take_the_panel_away, "attr_luminance\n"},
};

void expect_end(dice& dice, const end_by_design& end) {
    std::cout << "the end: " << end.name << std::endl;
    const board board{end.settings};
    if (!end.has_camera) {
        ASSERT_EQ(board.sim({"camera", "off"}), 0);
    }
    vtrdc_daemon daemon{board};
    ASSERT_TRUE(end.has_camera ? daemon.wait_until_live()
                               : daemon.wait_for("There is no camera at"));
    clients others{daemon};
    // These requests must not end it themselves.
    others.join(static_cast<std::size_t>(dice.number(1, int{clients::MAX})));
    for (int burst = 0; burst < 5; ++burst) {
        others.be_greedy(dice.number(1, 5));
    }
    end.bring_about(board, daemon);
    EXPECT_EQ(daemon.wait_exit(WAIT_LIMIT), 1);
    const std::string output = daemon.output();
    EXPECT_NE(output.find("[ERROR][errno="), std::string::npos);
    EXPECT_TRUE(output.ends_with(end.last_words));
}

} // namespace

void expect_ends_by_design(std::uint64_t seed, bool all) {
    dice dice{seed};
    const auto& drawn = dice.pick(ends);
    for (const end_by_design& end : ends) {
        if (all || &end == &drawn) {
            expect_end(dice, end);
        }
    }
}

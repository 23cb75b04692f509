// One life of the daemon under random use, from start to stop.
#include "life.h"

#include "ends.h"
#include "support/media.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <gtest/gtest.h>
#include <iostream>
#include <numeric>

namespace {

namespace fs = std::filesystem;

constexpr const char* LOG_FILE = "/var/log/vtrdc.log";
constexpr int DEEDS_A_PERIOD = 12;
constexpr std::size_t DEEDS_TOLD = 40;
constexpr std::size_t LOG_BYTES_TOLD = 6000;
// A stop takes five seconds if a pipe is ended by force.
constexpr std::chrono::seconds STOP_LIMIT{15};
constexpr area MIDDLE{100, 100, 800, 500};

} // namespace

const life::deed_row life::deeds[] = {
    {"ask", 50, &life::ask_at_once},           {"come and go", 10, &life::come_and_go},
    {"greedy client", 3, &life::be_greedy},    {"watch the stream", 6, &life::watch_stream},
    {"time passes", 10, &life::let_time_pass}, {"surroundings", 16, &life::change_surroundings},
};

life::life(std::uint64_t seed)
    : seed_{seed}, dice_{seed}, daemon_{around_.where(), {"-l", LOG_FILE}, flatness::environment()},
      log_{around_.where().at(LOG_FILE)}, clients_{daemon_} {
    EXPECT_TRUE(around_.where().wait_for_panel(
        [](const picture& panel) { return panel.deviation(MIDDLE) > 5.0; }));
    // Creates a settings file.
    EXPECT_EQ(ask("set_mic_volume", 50), "r:set_mic_volume:n:");
}

life::~life() {
    if (!testing::Test::HasFailure()) {
        return;
    }
    const std::string log = read_text(log_.path());
    std::cerr << "--- repeat it with --seed " << seed_ << "; what was done last:\n";
    for (std::size_t i = done_.size() - std::min(done_.size(), DEEDS_TOLD); i < done_.size(); ++i) {
        std::cerr << done_[i] << "\n";
    }
    std::cerr << "--- end of the log:\n"
              << log.substr(log.size() - std::min(log.size(), LOG_BYTES_TOLD)) << "---\n";
}

std::string life::ask(const std::string& command, int number) {
    return daemon_.ask("c:" + command + ":i:" + std::to_string(number));
}

// --- Actions ---------------------------------------------------------------------------------

void life::do_something() {
    const int all = std::accumulate(std::begin(deeds), std::end(deeds), 0,
                                    [](int sum, const deed_row& row) { return sum + row.weight; });
    int drawn = dice_.number(1, all);
    for (const deed_row& row : deeds) {
        drawn -= row.weight;
        if (drawn <= 0) {
            note(row.name);
            (this->*row.run)();
            return;
        }
    }
}

// Presses buttons while clients send requests.
void life::ask_at_once() {
    constexpr const char* buttons[] = {"zoom", "nuc", "pol"};
    state_.core_refuses = around_.core_refuses();
    // A button refused by the core ends the daemon by design.
    const bool may_press = !state_.core_refuses && !state_.handed_over;
    const int presses = may_press ? dice_.number(0, 2) : 0;
    log_.mark();
    for (int i = 0; i < presses; ++i) {
        around_.press(dice_.pick(buttons));
    }
    clients_.ask(dice_, state_);
    static_cast<void>(wait_for_log(log_, "[INFO]: kbd event: ", presses));
    // Logged before the button acts; the next request is served afterwards.
    clients_.settle();
}

void life::come_and_go() {
    const auto count = static_cast<std::size_t>(dice_.number(0, int{clients::MAX}));
    clients_.leave(count);
    clients_.settle();
    clients_.join(count);
}

void life::be_greedy() {
    clients_.be_greedy(dice_.number(1, 60));
}

void life::watch_stream() {
    if (ask("enable_tcp_stream", 1) == "r:enable_tcp_stream:n:") {
        around_.add_viewers(dice_);
    }
}

// Pictures may be paused.
void life::let_time_pass() {
    static_cast<void>(
        around_.where().wait_for_frames(dice_.number(1, 20), std::chrono::seconds{1}));
}

void life::change_surroundings() {
    switch (dice_.number(0, 5)) {
    case 0:
        note("camera");
        return around_.toggle_camera();
    case 1:
        note("monitor");
        return around_.toggle_monitor();
    case 2:
        note("core");
        return around_.toggle_core();
    case 3:
        note("space");
        return around_.toggle_space();
    case 4:
        note("broker");
        return around_.toggle_broker(dice_);
    default:
        note("push server");
        return around_.toggle_push_server(dice_);
    }
}

void life::hand_over() {
    note("hand-over");
    EXPECT_EQ(daemon_.ask("c:disable_kbd:n:"), "r:disable_kbd:n:");
    state_.handed_over = true;
}

// --- Periods ---------------------------------------------------------------------------------

void life::start_recording() {
    EXPECT_EQ(ask("enable_record", 1), "r:enable_record:n:");
    EXPECT_TRUE(around_.where().wait_for_frames(30));
}

void life::spend_period(bool calm) {
    note(calm ? "a calm period" : "a wild period");
    state_.calm = calm;
    records_ = calm;
    if (calm) {
        start_recording();
    }
    clients_.join(static_cast<std::size_t>(dice_.number(4, int{clients::MAX})));
    for (int i = 0; i < DEEDS_A_PERIOD && !testing::Test::HasFailure(); ++i) {
        do_something();
    }
}

void life::come_to_rest() {
    note("rest");
    around_.restore();
    // A pipe that is asked to end, ends. The end of the display starts the splash.
    end_pipes(daemon_, log_, {0, 1});
    end_pipes(daemon_, log_, {2, 3, 4, 5, 6, 7, 8, 9});
    around_.end_viewers();
    EXPECT_TRUE(clients_.are_quiet());
    clients_.leave(0);
    clients_.settle();
    EXPECT_EQ(ask("create_pipe", 0), "r:create_pipe:n:");
    EXPECT_EQ(ask("create_pipe", 1), "r:create_pipe:n:");
    EXPECT_TRUE(around_.where().wait_for_frames(20));
    judge_settings();
    judge_media();
    if (!testing::Test::HasFailure()) {
        flatness_.look_at(daemon_.pid(),
                          [this] { EXPECT_TRUE(around_.where().wait_for_frames(5)); });
        std::cout << "answers: " << usual_answer_time().count() << " us" << std::endl;
    }
}

// The median of what one client waits while nobody else asks.
std::chrono::duration<double, std::micro> life::usual_answer_time() {
    std::array<std::chrono::steady_clock::duration, 201> times{};
    for (auto& time : times) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_TRUE(daemon_.ask("c:get_pip:n:").starts_with("r:get_pip:"));
        time = std::chrono::steady_clock::now() - start;
    }
    std::ranges::nth_element(times, times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2));
    return times[times.size() / 2];
}

void life::judge_settings() {
    EXPECT_EQ(daemon_.ask("c:print_config:n:"),
              "r:print_config:s:" + read_text(around_.where().at("/etc/vtrdc.conf")));
}

void life::judge_media() {
    const auto take = [this](const char* folder, auto judge) {
        if (const fs::path place = around_.where().at(folder); fs::exists(place)) {
            for (const fs::path& file : files_in(place)) {
                judge(file);
                fs::remove(file);
            }
        }
    };
    take("/media/video", [this](const fs::path& file) {
        if (records_) {
            EXPECT_EQ(complaints(file), "") << file;
        }
    });
    take("/media/image", [](const fs::path& file) { EXPECT_EQ(picture{file}.width(), 1024); });
    take("/home/root", [](const fs::path& file) {
        EXPECT_TRUE(read_text(file).starts_with("digraph pipeline {")) << file;
    });
}

void life::stop() {
    constexpr int stops[] = {SIGTERM, SIGINT, SIGHUP, SIGUSR1, SIGALRM, SIGIO};
    const int number = dice_.pick(stops);
    note("stop by signal " + std::to_string(number));
    daemon_.signal(number);
    EXPECT_EQ(daemon_.wait_exit(STOP_LIMIT), 0);
    const std::string output = daemon_.output();
    EXPECT_TRUE(output.ends_with("[INFO]: Goodbye\n"));
    EXPECT_EQ(output.find("CRITICAL"), std::string::npos);
    EXPECT_EQ(output.find("runtime error"), std::string::npos);
    around_.end_viewers();
}

// One life of the daemon under random use, from start to stop.
#pragma once

#include "clients.h"
#include "flatness.h"
#include "log_reader.h"
#include "surroundings.h"

class life {
public:
    // Everything depends only on the seed.
    explicit life(std::uint64_t seed);
    life(const life&) = delete;
    life& operator=(const life&) = delete;
    // After a failure: how to repeat it, the last actions, and the end of the log.
    ~life();

    // A period of random use. In a calm one, single pipes are left alone and a recording runs,
    // which must play afterwards.
    void spend_period(bool calm);

    // Ends everything, restores the initial state, and checks replies, settings, media files and
    // resources.
    void come_to_rest();

    // Hands the sight over to an outside controller: buttons do nothing from now on.
    void hand_over();

    // Stops it while it is busy.
    void stop();

    void expect_flat() const { flatness_.expect_flat(); }

private:
    struct deed_row {
        const char* name;
        int weight;
        void (life::*run)();
    };
    static const deed_row deeds[];

    void do_something();
    void ask_at_once();
    void come_and_go();
    void be_greedy();
    void watch_stream();
    void let_time_pass();
    void change_surroundings();

    void note(const std::string& what) { done_.push_back(what); }
    std::string ask(const std::string& command, int number);
    void start_recording();
    void judge_media();
    void judge_settings();
    std::chrono::duration<double, std::micro> usual_answer_time();

    std::uint64_t seed_;
    dice dice_;
    surroundings around_;
    vtrdc_daemon daemon_;
    log_reader log_;
    clients clients_;
    sight_state state_;
    flatness flatness_;
    bool records_ = false; // must play
    std::vector<std::string> done_;
};

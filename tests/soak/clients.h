// Many clients of the command socket at once, and whether each gets exactly its replies.
#pragma once

#include "requests.h"
#include "support/daemon.h"

class clients {
public:
    // The daemon waits on 32 descriptors at most: four of its own, ten pipes, one client for
    // control, and some that left but were not noticed yet.
    static constexpr std::size_t MAX = 12;

    explicit clients(vtrdc_daemon& daemon) : daemon_{daemon} {}
    clients(const clients&) = delete;
    clients& operator=(const clients&) = delete;
    ~clients() { leave(0); }

    // So many stay connected.
    void join(std::size_t count);
    void leave(std::size_t count);
    [[nodiscard]] std::size_t count() const { return connections_.size(); }

    // Some clients ask at once; some of those leave without waiting. Each of the others must get
    // the right reply.
    void ask(dice& dice, const sight_state& state);

    // One client more asks again and again, reads nothing, and leaves.
    void be_greedy(int requests);

    // No client has a second reply waiting.
    [[nodiscard]] bool are_quiet() const;

    // Waits until the daemon has noticed who left.
    void settle();

private:
    struct pending {
        int connection;
        request asked;
    };
    [[nodiscard]] std::vector<pending> send_all(dice& dice, const sight_state& state);

    vtrdc_daemon& daemon_;
    std::vector<int> connections_;
};

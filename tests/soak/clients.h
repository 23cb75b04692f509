// Many simultaneous clients of the command socket, each of which must get exactly its replies.
#pragma once

#include "requests.h"
#include "support/daemon.h"

class clients {
public:
    // The daemon waits on at most 32 descriptors: four of its own, ten pipes, one controlling
    // client, and some clients whose leaving was not noticed yet.
    static constexpr std::size_t MAX = 12;

    explicit clients(vtrdc_daemon& daemon) : daemon_{daemon} {}
    clients(const clients&) = delete;
    clients& operator=(const clients&) = delete;
    ~clients() { leave(0); }

    // Number of clients that stay connected.
    void join(std::size_t count);
    void leave(std::size_t count);
    [[nodiscard]] std::size_t count() const { return connections_.size(); }

    // Some clients send requests at once; some of them leave without waiting. The others must get
    // the right replies.
    void ask(dice& dice, const sight_state& state);

    // Another client sends requests repeatedly, reads nothing, and leaves.
    void be_greedy(int requests);

    // No client may have a second reply pending.
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

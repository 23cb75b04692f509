// Sends a server the same request repeatedly and measures the time of the answers.
#include "unix_socket.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <ctime>
#include <poll.h>
#include <string>
#include <vector>

namespace {

constexpr std::int64_t NS_PER_SECOND = 1'000'000'000;
constexpr std::int64_t NS_PER_MS = 1'000'000;
constexpr std::size_t REPLY_SIZE = 4096;

std::int64_t now_ns() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * NS_PER_SECOND + now.tv_nsec;
}

void sleep_until(std::int64_t moment_ns) {
    const timespec moment{moment_ns / NS_PER_SECOND, moment_ns % NS_PER_SECOND};
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &moment, nullptr);
}

void fail(const char* what) {
    std::perror(what);
    std::exit(EXIT_FAILURE);
}

void ask(int client, const std::string& request) {
    if (send(client, request.data(), request.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(request.size())) {
        fail("send");
    }
}

void take_reply(int client) {
    std::array<char, REPLY_SIZE> reply;
    if (recv(client, reply.data(), reply.size(), 0) <= 0) {
        fail("recv");
    }
}

// Each client sends as soon as it has an answer. Returns the round-trip times in ns.
std::vector<std::int64_t> ask_without_pause(const std::vector<int>& clients,
                                            const std::string& request, std::int64_t end_ns) {
    std::vector<std::int64_t> times;
    std::vector<std::int64_t> asked(clients.size());
    std::vector<pollfd> watched;
    for (std::size_t i = 0; i < clients.size(); ++i) {
        watched.push_back({clients[i], POLLIN, 0});
        asked[i] = now_ns();
        ask(clients[i], request);
    }
    for (std::int64_t now = 0; now < end_ns;) {
        // A single client waits in recv, as client programs do.
        if (clients.size() > 1) {
            poll(watched.data(), watched.size(), -1);
        }
        for (std::size_t i = 0; i < clients.size(); ++i) {
            if (clients.size() == 1 || watched[i].revents != 0) {
                take_reply(clients[i]);
                now = now_ns();
                times.push_back(now - asked[i]);
                asked[i] = now;
                ask(clients[i], request);
            }
        }
    }
    return times;
}

double part_of(const std::vector<std::int64_t>& sorted, double part) {
    const auto index = static_cast<std::size_t>(part * static_cast<double>(sorted.size()));
    return static_cast<double>(sorted[std::min(index, sorted.size() - 1)]) / 1e3;
}

int closed_loop(const std::vector<int>& clients, const std::string& request, double seconds) {
    const std::int64_t start = now_ns();
    const auto length = static_cast<std::int64_t>(seconds * NS_PER_SECOND);
    std::vector<std::int64_t> times = ask_without_pause(clients, request, start + length);
    const double passed = static_cast<double>(now_ns() - start) / NS_PER_SECOND;
    std::ranges::sort(times);
    std::printf("{\"p50_us\": %.3f, \"p99_us\": %.3f, \"rate\": %.1f, \"count\": %zu}\n",
                part_of(times, 0.5), part_of(times, 0.99),
                static_cast<double>(times.size()) / passed, times.size());
    return 0;
}

// A request is due each millisecond. If an answer was late, the next request's time counts from
// when it was due: a server that stalls delays everybody who would ask meanwhile.
int each_millisecond(int client, const std::string& request, double seconds) {
    const std::int64_t start = now_ns();
    const auto length = static_cast<std::int64_t>(seconds * NS_PER_SECOND);
    for (std::int64_t due = start; due < start + length; due += NS_PER_MS) {
        sleep_until(due);
        ask(client, request);
        take_reply(client);
        std::printf("%lld %.3f\n", static_cast<long long>(due),
                    static_cast<double>(now_ns() - due) / 1e3);
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        std::fprintf(stderr,
                     "Usage: %s SOCKET REQUEST SECONDS CLIENTS\n"
                     "  CLIENTS 1 or more: each asks without pause; prints a summary as JSON\n"
                     "  CLIENTS 0: one asks each millisecond; prints a line for each request,\n"
                     "             when it was due (ns of the monotonic clock) and how long it\n"
                     "             took from then (us)\n",
                     argv[0]);
        return 2;
    }
    const std::string request{argv[2]};
    const double seconds = std::atof(argv[3]);
    const int count = std::atoi(argv[4]);
    std::vector<int> clients;
    do {
        clients.push_back(open_unix_socket(argv[1], connect));
    } while (clients.size() < static_cast<std::size_t>(std::max(count, 0)));
    return count > 0 ? closed_loop(clients, request, seconds)
                     : each_millisecond(clients.front(), request, seconds);
}

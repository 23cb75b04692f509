// The event aggregator's table: capacity, order, and changes by handlers during a pass.
#include "core/eventagg.h"

#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// Two connected sockets; writing to the second makes the first readable.
class wire {
public:
    wire() { EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends_.data()), 0); }
    wire(const wire&) = delete;
    wire& operator=(const wire&) = delete;
    ~wire() {
        close(ends_[0]);
        if (ends_[1] >= 0) {
            close(ends_[1]);
        }
    }
    [[nodiscard]] int fd() const { return ends_[0]; }
    void signal() const { EXPECT_EQ(write(ends_[1], "x", 1), 1); }
    void hang_up() {
        close(ends_[1]);
        ends_[1] = -1;
    }

private:
    std::array<int, 2> ends_{};
};

// Every test leaves the table empty.
class EventAggregatorTest : public testing::Test {
protected:
    ~EventAggregatorTest() override {
        for (int fd = -40; fd < 200; ++fd) {
            static_cast<void>(ea_unregister_event(fd));
        }
        EXPECT_TRUE(ea_poll_events().empty());
    }

    static std::vector<int> ready() {
        std::vector<int> fds;
        for (const user_event& event : ea_poll_events()) {
            fds.push_back(event.fd);
        }
        return fds;
    }
};

TEST_F(EventAggregatorTest, HoldsThirtyTwo) {
    // Negative descriptors are stored like others.
    for (int i = 1; i <= static_cast<int>(EA_MAX_EVENTS); ++i) {
        EXPECT_EQ(ea_register_event(-i, EVENT_TYPE_BUS, 0), 0);
    }
    EXPECT_EQ(ea_register_event(-33, EVENT_TYPE_BUS, 0), 1);
    EXPECT_EQ(ea_unregister_event(-33), -1);
    EXPECT_EQ(ea_unregister_event(-32), 0);
    EXPECT_EQ(ea_register_event(-33, EVENT_TYPE_BUS, 0), 0);
}

TEST_F(EventAggregatorTest, SameDescriptorKeepsItsFirstRecord) {
    const wire one;
    EXPECT_EQ(ea_register_event(one.fd(), EVENT_TYPE_CLIENT, 7), 0);
    EXPECT_EQ(ea_register_event(one.fd(), EVENT_TYPE_CLIENT, 8), 0);
    EXPECT_EQ(ea_register_event(one.fd(), EVENT_TYPE_BUS, 9), 1);
    one.signal();
    const auto events = ea_poll_events();
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].user_data, 7U);
    EXPECT_EQ(events[0].type, EVENT_TYPE_CLIENT);
}

TEST_F(EventAggregatorTest, ReportsInTableOrderAndHangUpsToo) {
    wire first;
    const wire second;
    const wire third;
    for (const wire* each : {static_cast<const wire*>(&first), &second, &third}) {
        EXPECT_EQ(ea_register_event(each->fd(), EVENT_TYPE_CLIENT, 0), 0);
    }
    third.signal();
    first.hang_up();
    EXPECT_THAT(ready(), testing::ElementsAre(first.fd(), third.fd()));
    // The last record moves to the free place.
    EXPECT_EQ(ea_unregister_event(first.fd()), 0);
    second.signal();
    EXPECT_THAT(ready(), testing::ElementsAre(third.fd(), second.fd()));
}

TEST_F(EventAggregatorTest, RemovalInAPassIsSeenByIdentity) {
    const wire first;
    const wire second;
    const wire third;
    for (const wire* each : {&first, &second, &third}) {
        EXPECT_EQ(ea_register_event(each->fd(), EVENT_TYPE_CLIENT, 0), 0);
        each->signal();
    }
    const auto events = ea_poll_events();
    ASSERT_EQ(events.size(), 3U);
    // As a handler of the first might: removes the second, whose number is then reused.
    EXPECT_EQ(ea_unregister_event(second.fd()), 0);
    EXPECT_EQ(ea_register_event(second.fd(), EVENT_TYPE_BUS, 5), 0);
    EXPECT_TRUE(ea_is_registered(events[0]));
    EXPECT_FALSE(ea_is_registered(events[1]));
    EXPECT_TRUE(ea_is_registered(events[2]));
    EXPECT_EQ(events[2].fd, third.fd());
}

} // namespace

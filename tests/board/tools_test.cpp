// The board's tools without a daemon: buttons, screenshot, thermal core.
#include "keeper.h"
#include "run.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/input.h>
#include <poll.h>
#include <unistd.h>

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

const std::string buttons = VTRDC_BINARY_DIR "/sim/tools/vtrdc-sim-buttons";

// The reading end of a board's buttons.
class button_reader {
public:
    explicit button_reader(const fs::path& fifo)
        : fifo_{open(fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)} {}
    button_reader(const button_reader&) = delete;
    button_reader& operator=(const button_reader&) = delete;
    ~button_reader() { close(fifo_); }

    // Type, code and value of all pending events.
    [[nodiscard]] std::vector<std::array<int, 3>> events() const {
        std::vector<std::array<int, 3>> all;
        input_event event{};
        while (read(fifo_, &event, sizeof event) == sizeof event) {
            all.push_back({event.type, event.code, event.value});
        }
        return all;
    }

    // True once nobody has the buttons open for writing.
    [[nodiscard]] bool wait_until_let_go() const {
        pollfd watched{fifo_, 0, 0};
        const std::chrono::milliseconds limit = WAIT_LIMIT;
        return poll(&watched, 1, static_cast<int>(limit.count())) == 1;
    }

private:
    int fifo_;
};

TEST(ButtonTool, EachButtonHasItsKey) {
    const board board;
    const button_reader reader{board.at("/dev/input/event1")};
    const std::pair<const char*, int> keys[] = {{"zoom", 172}, {"nuc", 158}, {"pol", 139}};
    for (const auto& [name, key] : keys) {
        EXPECT_EQ(board.sim({"press", name}), 0);
        EXPECT_THAT(reader.events(),
                    ElementsAre(std::array{EV_KEY, key, 1}, std::array{EV_SYN, 0, 0},
                                std::array{EV_KEY, key, 0}, std::array{EV_SYN, 0, 0}));
    }
}

TEST(ButtonTool, ReportsWhyAPressFailed) {
    const board board;
    const std::string fifo = board.at("/dev/input/event1");
    EXPECT_THAT(run({buttons, "press", "zoom", fifo}).output, HasSubstr("no daemon is running"));
    const int stuck = open(fifo.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    const std::array<char, 4096> filling{};
    while (write(stuck, filling.data(), filling.size()) > 0) {
    }
    const outcome refused = run({buttons, "press", "zoom", fifo});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.output, HasSubstr("their buffer is full"));
    close(stuck);
}

// A fake daemon process: `sleep`, with the folder as its system root. Ends with the test.
class sleeper {
public:
    sleeper(const board& board, const std::string& root)
        : pid_{spawn({program, "1000"}, environment_with({"VTRDC_SYSROOT=" + root}),
                     board.at("/sleep.out"))} {}
    sleeper(const sleeper&) = delete;
    sleeper& operator=(const sleeper&) = delete;
    ~sleeper() { end(); }

    [[nodiscard]] pid_t pid() const { return pid_; }

    void end() {
        if (!ended_) {
            kill(pid_, SIGKILL);
            wait_for_exit(pid_, WAIT_LIMIT);
            ended_ = true;
        }
    }

    static constexpr const char* program = "/usr/bin/sleep";

private:
    pid_t pid_;
    bool ended_ = false;
};

TEST(ButtonTool, KeeperFindsTheDaemonThatDetached) {
    const board board;
    const std::string root = board.at("/").parent_path();
    const std::string fifo = board.at("/dev/input/event1");
    const button_reader reader{fifo};
    sleeper starter{board, ""};
    sleeper detached{board, root};
    const sleeper on_other_board{board, root + "2"};
    ASSERT_EQ(
        run({buttons, "keep", fifo, root, sleeper::program, std::to_string(starter.pid())}).status,
        0);
    const std::vector<pid_t> kept_by = keepers(board);
    ASSERT_EQ(kept_by.size(), 1U);

    starter.end();
    EXPECT_TRUE(wait_until_watching(kept_by.front(), detached.pid()));
    detached.end();
    EXPECT_TRUE(reader.wait_until_let_go());
}

TEST(PanelPicture, HasThePanelsColours) {
    const board board;
    std::ofstream panel{board.at("/dev/fb0"), std::ios::binary | std::ios::in};
    panel << std::string{"\xff\x00\x00\x00\x00\xff\x00\x00\x00\x00\xff\x00", 12};
    panel.seekp(std::streamoff{767 * 1024 + 1023} * 4);
    panel << "\x10\x20\x30\x40";
    panel.close();
    const fs::path file = board.at("/media/Bild für später");
    ASSERT_EQ(board.take_shot(file), 0);
    const QImage image{QString::fromStdString(file), "PNG"};
    ASSERT_EQ(image.size(), QSize(1024, 768));
    EXPECT_EQ(image.pixelColor(0, 0), QColor(Qt::blue));
    EXPECT_EQ(image.pixelColor(1, 0), QColor(Qt::green));
    EXPECT_EQ(image.pixelColor(2, 0), QColor(Qt::red));
    EXPECT_EQ(image.pixelColor(1023, 767), QColor(0x30, 0x20, 0x10));

    fs::resize_file(board.at("/dev/fb0"), 100);
    EXPECT_EQ(board.take_shot(file), 1);
}

TEST(BoardTools, FindTheBoardByTheirOwnPath) {
    const board board;
    const std::vector<std::string> without_root{"VTRDC_SYSROOT="};
    EXPECT_EQ(run({board.at("/usr/bin/vtrcore"), "zoom", "4"}, without_root).status, 0);
    EXPECT_EQ(read_text(board.at("/var/lib/vtrcore/zoom")), "4\n");
    EXPECT_EQ(run({board.at("/usr/bin/vtrcore"), "zoom", "-4"}, without_root).status, 64);
    EXPECT_EQ(read_text(board.at("/var/lib/vtrcore/zoom")), "4\n");
    EXPECT_EQ(read_text(board.at("/var/log/vtrcore.log")), "zoom 4\nzoom -4\n");

    const std::vector<std::string> amixer{
        board.at("/usr/bin/amixer"), "-c", "0", "set", "DMic Rate", "128x"};
    EXPECT_EQ(run(amixer, without_root).status, 0);
    EXPECT_EQ(read_text(board.at("/var/log/amixer.log")), "-c 0 set DMic Rate 128x\n");
}

TEST(BoardFolder, UsersFoldersAndFootageAreKept) {
    const board board;
    // A folder replaced by a link to the user's own.
    fs::rename(board.at("/opt/okr"), board.at("/own"));
    fs::create_directory_symlink(board.at("/own"), board.at("/opt/okr"));
    EXPECT_EQ(board.sim({"layout"}), 0);
    EXPECT_TRUE(fs::is_symlink(board.at("/opt/okr")));

    // Other footage, installed while the camera was unplugged.
    EXPECT_EQ(board.sim({"camera", "off"}), 0);
    std::ofstream{board.at("/dev/video0")} << "second footage";
    EXPECT_EQ(board.sim({"camera", "off"}), 1);
    EXPECT_EQ(read_text(board.at("/dev/video0")), "second footage");
}

} // namespace
